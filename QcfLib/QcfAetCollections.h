#pragma once

#include "QcfLib/AetChanges.h"
#include "QcfLib/AetKeyList.h"
#include "QcfLib/AetNodeTable.h"

#include <functional>

namespace Qcf {

/// The untyped core of the store: every node of every published function, a collection a class, in
/// the order of Eval::nodeClasses(), keyed by the node's key. The typed view over it is
/// AllAetEntities; who treats all classes alike (a reader, a mirror) uses the core:
///
///     Ptr<Eval::AetNodeBase> kept = store.nodeIs(nodeClass.create(key, reader));
///     store.forEachNode([](auto const & node) { ... });
///
/// A member's parent is the store, and a node is a member of one store at most. Each effective
/// change is published by the store's publisher: the collection's name as the attribute, added or
/// removed, and the key. One publishing thread changes the store; evaluating threads reach the
/// nodes through the functions that hold them.
class AetCollections : public Entity {
public:
    using Node = Eval::AetNodeBase;

    using CollKey = Qcf::CollKey;

    /// Members may outlive the store; they have no parent then.
    ~AetCollections() override;
    TypeData const & typeData() const override;

    /// Puts a node that was built elsewhere into its class's collection. A member that is there
    /// under its key already stays, and is returned: a key always denotes the same node. One that
    /// is put in must not be another store's member, which is asserted.
    Ptr<Node> nodeIs(Ptr<Node> const & node);
    /// Takes a member out; returns it, or null when there is none.
    Ptr<Node> nodeDel(U16 collection, U64 key);
    /// Takes every member of one collection out, at a cost in proportion to them.
    void nodeDelAll(U16 collection);
    /// The member; null when there is none.
    Ptr<Node> node(U16 collection, U64 key) const;
    /// Whether this very node is a member.
    bool holds(Node const & node) const;
    /// Numbers that tell members apart while the store does not change: below `slots()`. `noSlot`
    /// for a node that is none.
    std::size_t slotOf(Node const & node) const { return table_.slotOf(node); }
    static constexpr std::size_t noSlot = AetNodeTable::none;
    std::size_t slots() const { return table_.slots(); }
    /// Makes room for so many more members.
    void reserveMore(std::size_t count);

    /// A member of that key that `wanted(node)` accepts, of whatever class; null when there is
    /// none.
    template <typename Predicate>
    Ptr<Node> anyNode(U64 key, Predicate && wanted) const {
        auto const * const found = table_.findAny(key, std::forward<Predicate>(wanted));
        return found == nullptr ? nullptr : *found;
    }

    /// How many members there are, in all and in one collection.
    std::size_t size() const { return table_.size(); }
    std::size_t size(U16 collection) const { return keys_[collection].size(); }
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

    /// Whether any collection has keys changed since the last flush, be it that a member only came
    /// and went.
    bool hasDirtyCollKeys() const { return dirty_.touched(); }
    /// The keys under which something else stands than at the last flush, each once, by collection
    /// and key.
    std::vector<CollKey> dirtyCollKeys() const;
    /// Flushes: nothing is dirty any more.
    void dirtyCollKeysDel() { dirty_.clear(); }

    /// Notes every change in `changes` as well, from here on until `followerDel`: any number may
    /// follow a store, each at its own pace. It must outlive that.
    void followerIs(AetChanges & changes) { followers_.push_back(&changes); }
    void followerDel(AetChanges & changes) { std::erase(followers_, &changes); }

protected:
    AetCollections();

    // What the operations of a typed view come down to.

    /// The member of that class and key; null when there is none.
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
    /// Takes it out; null when there was none.
    template <typename NodeType>
    Ptr<NodeType> memberDel(U64 key) {
        return ptrCast<NodeType>(nodeDel(NodeType::classNumber, key));
    }

private:
    /// Notes it for the flush and the followers, and publishes it.
    void changed(U16 collection, U64 key, Notification::Kind kind);
    /// What tells a collection's members among the keys that were.
    auto isMemberOf(U16 collection) const {
        return [this, collection](U64 key) { return table_.find(collection, key) != nullptr; };
    }

    AetNodeTable table_;
    std::vector<AetKeyList> keys_; ///< by collection
    /// Since the last flush.
    AetChanges dirty_;
    std::vector<AetChanges *> followers_;
};

} // namespace Qcf
