#pragma once

#include "Platform/Framework/Hash.h"
#include "Platform/Framework/Types.h"

#include <array>
#include <compare>
#include <iosfwd>
#include <optional>
#include <string_view>

/// A MAC address: a plain value of six octets, all zero by default.
class EthAddr {
public:
    using Octets = std::array<U8, 6>;

    constexpr EthAddr() = default;
    constexpr explicit EthAddr(Octets const & octets) : octets_(octets) {}

    /// The octets in the order in which they are sent.
    constexpr Octets const & octets() const { return octets_; }

    bool operator==(EthAddr const &) const = default;
    auto operator<=>(EthAddr const &) const = default;

    U32 hash(U32 seed) const;

    /// "00:1c:73:00:00:01".
    String toString() const;

    /// Reads six octets of two hexadecimal digits of either case, joined by colons.
    static std::optional<EthAddr> parse(std::string_view text);

private:
    Octets octets_{};
};

std::ostream & operator<<(std::ostream & out, EthAddr const & addr);

template <>
struct std::hash<EthAddr> : HashOfValue<EthAddr> {};
