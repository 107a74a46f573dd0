#include "Mirror/FunctionDigests.h"

#include "Documents/FieldVisitors.h"
#include "Documents/StructureTable.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/QcfEval.h"

#include <array>
#include <bit>
#include <charconv>
#include <memory_resource>
#include <utility>

/// A function's digest is over the contents of its nodes, each once, in the order of a walk. It
/// must come out alike in every process, so that nothing here may depend on keys, addresses,
/// sharing or the order of bytes; and whoever changes the bytes makes builds disagree about
/// versions.
namespace Qcf::Mirror {

namespace {

using Eval::AetNodeBase;
using Eval::FieldInfo;

/// In decimal, with a mark at its end.
template <typename T>
void appendNumber(String & out, T value) {
    using Widest = std::conditional_t<std::is_signed_v<T>, S64, U64>;
    std::array<char, 24> digits{};
    auto const end =
        std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<Widest>(value)).ptr;
    out.append(digits.data(), end);
    out += ';';
}

/// Hands text to a digester in pieces of some size, which costs less than in many small ones.
class PieceWriter {
public:
    explicit PieceWriter(Digester & to) : to_(to) {}

    /// A text that says where it ends.
    void addText(std::string_view text) {
        constexpr std::size_t usual = 4096;
        appendNumber(piece_, text.size());
        piece_ += text;
        if (piece_.size() >= usual) {
            to_.add(piece_);
            piece_.clear();
        }
    }
    Digest finish() {
        to_.add(piece_);
        piece_.clear();
        return to_.finish();
    }

private:
    Digester & to_;
    String piece_;
};

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
    void add(T value) { appendNumber(out_, value); }
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

/// Storage of a walk, which the next one uses again.
struct FunctionDigests::Walk {
    Documents::StructureTable contents;
    Digester digester;
    PieceWriter out{digester};
    String content; ///< of one node
    std::array<std::byte, 8192> memory{};
};

FunctionDigests::FunctionDigests() = default;
FunctionDigests::~FunctionDigests() = default;

Digest const * FunctionDigests::find(Eval::Function const & function) const {
    // A function may stand under another name than its own, and then costs a walk.
    auto const * const named = table_.find(function.funcName());
    if (named != nullptr && named->function.get() == &function) {
        return &named->digest;
    }
    auto const known = known_.find(&function);
    return known != known_.end() ? &known->second.digest : nullptr;
}

// Its buckets, too: after a large load they would be wiped with every change.
void FunctionDigests::clear() { std::exchange(known_, {}); }

Digest FunctionDigests::of(Eval::Function const & function) {
    if (Digest const * const known = find(function)) {
        return *known;
    }
    // Taken out for the time: a callee that is not known is walked meanwhile.
    auto walk = spare_.empty() ? std::make_unique<Walk>() : std::move(spare_.back());
    if (!spare_.empty()) {
        spare_.pop_back();
    }
    Digest const digest = compute(function, *walk);
    constexpr U32 usualContents = 10'000;
    if (walk->contents.count() < usualContents) {
        walk->contents.clear();
        spare_.push_back(std::move(walk));
    }
    known_.emplace(&function, Known{PtrConst<Eval::FunctionBase>(&function), digest});
    return digest;
}

// Every content that occurs is digested once, where a walk children first meets it first; a child
// is told by the number of its content. So equal trees give equal bytes however they are shared.
Digest FunctionDigests::compute(Eval::Function const & function, Walk & walk) {
    std::pmr::monotonic_buffer_resource memory(walk.memory.data(), walk.memory.size());
    std::pmr::unordered_map<AetNodeBase const *, U32> numbers(&memory);
    String & content = walk.content;
    auto const writeChild = [&](AetNodeBase const * child) {
        auto const * const callee = child == nullptr ? nullptr : Eval::as<Eval::Function>(*child);
        // A callee counts by its own digest, which other callers share: walks end at calls.
        if (callee != nullptr) {
            content += of(*callee).toString();
        } else {
            appendNumber(content, child == nullptr ? 0U : numbers.at(child));
        }
    };
    Content writer(content, writeChild);
    auto const enter = [&](Eval::WalkedNode const & at) {
        bool const isCallee = &at.node != &function && Eval::is<Eval::Function>(at.node);
        return !isCallee && numbers.try_emplace(&at.node, 0).second;
    };
    walkTree(function, enter, [&](AetNodeBase const & node) {
        content = node.typeData().name;
        content += ';';
        node.typeData().write(node, writer);
        U32 const before = walk.contents.count();
        U32 const number = walk.contents.numberOf(content);
        numbers[&node] = number;
        if (number > before) {
            walk.out.addText(content);
        }
    });
    return walk.out.finish();
}

} // namespace Qcf::Mirror
