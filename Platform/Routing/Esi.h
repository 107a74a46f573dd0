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
class Esid {
public:
    using Octets = std::array<U8, 10>;

    constexpr Esid() = default;
    constexpr explicit Esid(Octets const & octets) : octets_(octets) {}

    /// The octets in network order; the first is the type.
    constexpr Octets const & octets() const { return octets_; }

    bool operator==(Esid const &) const = default;
    auto operator<=>(Esid const &) const = default;

    U32 hash(U32 seed) const;

    /// "00:11:22:33:44:55:66:77:88:99".
    String toString() const;

    /// Reads ten octets of two hexadecimal digits of either case, joined by colons.
    static std::optional<Esid> parse(std::string_view text);

private:
    Octets octets_{};
};

std::ostream & operator<<(std::ostream & out, Esid const & esid);

} // namespace Evpn

template <>
struct std::hash<Evpn::Esid> : HashOfValue<Evpn::Esid> {};
