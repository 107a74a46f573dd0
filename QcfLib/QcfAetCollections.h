#pragma once

#include "QcfLib/AetNodeTable.h"

#include <compare>
#include <functional>

namespace Qcf {

/// The untyped core of the store: every node of every published function, a collection a class, in
/// the order of Eval::nodeClasses(), keyed by the node's key.
///
/// A member's parent is the store. Each effective change is published by the store's publisher: the
/// collection's name as the attribute, added or removed, and the key. One publishing thread changes
/// the store; evaluating threads reach the nodes through the functions that hold them.
class AetCollections : public Entity {
public:
    using Node = Eval::AetNodeBase;

    /// A member that was added or removed since the last flush.
    struct CollKey {
        U16 collection;
        U64 key;
        auto operator<=>(CollKey const &) const = default;
    };

    ~AetCollections() override;
    TypeData const & typeData() const override;

    /// Puts a node that was built elsewhere into its class's collection. A member that is there
    /// under its key already stays, and is returned: a key always denotes the same node.
    Ptr<Node> nodeIs(Ptr<Node> const & node);
    /// Takes a member out; returns it, or null when there is none.
    Ptr<Node> nodeDel(U16 collection, U64 key);
    /// Takes every member of one collection out.
    void nodeDelAll(U16 collection);
    /// The member; null when there is none.
    Ptr<Node> node(U16 collection, U64 key) const;
    /// Whether this very node is a member.
    bool holds(Node const & node) const;
    /// Numbers that tell members apart while the store does not change: below `slots()`.
    std::size_t slotOf(Node const & member) const;
    std::size_t slots() const { return table_.slots(); }
    /// Makes room for so many more members.
    void reserveMore(std::size_t count);

    /// A member of that key that `wanted(node)` accepts, of whatever class; null when there is
    /// none. For publishers whose keys are unique over all classes.
    template <typename Predicate>
    Ptr<Node> anyNode(U64 key, Predicate && wanted) const {
        auto const * const found = table_.findAny(key, std::forward<Predicate>(wanted));
        return found == nullptr ? nullptr : *found;
    }

    std::size_t size() const { return table_.size(); }
    std::size_t size(U16 collection) const { return sizes_[collection]; }
    /// The keys of a collection, rising.
    std::vector<U64> keys(U16 collection) const;
    /// Calls `visit(Ptr<Node> const &)` for every member, in no particular order. The visitor must
    /// not change the store.
    template <typename Visitor>
    void forEachNode(Visitor && visit) const {
        table_.forEach(std::forward<Visitor>(visit));
    }
    /// Memory of the store itself, without the nodes.
    std::size_t bytes() const;

    /// Whether any collection has keys changed since the last flush.
    bool hasDirtyCollKeys() const { return !dirty_.empty(); }
    /// Those keys, each once, by collection and key. A member that came and went counts too.
    std::vector<CollKey> const & dirtyCollKeys() const;
    /// Flushes: nothing is dirty any more.
    void dirtyCollKeysDel();

protected:
    AetCollections();

    template <typename NodeType>
    Ptr<NodeType> member(U64 key) const {
        return ptrCast<NodeType>(node(NodeType::classNumber, key));
    }
    /// The member, or what `make` returns, put in.
    template <typename NodeType, typename Make>
    Ptr<NodeType> memberIs(U64 key, Make && make) {
        Ptr<NodeType> present = member<NodeType>(key);
        return present ? present : ptrCast<NodeType>(nodeIs(make()));
    }
    template <typename NodeType>
    Ptr<NodeType> memberDel(U64 key) {
        return ptrCast<NodeType>(nodeDel(NodeType::classNumber, key));
    }

private:
    void changed(U16 collection, U64 key, Notification::Kind kind);
    void sortDirty() const;

    AetNodeTable table_;
    std::vector<U32> sizes_;
    mutable std::vector<CollKey> dirty_; ///< sorted and free of doubles up to sortedDirty_
    mutable std::size_t sortedDirty_ = 0;
};

} // namespace Qcf
