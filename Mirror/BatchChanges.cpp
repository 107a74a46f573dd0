#include "Mirror/BatchChanges.h"

#include "Mirror/NodeCopy.h"
#include "Mirror/Publishable.h"
#include "QcfLib/QcfEval.h"

/// Builds what a batch says beside the store, line by line. A reference leads only to what stands
/// there already, in the lines before or in the base: so no circle can be made, and a fault leaves
/// nothing to be undone.
namespace Qcf::Mirror {

using Eval::FieldInfo;
using Eval::NodeClass;

namespace {

/// The reference of a function line, as if it were a field: it takes nothing but functions.
FieldInfo const & functionReference() {
    static NodeClass const & function = Eval::nodeClassOf<Eval::Function>();
    static FieldInfo const field{
        .name = "ref",
        .type = "PtrConst<Function>",
        .wants = function.name,
        .optional = true,
        .accepts = [](Entity const & node) { return &node.typeData() == &function; }};
    return field;
}

NodeClass const & expectClass(JsonValue const & name) {
    NodeClass const * const nodeClass = Eval::findNodeClass(name.expectString());
    if (nodeClass == nullptr) {
        name.fail("name of a node class");
    }
    return *nodeClass;
}

U32 expectU32(JsonValue const & value) {
    return static_cast<U32>(value.expectU64(0, std::numeric_limits<U32>::max()));
}

} // namespace

BatchChanges::BatchChanges(StagedBatch const & batch, AetCollections const * base,
                           PublishedLists const & lists, VersionPlaces places)
    : base_(base), lists_(lists), places_(std::move(places)) {
    batch.eachLine([this](JsonValue const & each) { line(each); });
    lists_.endList();
    places_.end();
    // Nodes for which there would be no store must not vanish silently.
    if (!status_ || (!status_->store && !nodes_.empty())) {
        throw MirrorError("the batch of version " + std::to_string(batch.start().version) +
                          " does not say what becomes of the status");
    }
}

void BatchChanges::line(JsonValue const & line) {
    // Told by the member that only this kind has. What is of no kind fails as a removal, by the
    // members that it lacks.
    if (line.find("class")) {
        nodeLine(line);
    } else if (line.find("function")) {
        functionLine(line);
    } else if (line.find("status")) {
        statusLine(line);
    } else if (line.find("list")) {
        lists_.headLine(line);
    } else if (line.find("at")) {
        lists_.editLine(line);
    } else if (line.find("number")) {
        lists_.numberLine(line);
    } else if (line.find("places")) {
        places_.headLine(line);
    } else if (line.find("rows")) {
        places_.rowsLine(line);
    } else {
        removeLine(line);
    }
}

void BatchChanges::removeLine(JsonValue const & line) {
    JsonObjectReader reader(line);
    auto const collection = static_cast<U16>(expectClass(reader.require("remove")).number());
    JsonValue const keys = reader.require("keys");
    reader.done();
    for (JsonValue const key : keys.expectArray()) {
        CollKey const place{collection, key.expectU64()};
        // Lines may say so twice; a member goes once.
        if (goes_.insert(place).second) {
            removed_.push_back(place);
        }
    }
}

void BatchChanges::functionLine(JsonValue const & line) {
    JsonObjectReader reader(line);
    String const name = expectWireText(reader.require("function"));
    auto const loose = reader.optional("loose");
    auto const key = loose ? std::nullopt : std::optional(reader.require("ref"));
    reader.done();
    // Null takes the name away.
    if (key && key->isNull()) {
        functions_[name] = nullptr;
    } else {
        auto const node = loose ? looseNode(*loose, functionReference())
                                : storedNode(*key, nullptr, functionReference());
        functions_[name] = ptrCast<Eval::Function const>(node);
    }
}

void BatchChanges::statusLine(JsonValue const & line) {
    JsonObjectReader outer(line);
    JsonObjectReader reader(outer.require("status"), "status");
    outer.done();
    StatusFields status;
    status.dedupedFunctionsPresent = reader.require("dedupedFunctionsPresent").expectBool();
    status.startMarker = expectU32(reader.require("start"));
    status.endMarker = expectU32(reader.require("end"));
    status.store = reader.require("store").expectBool();
    reader.done();
    status_ = status;
}

void BatchChanges::nodeLine(JsonValue const & line) {
    JsonObjectReader reader(line);
    auto const loose = reader.optional("loose");
    JsonValue const className = reader.require("class");
    NodeClass const & nodeClass = expectClass(className);
    JsonValue const key = reader.require("key");
    WireFields::Resolve const resolve = [this](JsonValue const & reference,
                                               FieldInfo const & field) {
        return this->resolve(reference, field);
    };
    // Fields are taken in declared order, whatever the order of the line; what is left over is a
    // fault.
    WireFields fields(nodeClass, reader, resolve);
    Ptr<Node> const node = nodeClass.create(key.expectU64(), fields);
    reader.done();
    // Checked node by node: a tree gets deep one line at a time, and its depth is known from its
    // children.
    if (isTooDeep(*node)) {
        className.fail(nodeClass.name, depthWanted(), "a deeper one");
    }
    if (isTooLarge(*node)) {
        className.fail(nodeClass.name, sizeWanted(), "a larger one");
    }
    keepConstant(className, *node);
    if (!loose) {
        addMember(key, node);
    } else if (loose->expectU64() != loose_.size()) {
        // Numbers count in the order of lines, so that a number is a place.
        loose->fail("number " + std::to_string(loose_.size()));
    } else {
        loose_.push_back(node);
    }
}

// Literals may share their elements: the values that they keep can be far more than the lines are.
void BatchChanges::keepConstant(JsonValue const & place, Node const & node) {
    constexpr U64 most = Documents::ProgramLimits::constantElements;
    if (node.typeData().facts.keepConstant) {
        // An element and its link.
        constantElements_ += node.treeFacts().size / 2;
        if (constantElements_ > most) {
            place.fail(node.typeData().name,
                       "at most " + std::to_string(most) + " elements of literals in all", "more");
        }
        keepConstantValue(node);
    }
}

void BatchChanges::addMember(JsonValue const & key, Ptr<Node> const & node) {
    U64 const number = node->aetNodeKey();
    if (isTaken({static_cast<U16>(node->typeData().number()), number})) {
        key.fail("key of its own among those of its class");
    }
    auto const position = static_cast<U32>(nodes_.size());
    // Keys are unique within a class only; the few that several classes share are kept aside.
    if (numbers_.find(number)) {
        more_.emplace(number, position);
    } else {
        numbers_.insert(number, position);
    }
    nodes_.push_back(node);
}

// A key that this batch makes free may be used again.
bool BatchChanges::isTaken(CollKey const & place) const {
    auto const isOfClass = [&](Node const & node) {
        return node.typeData().number() == place.collection;
    };
    return static_cast<bool>(member(place.key, isOfClass));
}

// The writer gives the class where the key alone would not do.
PtrConst<BatchChanges::Node> BatchChanges::resolve(JsonValue const & reference,
                                                   FieldInfo const & field) const {
    reference.expectObject();
    if (auto const number = reference.find("loose")) {
        return looseNode(*number, field);
    }
    auto const key = reference.find("ref");
    auto const className = reference.find("class");
    // A member that is not understood might change what is meant.
    if (!key || reference.size() != (className ? 2U : 1U)) {
        reference.fail(field.name, "reference to a node", describe(reference));
    }
    return storedNode(*key, className ? &expectClass(*className) : nullptr, field);
}

PtrConst<BatchChanges::Node> BatchChanges::storedNode(JsonValue const & key,
                                                      NodeClass const * nodeClass,
                                                      FieldInfo const & field) const {
    auto found = member(key.expectU64(), [&](Node const & node) {
        return field.accepts(node) && (nodeClass == nullptr || nodeClass == &node.typeData());
    });
    if (!found) {
        key.fail(String("key of a node that is ") + field.wants);
    }
    return found;
}

PtrConst<BatchChanges::Node> BatchChanges::looseNode(JsonValue const & number,
                                                     FieldInfo const & field) const {
    U64 const at = number.expectU64();
    // Only numbers of lines before this one.
    if (at >= loose_.size() || !field.accepts(*loose_[at])) {
        number.fail(String("number of a node that is ") + field.wants);
    }
    return loose_[at];
}

/// The member of that key that fits: one that the batch brings, or one that was there and stays.
template <typename Fits>
PtrConst<BatchChanges::Node> BatchChanges::member(U64 key, Fits && fits) const {
    if (auto const first = numbers_.find(key)) {
        if (fits(*nodes_[*first])) {
            return nodes_[*first];
        }
        auto const [begin, end] = more_.equal_range(key);
        for (auto at = begin; at != end; ++at) {
            if (fits(*nodes_[at->second])) {
                return nodes_[at->second];
            }
        }
    }
    if (base_ == nullptr) {
        return nullptr;
    }
    // What goes with this batch can no longer be referred to.
    return base_->anyNode(key, [&](Node const & node) {
        return fits(node) && !goes_.contains({static_cast<U16>(node.typeData().number()), key});
    });
}

} // namespace Qcf::Mirror
