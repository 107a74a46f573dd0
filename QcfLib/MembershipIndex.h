#pragma once

#include "Platform/Framework/Types.h"
#include "Platform/Routing/CommunityValue.h"

#include <bit>
#include <span>
#include <vector>

namespace Qcf::Eval {

/// Spreads a value over the word; the upper half of the product depends on every bit.
/// The multiplier is 2^64 divided by the golden ratio, which keeps consecutive values apart.
inline U64 spreadBits(U64 value) { return (value * 0x9e3779b97f4a7c15U) >> 20; }
/// The type is put above the lowest 20 bits, which stay the value's own.
inline U64 spreadBits(Acl::CommunityValue const & value) {
    return spreadBits(value.value() ^ (U64{value.type()} << 20));
}

/// Where values were put by their spread bits: whoever is not there is mostly told so by one probe.
///
/// A route's few values are rarely among the constants: a filter of bits, small enough to stay in
/// the cache, says so. A table of open addresses finds the others; a bisection of thousands would
/// cost a dozen steps that no processor foresees. A `Place` is what is found, side by side with
/// what it is recognised by; one that is made without arguments is free, as its `isFree` tells.
///
/// Both sizes are powers of two, and their masks are kept: a probe reads nothing else before it
/// knows where to look.
template <typename Place>
class SpreadTable {
public:
    /// Takes its memory here, two bytes and two to four places a value, in two blocks.
    explicit SpreadTable(std::size_t values)
        : bits_(std::bit_ceil(bitsPerValue * values + wordBits) / wordBits),
          places_(std::bit_ceil(2 * values + 1)),
          bitMask_(bits_.size() * wordBits - 1),
          placeMask_(places_.size() - 1) {}

    /// At most as often as the constructor was told. What was put in before must be other values.
    void insert(U64 spread, Place const & place) {
        std::size_t const bit = spread & bitMask_;
        bits_[bit / wordBits] |= U64{1} << (bit % wordBits);
        // The first free place from its own on.
        std::size_t at = spread & placeMask_;
        while (!places_[at].isFree()) {
            at = (at + 1) & placeMask_;
        }
        places_[at] = place;
    }

    /// The place of those spread bits for which `isIt` is true; a free one when there is none.
    template <typename IsIt>
    Place find(U64 spread, IsIt isIt) const {
        std::size_t const bit = spread & bitMask_;
        bool const mayBe = ((bits_[bit / wordBits] >> (bit % wordBits)) & 1) != 0;
        return mayBe ? probe(spread, isIt) : Place{};
    }

private:
    // Sixteen bits a value: about one false alarm in sixteen, in two bytes a value.
    static constexpr std::size_t bitsPerValue = 16;
    static constexpr std::size_t wordBits = 64;

    /// Ends at a free place at the latest, since at least half of them are.
    template <typename IsIt>
    Place probe(U64 spread, IsIt isIt) const {
        std::size_t at = spread & placeMask_;
        while (!places_[at].isFree() && !isIt(places_[at])) {
            at = (at + 1) & placeMask_;
        }
        return places_[at];
    }

    /// A bit for each value, and for whatever others fall upon it.
    std::vector<U64> bits_;
    // Found by probing from the value's own place on, one by one; at most half are taken.
    std::vector<Place> places_;
    std::size_t bitMask_;
    std::size_t placeMask_;
};

/// Finds values among many constants, which stay where they are: the index knows their positions
/// alone, and is told where they stand with every question.
///
///     MembershipIndex const index(set.view());
///     if (index.contains(set.view(), value)) { ... }
///
/// Immutable, read by any thread. Memory is taken once, in the constructor: 10 to 20 bytes a value.
class MembershipIndex {
public:
    /// The values must stay the same as long as the index, and differ from each other; there are
    /// less than 2^32 - 1.
    template <typename Values>
    explicit MembershipIndex(Values const & values) : positions_(values.size()) {
        U32 position = 0;
        for (auto const & value : values) {
            positions_.insert(spreadBits(value), {position++});
        }
    }

    /// Whether `value` is one of the values that the index was made of, which `values` must be, in
    /// the same order.
    /// Mostly one look at the filter where it is not there, and a probe or two where it is.
    template <typename Value>
    bool contains(std::span<Value const> values, Value const & value) const {
        auto const isIt = [&](Position place) { return values[place.position] == value; };
        return !positions_.find(spreadBits(value), isIt).isFree();
    }

private:
    struct Position {
        U32 position = ~U32{0};
        bool isFree() const { return position == ~U32{0}; }
    };
    SpreadTable<Position> positions_;
};

} // namespace Qcf::Eval
