#include "Mirror/BatchChanges.h"

#include "Documents/ClassRules.h"
#include "Documents/ScalarReader.h"
#include "Platform/Render/JsonObjectReader.h"
#include "QcfLib/QcfEval.h"

namespace Qcf::Mirror {

using Eval::AccessibleAttributes;
using Eval::FieldInfo;
using Eval::NodeClass;
using Eval::TriStateBoolValue;

namespace {

constexpr FieldInfo functionReference{
    "ref", "PtrConst<Function>", "Function", true, [](Eval::AetNodeBase const & node) {
        return node.typeData().number() == Eval::Function::classNumber;
    }};

/// Takes a node's fields from the members of its line.
class LineFields final : public Eval::FieldReader {
public:
    LineFields(BatchChanges const & changes, NodeClass const & nodeClass, JsonObjectReader & line)
        : changes_(changes), class_(nodeClass), line_(line) {}

#define QCF_READ_MEMBER(Type)                                                                      \
    void read(FieldInfo const & field, Type & value) override {                                    \
        Documents::readScalar(line_.require(field.name), subject(field), value);                   \
    }
    QCF_FOR_EACH_SCALAR(QCF_READ_MEMBER)
#undef QCF_READ_MEMBER

    PtrConst<Eval::AetNodeBase> readNode(FieldInfo const & field) override {
        auto const member = field.optional ? line_.optional(field.name) : line_.require(field.name);
        if (!member) {
            return nullptr;
        }
        JsonObjectReader reference(*member, subject(field));
        JsonValue const key = reference.require("ref");
        reference.done();
        return changes_.child(key, field);
    }

private:
    String subject(FieldInfo const & field) const { return String(class_.name) + "." + field.name; }

    BatchChanges const & changes_;
    NodeClass const & class_;
    JsonObjectReader & line_;
};

template <typename Link>
bool allConstant(Link const * link) {
    for (; link != nullptr; link = link->next().get()) {
        if (!Documents::ClassRules::of(link->entry()->typeData()).constant) {
            return false;
        }
    }
    return true;
}

template <typename Literal>
void keep(Eval::AetNodeBase const & node) {
    auto const & literal = static_cast<Literal const &>(node);
    if (allConstant(literal.head().get())) {
        cacheConstantValue(literal);
    }
}

} // namespace

void keepConstantValue(Eval::AetNodeBase const & node) {
    switch (node.typeData().number()) {
    case Eval::IntListImmediate::classNumber:
        keep<Eval::IntListImmediate>(node);
        break;
    case Eval::IntSetImmediate::classNumber:
        keep<Eval::IntSetImmediate>(node);
        break;
    case Eval::CommunitySetImmediate::classNumber:
        keep<Eval::CommunitySetImmediate>(node);
        break;
    default:
        break;
    }
}

BatchChanges::BatchChanges(StagedBatch const & batch, AetCollections const * base) : base_(base) {
    batch.eachLine([this](JsonValue const & each) { line(each); });
}

void BatchChanges::line(JsonValue const & line) {
    if (line.find("class")) {
        nodeLine(line);
    } else if (line.find("function")) {
        functionLine(line);
    } else {
        JsonObjectReader reader(line);
        JsonValue const keys = reader.require("remove");
        reader.done();
        removeLine(keys);
    }
}

void BatchChanges::removeLine(JsonValue const & keys) {
    for (JsonValue const key : keys.expectArray()) {
        removed_.insert(key.expectU64());
    }
}

void BatchChanges::functionLine(JsonValue const & line) {
    JsonObjectReader reader(line);
    String const name(reader.require("function").expectString());
    JsonValue const reference = reader.require("ref");
    reader.done();
    auto const node = reference.isNull() ? nullptr : child(reference, functionReference);
    functions_[name] = ptrCast<Eval::Function const>(node);
}

void BatchChanges::nodeLine(JsonValue const & line) {
    JsonObjectReader reader(line);
    JsonValue const className = reader.require("class");
    NodeClass const * const nodeClass = Eval::findNodeClass(className.expectString());
    if (nodeClass == nullptr) {
        className.fail("name of a node class");
    }
    JsonValue const key = reader.require("key");
    U64 const number = key.expectU64();
    LineFields fields(*this, *nodeClass, reader);
    Ptr<Node> const node = nodeClass->create(number, fields);
    reader.done();
    bool const taken = base_ != nullptr && !removed_.contains(number) &&
                       base_->anyNode(number, [](Node const &) { return true; });
    if (taken || numbers_.find(number)) {
        key.fail("key of its own");
    }
    keepConstantValue(*node);
    numbers_.insert(number, static_cast<U32>(nodes_.size()));
    nodes_.push_back(node);
}

PtrConst<BatchChanges::Node> BatchChanges::child(JsonValue const & reference,
                                                 FieldInfo const & field) const {
    U64 const key = reference.expectU64();
    if (auto const found = numbers_.find(key)) {
        if (field.accepts(*nodes_[*found])) {
            return nodes_[*found];
        }
    } else if (base_ != nullptr && !removed_.contains(key)) {
        if (auto held = base_->anyNode(key, field.accepts)) {
            return held;
        }
    }
    reference.fail(String("key of a node that is ") + field.wants);
}

} // namespace Qcf::Mirror
