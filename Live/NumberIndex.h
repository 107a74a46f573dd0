#pragma once

#include "Platform/Framework/Types.h"

#include <memory>
#include <vector>

namespace Qcf::Live {

/// Finds numbers by a hash of what they stand for. What that is only the caller knows:
///
///     U32 const number = index.find(hash, [&](U32 one) { return keyOf(one) == key; });
///     index.insert(hash, number, keys); // where each stands, and what its hash is
///
/// The slots stand in segments by the first bits of the hash, and a segment that is full becomes
/// two: however many numbers there are, a call moves a few thousand at most, and never pauses for
/// long. Memory: 5 to 13 bytes a number. Belongs to one thread.
class NumberIndex {
public:
    /// No number.
    static constexpr U32 none = ~U32{0};
    /// Numbers are below.
    static constexpr U32 end = none - 1;

    /// The number for which `isMeant(number)` holds, which is asked of some that have another hash,
    /// too; `none` where it holds for none.
    template <typename Question>
    U32 find(U32 hash, Question isMeant) const {
        if (segments_.empty()) {
            return none;
        }
        Segment const & segment = segmentOf(hash);
        return segment.slots[slotOf(segment, hash, isMeant)];
    }
    /// Adds a number that is not there. Of those that move `keys.hashOf(number)` is asked, and some
    /// time before it `keys.placeOf(number)`: the memory that it will read.
    template <typename Keys>
    void insert(U32 hash, U32 number, Keys const & keys) {
        while (segments_.empty() || isFull(segmentOf(hash))) {
            if (std::shared_ptr<Segment const> const before = renew(hash)) {
                move(*before, keys);
            }
        }
        put(segmentOf(hash), hash, number);
    }
    /// Puts a number in the place of one that is there, for something of the same hash.
    void replace(U32 hash, U32 number, U32 by);
    /// Takes out a number that is there.
    void remove(U32 hash, U32 number);
    /// Takes out all, and gives back the memory.
    void clear();
    /// Has what `find` will look at fetched.
    void prefetch(U32 hash) const {
        Segment const & segment = segmentOf(hash);
        __builtin_prefetch(&segment.slots[hash & segment.mask]);
    }
    /// Memory taken, in bytes.
    U64 memory() const;

    /// Some bits of a hash that say more than where it is looked for.
    static constexpr U32 spareBits(U32 hash) { return hash >> slotBits; }

private:
    static constexpr U32 slotBits = 12;
    static constexpr U32 mostSlots = U32{1} << slotBits;
    /// By more bits segments are not told apart: those that would be grow instead.
    static constexpr U32 mostDepth = 32 - slotBits;
    static constexpr U32 leastSlots = 16;
    /// In a slot: what stood there is gone, and others may stand behind it.
    static constexpr U32 gone = end;

    struct Segment {
        std::unique_ptr<U32[]> slots;
        U32 mask = 0;  ///< slots but one, which are a power of two
        U32 used = 0;  ///< slots with numbers
        U32 gone = 0;  ///< slots of what is gone
        U32 depth = 0; ///< first bits of the hash that all in it share
    };

    Segment & segmentOf(U32 hash) const { return *segments_[(U64{hash} << depth_) >> 32]; }
    static bool isFull(Segment const & segment) {
        return 4 * (segment.used + segment.gone + 1) > 3 * (segment.mask + 1);
    }
    template <typename Question>
    static U32 slotOf(Segment const & segment, U32 hash, Question isMeant) {
        U32 slot = hash & segment.mask;
        while (segment.slots[slot] != none &&
               (segment.slots[slot] == gone || !isMeant(segment.slots[slot]))) {
            slot = (slot + 1) & segment.mask;
        }
        return slot;
    }
    template <typename Keys>
    void move(Segment const & from, Keys const & keys) {
        // Keys lie anywhere: they are fetched before they are waited for.
        constexpr U32 ahead = 16;
        for (U32 slot = 0; slot <= from.mask; ++slot) {
            if (U32 const later = slot + ahead <= from.mask ? from.slots[slot + ahead] : none;
                later < end) {
                __builtin_prefetch(keys.placeOf(later));
            }
            if (U32 const one = from.slots[slot]; one < end) {
                U32 const hash = keys.hashOf(one);
                put(segmentOf(hash), hash, one);
            }
        }
    }
    static void put(Segment & segment, U32 hash, U32 number);
    std::shared_ptr<Segment const> renew(U32 hash);
    std::shared_ptr<Segment> makeSegment(U32 slots, U32 depth);

    /// By the first `depth_` bits of the hash; one that is told apart by fewer stands there often.
    std::vector<std::shared_ptr<Segment>> segments_;
    U32 depth_ = 0;
    U64 slots_ = 0; ///< in all segments
};

} // namespace Qcf::Live
