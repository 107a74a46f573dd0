#pragma once

#include "Platform/Framework/Types.h"
#include "Platform/Routing/CommunityValue.h"

#include <bit>
#include <vector>

namespace Qcf::Eval {

/// Spreads a value over the word; the upper half of the product depends on every bit.
inline U64 spreadBits(U64 value) { return (value * 0x9e3779b97f4a7c15U) >> 20; }
inline U64 spreadBits(Acl::CommunityValue const & value) {
    return spreadBits(value.value() ^ (U64{value.type()} << 20));
}

/// Says of most values that are not in a large constant set that they are not, by one probe. A
/// route's few values are rarely in such a set, and a bisection of thousands costs a dozen steps.
class MembershipFilter {
public:
    template <typename Values>
    explicit MembershipFilter(Values const & values) {
        // Sixteen bits a value: about one false alarm in sixteen, in two bytes a value.
        std::size_t const bits = std::bit_ceil(bitsPerValue * values.size() + wordBits);
        words_.resize(bits / wordBits);
        mask_ = bits - 1;
        for (auto const & value : values) {
            std::size_t const bit = spreadBits(value) & mask_;
            words_[bit / wordBits] |= U64{1} << (bit % wordBits);
        }
    }

    /// False only for values that are not in the set.
    template <typename Value>
    bool mayContain(Value const & value) const {
        std::size_t const bit = spreadBits(value) & mask_;
        return ((words_[bit / wordBits] >> (bit % wordBits)) & 1) != 0;
    }

private:
    static constexpr std::size_t bitsPerValue = 16;
    static constexpr std::size_t wordBits = 64;

    std::vector<U64> words_;
    std::size_t mask_ = 0;
};

} // namespace Qcf::Eval
