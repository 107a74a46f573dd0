#include "Mirror/FunctionDigests.h"

#include "Documents/FieldVisitors.h"
#include "Documents/StructureTable.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/QcfEval.h"

#include <bit>

/// A function's digest is over the contents of its nodes, each once, in the order of a walk. It
/// must come out alike in every process, so that nothing here may depend on keys, addresses,
/// sharing or the order of bytes; and whoever changes the bytes makes builds disagree about
/// versions.
namespace Qcf::Mirror {

namespace {

using Eval::AetNodeBase;
using Eval::FieldInfo;

/// The content of one node as bytes that no other content has: each part says where it ends.
/// Numbers are text, so that the order of bytes in memory does not matter.
class Content final : public Documents::FieldVisitor<Content> {
public:
    /// `child` writes what stands for a child.
    template <typename Child>
    Content(String & out, Child child) : out_(out), child_(child) {}

    void writeNode(FieldInfo const &, AetNodeBase const * child) override { child_(child); }

    template <typename T>
    void visit(FieldInfo const &, T const & value) {
        add(value);
    }

private:
    template <typename T>
    requires std::is_integral_v<T>
    void add(T value) { out_ += std::to_string(value) + ';'; }
    // The bits: what compares equal, as the two zeros, need not be the same content.
    void add(F32 value) { add(std::bit_cast<U32>(value)); }
    void add(Eval::TriStateBoolValue value) { add(static_cast<U8>(value)); }
    void add(String const & text) {
        // First, so that no text can run into what follows.
        add(text.size());
        out_ += text;
    }
    void add(IpGenAddr const & value) { add(value.toString()); }
    void add(IpGenPrefix const & value) { add(value.toString()); }
    void add(EthAddr const & value) { add(value.toString()); }
    void add(IntfId const & value) { add(value.toString()); }
    void add(std::optional<Evpn::Esid> const & value) { add(value ? value->toString() : String()); }
    void add(Acl::CommunityValue const & value) {
        add(value.value());
        add(value.type());
    }
    void add(Routing::Rib::ResolutionRibProfileConfig const & value) {
        add(value.entryCount());
        for (std::size_t i = 0; i < value.entryCount(); ++i) {
            add(value.entries()[i].name);
            add(value.entries()[i].kind);
        }
        add(value.useDefault());
    }
    void add(FunctionMetadata const & value) {
        FunctionMetadata::eachKind(value, [this](char const *, SlotMap const & slots) {
            add(slots.size());
            for (auto const & [name, slot] : slots) {
                add(name);
                add(slot);
            }
        });
    }
    void add(Eval::AccessibleAttributes const & value) {
        add(value.readableAttributes.value());
        add(value.writableAttributes.value());
    }
    void add(Routing::Policy::RouteMapFeatures const & value) {
        add(value.features().size());
        for (String const & feature : value.features()) {
            add(feature);
        }
    }

    String & out_;
    std::function<void(AetNodeBase const *)> child_;
};

} // namespace

Digest FunctionDigests::of(Eval::Function const & function) {
    auto const found = known_.find(&function);
    if (found != known_.end()) {
        return found->second.digest;
    }
    Digest const digest = compute(function);
    known_.emplace(&function, Known{PtrConst<Eval::FunctionBase>(&function), digest});
    return digest;
}

// Every content that occurs is digested once, where a walk children first meets it first; a child
// is told by the number of its content. So equal trees give equal bytes however they are shared.
Digest FunctionDigests::compute(Eval::Function const & function) {
    Documents::StructureTable contents;
    std::unordered_map<AetNodeBase const *, U32> numbers;
    Digester digester;
    String content;
    auto const writeChild = [&](AetNodeBase const * child) {
        auto const * const callee = child == nullptr ? nullptr : Eval::as<Eval::Function>(*child);
        // A callee counts by its own digest, which other callers share: walks end at calls.
        if (callee != nullptr) {
            content += of(*callee).toString();
        } else {
            content += std::to_string(child == nullptr ? 0 : numbers.at(child)) + ';';
        }
    };
    Content writer(content, writeChild);
    auto const enter = [&](Eval::WalkedNode const & at) {
        bool const isCallee = &at.node != &function && Eval::is<Eval::Function>(at.node);
        return !isCallee && numbers.try_emplace(&at.node, 0).second;
    };
    walkTree(function, enter, [&](AetNodeBase const & node) {
        content = String(node.typeData().name) + ';';
        node.typeData().write(node, writer);
        U32 const before = contents.count();
        U32 const number = contents.numberOf(content);
        numbers[&node] = number;
        if (number > before) {
            digester.add(std::to_string(content.size()) + ';');
            digester.add(content);
        }
    });
    return digester.finish();
}

Digest FunctionDigests::of(AllFunctionStatus::Functions const & functions) {
    Digester digester;
    for (auto const & [name, function] : functions) {
        digester.add(std::to_string(name.size()) + ';' + name);
        // Whoever fills the status has seen that all functions are of this class.
        digester.add(of(static_cast<Eval::Function const &>(*function)).toString());
    }
    return digester.finish();
}

void FunctionDigests::keepInUse() {
    // A count of one is this table's own.
    std::erase_if(known_,
                  [](auto const & entry) { return entry.second.function->refCount() == 1; });
}

} // namespace Qcf::Mirror
