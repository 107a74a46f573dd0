#pragma once

#include "Platform/Framework/Hash.h"
#include "Platform/Framework/Types.h"

#include <array>
#include <compare>
#include <iosfwd>
#include <optional>
#include <string_view>

namespace Evpn {

/// An Ethernet segment identifier (RFC 7432): a plain value of ten octets, all zero by default.
/// A route without a segment has no `Esid` at all, which is not the same as the all-zero one.
///
///     auto const segment = Evpn::Esid::parse("00:11:22:33:44:55:66:77:88:99");
///
/// Compared, hashed and copied by value on any thread.
class Esid {
public:
    /// In network order.
    using Octets = std::array<U8, 10>;

    /// The all-zero one.
    constexpr Esid() = default;
    /// The identifier of those octets, whatever they are.
    constexpr explicit Esid(Octets const & octets) : octets_(octets) {}

    /// The octets in network order; the first is the type.
    constexpr Octets const & octets() const { return octets_; }

    /// Octet by octet, the first one first.
    bool operator==(Esid const &) const = default;
    auto operator<=>(Esid const &) const = default;

    /// Equal identifiers have equal hashes for equal seeds.
    U32 hash(U32 seed) const;

    /// "00:11:22:33:44:55:66:77:88:99". `parse` reads it back as the same identifier.
    String toString() const;

    /// Reads ten octets of two hexadecimal digits of either case, joined by colons. Nothing for any
    /// other text.
    static std::optional<Esid> parse(std::string_view text);

private:
    /// In network order.
    Octets octets_{};
};

/// Writes what `toString` returns.
std::ostream & operator<<(std::ostream & out, Esid const & esid);

} // namespace Evpn

template <>
struct std::hash<Evpn::Esid> : HashOfValue<Evpn::Esid> {};
