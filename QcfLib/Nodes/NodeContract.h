#pragma once

#include "Platform/Framework/Hash.h"
#include "QcfLib/NodeFields.h"
#include "QcfLib/Nodes/NodeTexts.h"
#include "QcfLib/Nodes/SharedAnswers.h"

#include <bit>
#include <type_traits>

/// The node contract, once for all classes: equality and structural hash over a class's fields.
///
/// A class lists its fields once, in `withFields(use)`, which calls `use(field...)` with all of
/// them in declared order, each with its own type. Comparing two nodes opens the one inside the
/// other, so that equal positions meet as equal types, and nothing is allocated on the way:
///
///     a.withFields([&](auto const &... mine) {
///         return b.withFields(
///             [&](auto const &... theirs) { return (same(mine, theirs) && ...); });
///     });
///
/// Included by generated sources, whose bodies are one call each, and by the few that treat all
/// classes alike. Links of chains are visited by loop, everything else by recursion, which asserts
/// first that the stack suffices; large trees that share much are looked at once (SharedAnswers.h).
namespace Qcf::Eval {

namespace contract {

/// A field that holds a child.
template <typename T>
concept NodePointer = requires(T const & p) {
    static_cast<AetNodeBase const *>(p.get());
};

/// A child counts by its own hash, null by eight zero bytes.
inline void mixChild(Hash & hash, AetNodeBase const * child) {
    if (child == nullptr) {
        hash.hashMix(U64{0});
        return;
    }
    hash.hashMix(SharedHashes::of(*child, child, [&] { return child->hash(0); }));
}

/// A scalar counts at its width, a value with a hash of its own by that.
template <typename T>
void mix(Hash & hash, T const & value) {
    if constexpr (NodePointer<T>) {
        mixChild(hash, value.get());
    } else if constexpr (requires { value.hash(hash); }) {
        value.hash(hash);
    } else if constexpr (requires { value.hash(U32{0}); }) {
        hash.hashMix(value.hash(U32{0}));
    } else if constexpr (std::is_enum_v<T>) {
        hash.hashMix(static_cast<std::underlying_type_t<T>>(value));
    } else {
        hash.hashMix(value);
    }
}

/// Whether there is a value counts, too: an absent one differs from a zero.
template <typename T>
void mix(Hash & hash, std::optional<T> const & value) {
    hash.hashMix(value.has_value());
    if (value) {
        mix(hash, *value);
    }
}

/// Whether two children, which may be null, are equal by their own `compare`.
/// By identity first: documents share equal nodes, so that most comparisons end here.
inline bool sameChild(AetNodeBase const * a, AetNodeBase const * b) {
    if (a == b) {
        return true;
    }
    return a != nullptr && b != nullptr && SharedComparisons::of(*a, {a, b}, [&] {
               return a->compare(BorrowedPtr<AetNodeBase const>(b));
           });
}

/// Children are the same where `sameNode(a, b)` says so, of nodes that may be null; values where
/// they are equal.
template <typename T, typename SameNode>
bool same(T const & a, T const & b, SameNode const & sameNode) {
    if constexpr (NodePointer<T>) {
        return sameNode(a.get(), b.get());
    } else if constexpr (std::is_same_v<T, F32>) {
        // By their bits, as they are hashed: a NaN equals itself, the two zeros differ.
        return std::bit_cast<U32>(a) == std::bit_cast<U32>(b);
    } else {
        return a == b;
    }
}

/// The other node as one of the same class; null when it is of another, or null itself.
/// By class and not by record, which there may be two of in one process.
template <typename Node>
Node const * sameClass(Node const & node, AetNodeBase const * other) {
    bool const same = other != nullptr && other->typeData().isSameClass(node.typeData());
    return same ? static_cast<Node const *>(other) : nullptr;
}

/// Whether all fields of two nodes of one class are the same, children by `sameNode(a, b)`.
/// Ends at the first difference; `withFields` of both is opened in the same order.
template <typename Node, typename SameNode>
bool sameFields(Node const & a, Node const & b, SameNode const & sameNode) {
    return a.withFields([&](auto const &... mine) {
        return b.withFields(
            [&](auto const &... theirs) { return (same(mine, theirs, sameNode) && ...); });
    });
}

} // namespace contract

/// The class and all fields, in declared order; keys do not count.
/// Changing what counts here changes the hash of every function.
template <typename Node>
U32 hashNode(Node const & node, U32 seed) {
    assertWalkable(node);
    SharedHashes::Look const look(node);
    Hash hash(seed);
    hash.hashMix(node.typeData().typeCode);
    node.withFields([&](auto const &... field) { (contract::mix(hash, field), ...); });
    return hash.result();
}

/// False for null and for nodes of another class.
template <typename Node>
bool compareNode(Node const & node, PtrConst<AetNodeBase> const & other) {
    Node const * const that = contract::sameClass(node, other.get());
    if (that == nullptr || that == &node) {
        return that != nullptr;
    }
    assertWalkable(node);
    SharedComparisons::Look const look(node);
    return contract::sameFields(node, *that, contract::sameChild);
}

/// Of a chain from that link on, by its entries alone.
/// By loop, since a chain may have a million links, each of which would else cost a call.
template <typename Link>
U32 hashChain(Link const & head, U32 seed) {
    SharedHashes::Look const look(head);
    Hash hash(seed);
    hash.hashMix(head.typeData().typeCode);
    for (Link const * link = &head; link != nullptr; link = link->next().get()) {
        contract::mixChild(hash, link->entry().get());
    }
    return hash.result();
}

/// Whether two chains carry equal entries in the same order; ends where they share their rest.
/// The shorter one differs.
template <typename Link>
bool compareLinkedLists(Link const * a, Link const * b) {
    while (a != nullptr && b != nullptr) {
        if (a == b) {
            return true;
        }
        if (!contract::sameChild(a->entry().get(), b->entry().get())) {
            return false;
        }
        a = a->next().get();
        b = b->next().get();
    }
    return a == b;
}

/// False for null and for links of another class.
/// No assertion on the depth: links are no levels, and each entry asserts its own.
template <typename Link>
bool compareChain(Link const & head, PtrConst<AetNodeBase> const & other) {
    Link const * const that = contract::sameClass(head, other.get());
    SharedComparisons::Look const look(head);
    return that != nullptr && compareLinkedLists(&head, that);
}

} // namespace Qcf::Eval
