#pragma once

#include "Platform/Framework/Hash.h"
#include "QcfLib/NodeFields.h"
#include "QcfLib/Nodes/NodeTexts.h"
#include "QcfLib/Nodes/SharedAnswers.h"

/// The node contract over the fields that a class lists in eachField: hash, compare and their like,
/// once for all classes. Included by the generated sources alone.
namespace Qcf::Eval {

namespace contract {

template <typename T>
concept NodePointer = requires(T const & p) {
    static_cast<AetNodeBase const *>(p.get());
};

inline void mixChild(Hash & hash, AetNodeBase const * child) {
    if (child == nullptr) {
        hash.hashMix(U64{0});
        return;
    }
    hash.hashMix(SharedHashes::of(*child, child, [&] { return child->hash(0); }));
}

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

template <typename T>
void mix(Hash & hash, std::optional<T> const & value) {
    hash.hashMix(value.has_value());
    if (value) {
        mix(hash, *value);
    }
}

inline bool sameChild(AetNodeBase const * a, AetNodeBase const * b) {
    if (a == b) {
        return true;
    }
    return a != nullptr && b != nullptr && SharedComparisons::of(*a, {a, b}, [&] {
               return a->compare(BorrowedPtr<AetNodeBase const>(b));
           });
}

template <typename T>
bool same(T const & a, T const & b) {
    if constexpr (NodePointer<T>) {
        return sameChild(a.get(), b.get());
    } else {
        return a == b;
    }
}
// By their bits, as they are hashed: a NaN equals itself, the two zeros differ.
inline bool same(F32 const & a, F32 const & b) {
    return std::bit_cast<U32>(a) == std::bit_cast<U32>(b);
}

template <typename Node>
Node const * sameClass(Node const & node, AetNodeBase const * other) {
    bool const same = other != nullptr && other->typeData().isSameClass(node.typeData());
    return same ? static_cast<Node const *>(other) : nullptr;
}

/// The fields as a tuple of references, so that two nodes can be walked in step.
template <typename Node>
auto fieldAddresses(Node const & node) {
    std::vector<void const *> addresses;
    node.eachField([&](char const *, auto const & value) { addresses.push_back(&value); });
    return addresses;
}

} // namespace contract

template <typename Node>
U32 hashNode(Node const & node, U32 seed) {
    assertWalkable(node);
    SharedHashes::Look const look(node);
    Hash hash(seed);
    hash.hashMix(node.typeData().typeCode);
    node.eachField([&](char const *, auto const & value) { contract::mix(hash, value); });
    return hash.result();
}

template <typename Node>
bool compareNode(Node const & node, PtrConst<AetNodeBase> const & other) {
    Node const * const that = contract::sameClass(node, other.get());
    if (that == nullptr || that == &node) {
        return that != nullptr;
    }
    assertWalkable(node);
    SharedComparisons::Look const look(node);
    auto const theirs = contract::fieldAddresses(*that);
    std::size_t i = 0;
    bool equal = true;
    node.eachField([&](char const *, auto const & value) {
        using Value = std::remove_cvref_t<decltype(value)>;
        equal = equal && contract::same(value, *static_cast<Value const *>(theirs[i]));
        ++i;
    });
    return equal;
}

/// Chains are visited by loop: they may be a million links long.
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

template <typename Link>
bool compareChain(Link const & head, PtrConst<AetNodeBase> const & other) {
    Link const * const that = contract::sameClass(head, other.get());
    SharedComparisons::Look const look(head);
    return that != nullptr && compareLinkedLists(&head, that);
}

} // namespace Qcf::Eval
