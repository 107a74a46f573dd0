#include "QcfLib/AetNodeTable.h"

namespace Qcf {

U64 AetNodeTable::hashOf(U16 classNumber, U64 key) {
    U64 const mixed = (key + (U64{classNumber} << 48)) * 0x9e3779b97f4a7c15U;
    return mixed ^ (mixed >> 32);
}

U64 AetNodeTable::hashOf(Node const & node) {
    return hashOf(static_cast<U16>(node.typeData().number()), node.aetNodeKey());
}

std::size_t AetNodeTable::slotOf(U16 classNumber, U64 key) const {
    if (slots_.empty()) {
        return none;
    }
    auto const * const nodeClass = &Eval::nodeClasses()[classNumber];
    U64 const hash = hashOf(classNumber, key);
    U8 const tag = tagOf(hash);
    for (std::size_t slot = home(hash); tags_[slot] != 0; slot = next(slot)) {
        if (tags_[slot] == tag && slots_[slot]->aetNodeKey() == key &&
            &slots_[slot]->typeData() == nodeClass) {
            return slot;
        }
    }
    return none;
}

Ptr<AetNodeTable::Node> const * AetNodeTable::find(U16 classNumber, U64 key) const {
    std::size_t const slot = slotOf(classNumber, key);
    return slot == none ? nullptr : &slots_[slot];
}

void AetNodeTable::insert(Ptr<Node> node) {
    if ((size_ + 1) * 4 > slots_.size() * 3) {
        grow();
    }
    U64 const hash = hashOf(*node);
    place(hash, std::move(node));
    ++size_;
}

void AetNodeTable::place(U64 hash, Ptr<Node> node) {
    std::size_t slot = home(hash);
    while (tags_[slot] != 0) {
        slot = next(slot);
    }
    tags_[slot] = tagOf(hash);
    slots_[slot] = std::move(node);
}

void AetNodeTable::grow() {
    std::size_t const wanted = slots_.empty() ? 16 : slots_.size() * 2;
    auto const before = std::exchange(slots_, std::vector<Ptr<Node>>(wanted));
    tags_.assign(wanted, 0);
    tags_.shrink_to_fit();
    for (auto const & node : before) {
        if (node) {
            place(hashOf(*node), node);
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
        std::size_t const wanted = home(hashOf(*slots_[slot]));
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
