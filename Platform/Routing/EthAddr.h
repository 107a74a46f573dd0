#pragma once

#include "Platform/Framework/Hash.h"
#include "Platform/Framework/Types.h"

#include <array>
#include <compare>
#include <iosfwd>
#include <optional>
#include <string_view>

/// A MAC address: a plain value of six octets, all zero by default.
///
///     std::optional<EthAddr> const address = EthAddr::parse("00:1c:73:00:00:01");
///
/// Compared, hashed and copied by value on any thread.
class EthAddr {
public:
    /// In network order.
    using Octets = std::array<U8, 6>;

    /// The all-zero one, which no interface has.
    constexpr EthAddr() = default;
    /// The address of those octets, whatever they are.
    constexpr explicit EthAddr(Octets const & octets) : octets_(octets) {}

    /// The octets in the order in which they are sent.
    constexpr Octets const & octets() const { return octets_; }

    /// Octet by octet, the first one first.
    bool operator==(EthAddr const &) const = default;
    auto operator<=>(EthAddr const &) const = default;

    /// Equal addresses have equal hashes for equal seeds.
    U32 hash(U32 seed) const;

    /// "00:1c:73:00:00:01". `parse` reads it back as the same address.
    String toString() const;

    /// Reads six octets of two hexadecimal digits of either case, joined by colons. Nothing for any
    /// other text.
    static std::optional<EthAddr> parse(std::string_view text);

private:
    /// In the order in which they are sent.
    Octets octets_{};
};

/// Writes what `toString` returns.
std::ostream & operator<<(std::ostream & out, EthAddr const & addr);

template <>
struct std::hash<EthAddr> : HashOfValue<EthAddr> {};
