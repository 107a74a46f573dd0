#include "Documents/LeftOut.h"
#include "Documents/NodeObject.h"
#include "Documents/NodeOrder.h"
#include "Documents/Program.h"
#include "Documents/Words.h"
#include "Platform/Routing/CommunityText.h"

namespace Qcf::Documents {

using Eval::AetNodeBase;
using Eval::FieldInfo;
using Eval::FieldRole;

namespace {

/// Writes fields as members of the object that is open.
class MemberWriter final : public FieldVisitor<MemberWriter> {
public:
    /// `callee`: whether the function that a call names need not be referred to by key.
    MemberWriter(RendererV2 & renderer, NodeStyle const & style, bool isFunctionEntry,
                 bool calleeByName)
        : out_(renderer),
          style_(style),
          isFunctionEntry_(isFunctionEntry),
          calleeByName_(calleeByName) {}

    void writeNode(FieldInfo const & field, AetNodeBase const * child) override {
        bool const named = (calleeByName_ || style_.isBrief()) && plays(field, FieldRole::callee);
        if (child == nullptr) {
            // A left-out member reads back as null; others than documents may have to know.
            style_.absent(field);
        }
        if (child == nullptr || named) {
            return;
        }
        out_.key(field.name);
        style_.reference(*child, out_);
    }

    template <typename T>
    void visit(FieldInfo const & field, T const & value) {
        if (style_.isBrief() && (followsFromRest(field) || isDeclaration<T>)) {
            return;
        }
        out_.key(memberName(field, isFunctionEntry_));
        write(value);
    }

private:
    using FieldVisitor::write;

    template <typename T>
    requires std::is_arithmetic_v<T>
    void write(T value) { out_.value(value); }
    // Not every float has a number in JSON, and not every text is fit for every reader.
    void write(F32 value) { style_.number(value, out_); }
    void write(String const & value) { style_.text(value, out_); }
    void write(TriStateBoolValue value) { out_.value(Eval::toString(value)); }
    void write(IpGenAddr const & value) { out_.value(value.toString()); }
    void write(IpGenPrefix const & value) { out_.value(value.toString()); }
    void write(EthAddr const & value) { out_.value(value.toString()); }
    void write(IntfId const & value) { write(value.toString()); }
    void write(Acl::CommunityValue const & value) { out_.value(communityValueText(value)); }
    void write(std::optional<Evpn::Esid> const & value) {
        value ? out_.value(value->toString()) : out_.nullValue();
    }
    void write(Routing::Rib::ResolutionRibProfileConfig const & value) {
        out_.beginObject();
        out_.key(word::ribEntries);
        out_.beginArray();
        // Unused room at the end is not written: reading would take it for entries.
        for (std::size_t i = 0; i < value.entryCount(); ++i) {
            out_.beginObject();
            out_.key(word::ribName);
            write(value.entries()[i].name);
            out_.key(word::ribKind);
            out_.value(value.entries()[i].kind);
            out_.endObject();
        }
        out_.endArray();
        out_.key(word::useDefaultRib);
        out_.value(value.useDefault());
        out_.endObject();
    }
    void write(Routing::Policy::RouteMapFeatures const & value) {
        out_.beginArray();
        for (String const & feature : value.features()) {
            write(feature);
        }
        out_.endArray();
    }
    void write(AccessibleAttributes const & value) {
        out_.beginObject();
        writeFlags(word::readAttributes, value.readableAttributes);
        writeFlags(word::writtenAttributes, value.writableAttributes);
        out_.endObject();
    }
    // Kinds of which no name is used are left out.
    void write(FunctionMetadata const & value) {
        out_.beginObject();
        FunctionMetadata::eachKind(value, [&](char const * kind, SlotMap const & slots) {
            if (!slots.empty()) {
                out_.key(kind);
                out_.beginObject();
                for (auto const & [name, slot] : slots) {
                    style_.name(name, out_);
                    out_.value(slot);
                }
                out_.endObject();
            }
        });
        out_.endObject();
    }

    // By name: what is written must not depend on the numbers of the bits.
    template <typename Set>
    void writeFlags(char const * name, Set const & set) {
        out_.key(name);
        out_.beginArray();
        for (std::size_t bit = 0; bit < Set::width; ++bit) {
            if (set.contains(bit)) {
                out_.value(Set::nameOf(bit));
            }
        }
        out_.endArray();
    }

    RendererV2 & out_;
    NodeStyle const & style_;
    bool isFunctionEntry_;
    bool calleeByName_;
};

/// Whether the call's name leads to its callee, so that no key is needed. The creators let a call
/// say another name than its callee's, which only a reference keeps.
bool calleeIsNamed(AetNodeBase const & node) {
    auto const * const call = Eval::as<Eval::FunctionCallExpression>(node);
    return call != nullptr && call->calleePtr()->funcName() == call->calleeName();
}

// An entry of `functions` needs no class, which its list tells.
void writeMembers(AetNodeBase const & node, NodeStyle const & style, RendererV2 & renderer,
                  bool isFunctionEntry, bool calleeByName) {
    if (!isFunctionEntry) {
        renderer.key(word::nodeClass);
        renderer.value(node.typeData().name);
    }
    if (!style.isBrief()) {
        renderer.key(word::key);
        renderer.value(node.aetNodeKey());
    }
    MemberWriter members(renderer, style, isFunctionEntry, calleeByName);
    node.typeData().write(node, members);
}

void writeObject(AetNodeBase const & node, NodeStyle const & style, RendererV2 & renderer,
                 bool isFunctionEntry, bool calleeByName) {
    renderer.beginObject();
    writeMembers(node, style, renderer, isFunctionEntry, calleeByName);
    renderer.endObject();
}

} // namespace

void NodeStyle::reference(AetNodeBase const & child, RendererV2 & out) const {
    out.beginObject();
    out.key(word::reference);
    out.value(child.aetNodeKey());
    out.endObject();
}

void writeNodeMembers(AetNodeBase const & node, NodeStyle const & style, RendererV2 & renderer) {
    writeMembers(node, style, renderer, false, false);
}

// A function stands in `functions`, behind the nodes. A call among the nodes therefore names its
// callee where it can: reading takes such nodes in once the function is known.
void writeProgram(Program const & program, RendererV2 & renderer, NodeStyle const & style) {
    renderer.beginObject();
    renderer.key(word::format);
    renderer.value(word::formatName);
    renderer.key(word::nodes);
    renderer.beginArray();
    for (AetNodeBase const * const node : nodesInOrder(program)) {
        writeObject(*node, style, renderer, false, calleeIsNamed(*node));
    }
    renderer.endArray();
    renderer.key(word::functions);
    renderer.beginArray();
    for (auto const & function : program.functions) {
        writeObject(*function, style, renderer, true, false);
    }
    renderer.endArray();
    renderer.endObject();
}

} // namespace Qcf::Documents
