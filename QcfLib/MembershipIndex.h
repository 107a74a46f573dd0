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

/// Finds values among many constants, which stay where they are: the index knows their positions
/// alone, and is told where they stand with every question.
///
///     MembershipIndex const index(set.view());
///     if (index.contains(set.view(), value)) { ... }
///
/// A route's few values are rarely among the constants: a filter of bits, small enough to stay in
/// the cache, says so by one probe. A table of open addresses finds the others; a bisection of
/// thousands would cost a dozen steps that no processor foresees. Immutable, read by any thread.
/// Memory is taken once, in the constructor.
class MembershipIndex {
public:
    /// What is the position of a value that is not there.
    /// Also marks the empty places of the table.
    static constexpr U32 none = ~U32{0};

    /// The values must stay the same as long as the index, and differ from each other; there are
    /// less than 2^32 - 1.
    /// Takes 10 to 20 bytes a value, in two blocks.
    template <typename Values>
    explicit MembershipIndex(Values const & values)
        : bits_(std::bit_ceil(bitsPerValue * values.size() + wordBits) / wordBits),
          places_(std::bit_ceil(2 * values.size() + 1), none) {
        U32 position = 0;
        // Each value sets its bit and takes the first free place from its own on.
        for (auto const & value : values) {
            U64 const spread = spreadBits(value);
            std::size_t const bit = spread & bitMask();
            bits_[bit / wordBits] |= U64{1} << (bit % wordBits);
            std::size_t at = spread & placeMask();
            while (places_[at] != none) {
                at = (at + 1) & placeMask();
            }
            places_[at] = position++;
        }
    }

    /// Whether `value` is one of the values that the index was made of.
    /// Mostly one look at the filter where it is not there, and a probe or two where it is.
    template <typename Value>
    bool contains(std::span<Value const> values, Value const & value) const {
        return positionOf(values, value) != none;
    }

    /// Where among the values it stands; `none` when it is not there.
    /// `values` must be those that the index was made of, in the same order.
    template <typename Value>
    U32 positionOf(std::span<Value const> values, Value const & value) const {
        U64 const spread = spreadBits(value);
        std::size_t const bit = spread & bitMask();
        bool const mayBe = ((bits_[bit / wordBits] >> (bit % wordBits)) & 1) != 0;
        return mayBe ? placeOf(values, value, spread) : none;
    }

private:
    // Sixteen bits a value: about one false alarm in sixteen, in two bytes a value.
    static constexpr std::size_t bitsPerValue = 16;
    static constexpr std::size_t wordBits = 64;

    /// Ends at an empty place at the latest, since at least half of them are.
    template <typename Value>
    U32 placeOf(std::span<Value const> values, Value const & value, U64 spread) const {
        std::size_t at = spread & placeMask();
        while (places_[at] != none && !(values[places_[at]] == value)) {
            at = (at + 1) & placeMask();
        }
        return places_[at];
    }

    // Both sizes are powers of two.
    std::size_t bitMask() const { return bits_.size() * wordBits - 1; }
    std::size_t placeMask() const { return places_.size() - 1; }

    /// A bit for each value, and for whatever others fall upon it.
    std::vector<U64> bits_;
    // Found by probing from the value's own place on, one by one.
    std::vector<U32> places_; ///< positions among the values; at most half are taken
};

} // namespace Qcf::Eval
