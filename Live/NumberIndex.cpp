#include "Live/NumberIndex.h"

#include <algorithm>

namespace Qcf::Live {

std::shared_ptr<NumberIndex::Segment> NumberIndex::makeSegment(U32 slots, U32 depth) {
    auto segment = std::make_shared<Segment>();
    segment->slots = std::make_unique_for_overwrite<U32[]>(slots);
    std::fill_n(segment->slots.get(), slots, none);
    segment->mask = slots - 1;
    segment->depth = depth;
    slots_ += slots;
    return segment;
}

/// Puts empty segments in the place of the one of that hash, with room for what is in it and more.
/// Answers that one, null for none; what is in it is the caller's to put again.
std::shared_ptr<NumberIndex::Segment const> NumberIndex::renew(U32 hash) {
    if (segments_.empty()) {
        segments_.push_back(makeSegment(leastSlots, 0));
        return nullptr;
    }
    auto const before = segments_[(U64{hash} << depth_) >> 32];
    U32 const slots = before->mask + 1;
    bool const isCrowded = 8 * before->used >= 5 * slots; // else much of it is only gone
    bool const isSplit = isCrowded && slots >= mostSlots && before->depth < mostDepth;
    if (isSplit && before->depth == depth_) {
        std::vector<std::shared_ptr<Segment>> twice;
        twice.reserve(2 * segments_.size());
        for (auto const & segment : segments_) {
            twice.insert(twice.end(), 2, segment);
        }
        segments_ = std::move(twice);
        ++depth_;
    }
    std::size_t const places = std::size_t{1} << (depth_ - before->depth);
    auto const first = segments_.begin() +
                       static_cast<std::ptrdiff_t>((U64{hash} << depth_) >> 32 & ~U64{places - 1});
    auto const last = first + static_cast<std::ptrdiff_t>(places);
    slots_ -= slots;
    if (isSplit) {
        auto const middle = first + (last - first) / 2;
        std::fill(first, middle, makeSegment(slots, before->depth + 1));
        std::fill(middle, last, makeSegment(slots, before->depth + 1));
    } else {
        std::fill(first, last, makeSegment(isCrowded ? 2 * slots : slots, before->depth));
    }
    return before;
}

/// Puts a number into a segment that is not full and does not have it.
void NumberIndex::put(Segment & segment, U32 hash, U32 number) {
    U32 slot = hash & segment.mask;
    while (segment.slots[slot] < end) {
        slot = (slot + 1) & segment.mask;
    }
    segment.gone -= segment.slots[slot] == gone ? 1 : 0;
    ++segment.used;
    segment.slots[slot] = number;
}

void NumberIndex::replace(U32 hash, U32 number, U32 by) {
    Segment & segment = segmentOf(hash);
    segment.slots[slotOf(segment, hash, [=](U32 one) { return one == number; })] = by;
}

void NumberIndex::remove(U32 hash, U32 number) {
    Segment & segment = segmentOf(hash);
    U32 const slot = slotOf(segment, hash, [=](U32 one) { return one == number; });
    bool const isLast = segment.slots[(slot + 1) & segment.mask] == none;
    segment.slots[slot] = isLast ? none : gone;
    segment.gone += isLast ? 0 : 1;
    --segment.used;
}

void NumberIndex::clear() {
    segments_ = {};
    depth_ = 0;
    slots_ = 0;
}

U64 NumberIndex::memory() const {
    // Each segment once, with what it takes beside its slots.
    U64 const whole = slots_ / mostSlots + 1;
    return slots_ * sizeof(U32) + whole * sizeof(Segment) +
           segments_.capacity() * sizeof(segments_[0]);
}

} // namespace Qcf::Live
