#pragma once

#include "Platform/Framework/Hash.h"
#include "Platform/Framework/Types.h"

#include <compare>
#include <iosfwd>

namespace Acl {

/// A community of any kind: a 64-bit value word and a 32-bit type word, 12 bytes in all.
///
/// A large community A:B:C has the value word A * 2^32 + B and the type word C. An extended
/// community is its eight octets as the value word, with type word 0. Held as three 32-bit words so
/// that an array of them has no gaps: word 0 and 1 are the low and the high half of the value word,
/// word 2 is the type word.
///
///     Acl::CommunityValue const large((U64{64500} << 32) | 1, 2); // 64500:1:2
///     large.value(); // 64500 * 2^32 + 1
///     large.type();  // 2
///
/// A plain value without heap.
class CommunityValue {
public:
    /// Type and subtype of a link-bandwidth extended community. Its lower octets are an AS number
    /// and a bandwidth as a float.
    static constexpr U16 linkBandwidthTypeAndSubType = 0x4004;

    constexpr CommunityValue() = default;
    /// The community of a value word and a type word.
    constexpr CommunityValue(U64 value, U32 type)
        : words_{static_cast<U32>(value), static_cast<U32>(value >> 32), type} {}

    /// The community of those three words.
    static constexpr CommunityValue fromWords(U32 word0, U32 word1, U32 word2) {
        return {(U64{word1} << 32) | word0, word2};
    }

    /// The value word.
    constexpr U64 value() const { return (U64{words_[1]} << 32) | words_[0]; }
    /// The type word.
    constexpr U32 type() const { return words_[2]; }

    /// Word 0, 1 or 2 as described above. The index must be below 3.
    constexpr U32 word(U32 index) const { return words_[index]; }

    /// Whether all three words are zero.
    constexpr bool isZero() const { return (words_[0] | words_[1] | words_[2]) == 0; }

    /// Whether both have the same value word and the same type word.
    constexpr bool isEq(CommunityValue const & other) const {
        return value() == other.value() && type() == other.type();
    }
    constexpr bool operator==(CommunityValue const & other) const { return isEq(other); }

    /// By value word, then by type word, both unsigned. Extended communities are so in the order of
    /// their octets, and those of one type and subtype side by side.
    constexpr std::strong_ordering operator<=>(CommunityValue const & other) const {
        auto const order = value() <=> other.value();
        return std::is_neq(order) ? order : type() <=> other.type();
    }

    /// Hash of the three words.
    U32 hash(U32 seed) const;

    /// The type octet and the subtype octet of an extended community: bits 48 to 63 of the value.
    constexpr U16 extendedCommunityTypeAndSubType() const {
        return static_cast<U16>(words_[1] >> 16);
    }

    /// Whether it is an extended community that tells a link bandwidth.
    constexpr bool isLinkBandwidth() const {
        return extendedCommunityTypeAndSubType() == linkBandwidthTypeAndSubType;
    }

private:
    /// Low half, high half, type.
    U32 words_[3] = {0, 0, 0};
};

/// Arrays of them are what sets of communities hold.
static_assert(sizeof(CommunityValue) == 12);

/// Type word 0: "0x" and 16 hexadecimal digits. Any other: "A:B:C" in decimal.
std::ostream & operator<<(std::ostream & out, CommunityValue const & community);

} // namespace Acl

template <>
struct std::hash<Acl::CommunityValue> : HashOfValue<Acl::CommunityValue> {};
