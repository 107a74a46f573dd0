#pragma once

#include "Platform/Framework/Hash.h"
#include "Platform/Framework/Types.h"

#include <array>
#include <bit>
#include <compare>
#include <cstring>
#include <iosfwd>
#include <optional>
#include <string_view>

/// The address families that a route, an address or a prefix may have. The numbers are what the
/// policy language shows as an IP version. `none` is that of no address at all.
enum class AddressFamily : U8 { none = 0, ipv4 = 4, ipv6 = 6 };

/// Number of bits of an address of a family: 0, 32 or 128. That is also the length of the longest
/// prefix.
constexpr U8 addressWidth(AddressFamily family) {
    return family == AddressFamily::ipv4 ? 32 : family == AddressFamily::ipv6 ? 128 : 0;
}

/// An IPv4 or IPv6 address, or no address at all (family `none`).
///
///     IpGenAddr const next = IpGenAddr::v4(0x0a000001);
///     next == *IpGenAddr::parse("10.0.0.1"); // true
///     next.toString();                       // "10.0.0.1"
///
/// A plain value of 20 bytes without heap: copied, compared and handed over by value or const
/// reference on any thread. The bytes are kept in network order; those a family does not use are
/// zero, so equality needs no look at the family's width.
class IpGenAddr {
public:
    /// No address: family `none`, all bytes zero.
    constexpr IpGenAddr() = default;

    /// The IPv4 address whose numeric value is `hostOrder` (0x0a000001 is 10.0.0.1).
    static constexpr IpGenAddr v4(U32 hostOrder) {
        IpGenAddr addr;
        addr.family_ = AddressFamily::ipv4;
        // One number instead of four bytes: readers of tables make addresses by the million.
        U64 const networkOrder = __builtin_bswap32(hostOrder);
        addr.bytes_ = std::bit_cast<std::array<U8, 16>>(std::array<U64, 2>{networkOrder, 0});
        return addr;
    }

    /// The IPv6 address of 16 octets in network order. An IPv4-mapped one stays an IPv6 address. So
    /// a route keeps the family that it came with.
    static constexpr IpGenAddr v6(std::array<U8, 16> const & octets) {
        IpGenAddr addr;
        addr.family_ = AddressFamily::ipv6;
        addr.bytes_ = octets;
        return addr;
    }

    /// The family; none for no address.
    constexpr AddressFamily af() const { return family_; }

    /// Numeric value of an IPv4 address; the first four octets as a number in any other family.
    U32 v4Value() const {
        U32 networkOrder = 0;
        std::memcpy(&networkOrder, bytes_.data(), sizeof networkOrder);
        return __builtin_bswap32(networkOrder);
    }

    /// The numeric value of octets 0 to 7 (`half` 0) or 8 to 15 (`half` 1). Two of them make an
    /// address, which is how comparisons and prefixes look at it.
    U64 halfValue(U32 half) const {
        // Copied, since the bytes are aligned to four only.
        U64 networkOrder = 0;
        std::memcpy(&networkOrder, bytes_.data() + 8 * half, sizeof networkOrder);
        return __builtin_bswap64(networkOrder);
    }

    /// The 16 octets in network order; an IPv4 address uses the first four. Valid as long as the
    /// address.
    U8 const * bytes() const { return bytes_.data(); }

    /// True for 0.0.0.0, for :: and for no address.
    bool isAddrZero() const { return (halfValue(0) | halfValue(1)) == 0; }

    /// Same family and same address. No address equals no address; an IPv4-mapped address does not
    /// equal its IPv4 address.
    bool operator==(IpGenAddr const & other) const {
        return family_ == other.family_ &&
               std::memcmp(bytes_.data(), other.bytes_.data(), bytes_.size()) == 0;
    }

    /// By family (none, IPv4, IPv6), then by numeric value. So a sorted table has one family behind
    /// the other.
    std::strong_ordering operator<=>(IpGenAddr const & other) const {
        if (family_ != other.family_) {
            return family_ <=> other.family_;
        }
        if (auto const order = halfValue(0) <=> other.halfValue(0); std::is_neq(order)) {
            return order;
        }
        return halfValue(1) <=> other.halfValue(1);
    }

    /// Hash of family and address; equal addresses have equal hashes for equal seeds.
    U32 hash(U32 seed) const;

    /// Dotted quad, RFC 5952 form (IPv4-mapped addresses end in a dotted quad), or "" for none.
    /// `parse` reads it back as the same address.
    String toString() const;

    /// Appends what `toString` returns; allocates only when `out` must grow. For writing many.
    void appendText(String & out) const;

    /// Reads an address: a strict dotted quad (no leading zeros), any RFC 4291 form, or the empty
    /// text for none. A zone, a length or blanks around it make it no address. Nothing where the
    /// text is none of these.
    static std::optional<IpGenAddr> parse(std::string_view text);

private:
    /// So that addresses lie in arrays without gaps and are read as whole words.
    alignas(4) std::array<U8, 16> bytes_{};
    /// Where the bytes are all zero it alone tells 0.0.0.0, :: and no address apart.
    AddressFamily family_ = AddressFamily::none;
};

/// Writes what `toString` returns.
std::ostream & operator<<(std::ostream & out, IpGenAddr const & addr);

template <>
struct std::hash<IpGenAddr> : HashOfValue<IpGenAddr> {};
