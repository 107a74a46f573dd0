#include "QcfLib/AetNodeTable.h"

#include <algorithm>
#include <bit>

/// The table under the store: open addressing by linear probing, without marks of removed nodes.
namespace Qcf {

// Eight keys that follow one another share a line of the cache. Longer runs would not do: two that
// fall upon each other make every search in them long. The number of a run comes from the leading
// bits of the product, to which all bits of the key add.
std::size_t AetNodeTable::home(U64 key) const {
    U64 const mixed = (key >> 3) * 0x9e3779b97f4a7c15U;
    return ((mixed >> runShift_) << 3) | (key & 7);
}

// Never 0, which is an empty slot's; seven bits of class and key are left.
U8 AetNodeTable::tagOf(U16 classNumber, U64 key) {
    return static_cast<U8>((classNumber * 0x9dU + (key * 0xd6e8feb86659fd93U >> 56)) | 1U);
}

U16 AetNodeTable::classNumberOf(Node const & node) {
    return static_cast<U16>(node.typeData().number());
}

std::size_t AetNodeTable::slotOf(U16 classNumber, U64 key) const {
    if (slots_.empty()) {
        return none;
    }
    // By identity, which costs one comparison.
    auto const * const nodeClass = &Eval::nodeClasses()[classNumber];
    U8 const tag = tagOf(classNumber, key);
    for (std::size_t slot = home(key); tags_[slot] != 0; slot = next(slot)) {
        if (tags_[slot] == tag && slots_[slot]->aetNodeKey() == key &&
            &slots_[slot]->typeData() == nodeClass) {
            return slot;
        }
    }
    return none;
}

std::size_t AetNodeTable::slotOf(Node const & node) const {
    std::size_t const slot = slotOf(classNumberOf(node), node.aetNodeKey());
    return slot != none && slots_[slot].get() == &node ? slot : none;
}

Ptr<AetNodeTable::Node> const * AetNodeTable::find(U16 classNumber, U64 key) const {
    std::size_t const slot = slotOf(classNumber, key);
    return slot == none ? nullptr : &slots_[slot];
}

void AetNodeTable::insert(Ptr<Node> node) {
    // Doubling keeps the cost of an insertion constant on average.
    if (!isRoomFor(size_ + 1)) {
        grow(slots_.empty() ? 16 : slots_.size() * 2);
    }
    place(std::move(node));
    ++size_;
}

void AetNodeTable::place(Ptr<Node> node) {
    std::size_t slot = home(node->aetNodeKey());
    while (tags_[slot] != 0) {
        slot = next(slot);
    }
    tags_[slot] = tagOf(classNumberOf(*node), node->aetNodeKey());
    slots_[slot] = std::move(node);
}

// Never smaller: room that was made stays.
void AetNodeTable::reserve(std::size_t size) {
    if (!isRoomFor(size)) {
        // A third more than nodes are needed, so that three quarters at most are taken.
        grow(std::bit_ceil(std::max<std::size_t>(size + size / 3 + 1, 16)));
    }
}

void AetNodeTable::grow(std::size_t slots) {
    auto before = std::exchange(slots_, std::vector<Ptr<Node>>(slots));
    // The number of a run takes the leading bits that there are runs for.
    runShift_ = 64 - static_cast<U32>(std::countr_zero(slots / 8));
    tags_.assign(slots, 0);
    tags_.shrink_to_fit();
    for (auto & node : before) {
        if (node) {
            place(std::move(node));
        }
    }
}

Ptr<AetNodeTable::Node> AetNodeTable::remove(U16 classNumber, U64 key) {
    std::size_t const slot = slotOf(classNumber, key);
    if (slot == none) {
        return nullptr;
    }
    Ptr<Node> removed = std::move(slots_[slot]);
    tags_[slot] = 0;
    --size_;
    closeGap(slot);
    return removed;
}

// Whoever stands behind the gap and could stand in it moves up, so that no search ends too early.
void AetNodeTable::closeGap(std::size_t gap) {
    for (std::size_t slot = next(gap); tags_[slot] != 0; slot = next(slot)) {
        std::size_t const wanted = home(slots_[slot]->aetNodeKey());
        // Distances around the end: from its home to where it stands, and from the gap to there.
        bool const reachesGap =
            ((slot - wanted) & (slots_.size() - 1)) >= ((slot - gap) & (slots_.size() - 1));
        if (reachesGap) {
            tags_[gap] = std::exchange(tags_[slot], U8{0});
            slots_[gap] = std::move(slots_[slot]);
            gap = slot;
        }
    }
}

} // namespace Qcf
