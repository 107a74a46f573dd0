#pragma once

#include "QcfLib/AetNode.h"

#include <vector>

namespace Qcf {

/// A set of nodes found by class number and key: the untyped table under the store.
///
///     table.insert(node);
///     if (auto const * const found = table.find(IntIs::classNumber, 12)) { use(**found); }
///
/// A node carries both class and key itself, so that the table costs nine bytes a slot, three
/// quarters of them in use at most: about 12 to 24 bytes a node. It is one open-addressed array.
/// Nodes whose keys follow one another stand together, since keys rise with the order of building:
/// who walks a large store by keys stays within the caches. Growing doubles it and places every
/// node anew; whoever knows how many will come reserves.
///
/// One thread changes it. Other threads must not look while it does; they reach nodes through the
/// functions that hold them.
class AetNodeTable {
public:
    using Node = Eval::AetNodeBase;

    /// No slot.
    /// Also what `slotOf` answers for an empty table.
    static constexpr std::size_t none = ~std::size_t{0};

    /// Nodes there are.
    std::size_t size() const { return size_; }
    /// Slots there are; one of them is a node's until the table changes.
    std::size_t slots() const { return slots_.size(); }
    /// The slot of this very node; `none` when it is not there.
    std::size_t slotOf(Node const & node) const;
    /// Memory of the table, without the nodes.
    std::size_t bytes() const { return slots_.capacity() * sizeof(Ptr<Node>) + tags_.capacity(); }

    /// The node; null when it is not there. The pointer is good until the table changes.
    /// Costs a probe or two; a tag of a byte is compared before any node is touched.
    Ptr<Node> const * find(U16 classNumber, U64 key) const;
    /// The first node of that key, of whatever class, that `wanted(node)` accepts; null for none.
    /// Keys are spread without their class, so that all nodes of one key stand in one run.
    template <typename Predicate>
    Ptr<Node> const * findAny(U64 key, Predicate && wanted) const {
        for (std::size_t slot = home(key); !tags_.empty() && tags_[slot] != 0; slot = next(slot)) {
            if (slots_[slot]->aetNodeKey() == key && wanted(*slots_[slot])) {
                return &slots_[slot];
            }
        }
        return nullptr;
    }
    /// Makes room for so many nodes in all, now or later, so that the table does not grow on the
    /// way there.
    void reserve(std::size_t size);
    /// Puts a node in, which it holds from then on; none of its class and key may be there.
    void insert(Ptr<Node> node);
    /// Takes the node out and hands it over; null when it is not there.
    /// Closes the gap at once: no markers of removed nodes make later searches longer.
    Ptr<Node> remove(U16 classNumber, U64 key);

    /// In no particular order; the visitor must not change the table.
    template <typename Visitor>
    void forEach(Visitor && visit) const {
        for (auto const & slot : slots_) {
            if (slot) {
                visit(slot);
            }
        }
    }

private:
    /// A few bits of class and key beside each slot spare most looks at a node that is not the one.
    static U8 tagOf(U16 classNumber, U64 key);
    static U16 classNumberOf(Node const & node);
    std::size_t slotOf(U16 classNumber, U64 key) const;
    /// Where a search for a key begins; the same for all classes.
    std::size_t home(U64 key) const;
    /// Three quarters full at most: an empty slot ends every search.
    bool isRoomFor(std::size_t size) const { return size * 4 <= slots_.size() * 3; }
    /// Around the end; the number of slots is a power of two.
    std::size_t next(std::size_t slot) const { return (slot + 1) & (slots_.size() - 1); }
    /// Into the first empty slot from its home on; there must be one.
    void place(Ptr<Node> node);
    void grow(std::size_t slots);
    /// Moves up what a search would no longer reach across the empty slot.
    void closeGap(std::size_t gap);

    std::vector<U8> tags_;         ///< 0 for an empty slot
    std::vector<Ptr<Node>> slots_; ///< a power of two of them, or none
    std::size_t size_ = 0;
    U32 runShift_ = 0; ///< from a mixed key to the number of a run of slots
};

} // namespace Qcf
