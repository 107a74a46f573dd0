#pragma once

#include "Platform/Framework/Types.h"

#include <bit>
#include <functional>
#include <string_view>

/// Incremental 32-bit hash over values of stated width.
///
///     Hash h(seed);
///     h.hashMix(typeCode);     // U64
///     h.hashMix(child.hash(0)) // U32
///     return h.result();
///
/// The same sequence of values, widths and seed gives the same result in every process on every
/// machine of the same build; values of different width never stand for each other. It is meant for
/// tables and for telling trees apart, not against adversaries.
class Hash {
public:
    /// Another seed makes another function.
    explicit constexpr Hash(U32 seed) noexcept : state_(seed + 0x9e3779b97f4a7c15U) {}

    /// Integers count with their width: the same number of another type is another value.
    constexpr void hashMix(bool v) noexcept { mix(v ? 1 : 0, 1); }
    constexpr void hashMix(U8 v) noexcept { mix(v, 1); }
    constexpr void hashMix(U16 v) noexcept { mix(v, 2); }
    constexpr void hashMix(U32 v) noexcept { mix(v, 4); }
    constexpr void hashMix(U64 v) noexcept { mix(v, 8); }
    /// Floats count by their bits: 0.0 and -0.0 differ, a NaN equals itself.
    constexpr void hashMix(F32 v) noexcept { mix(std::bit_cast<U32>(v), 4); }
    constexpr void hashMix(F64 v) noexcept { mix(std::bit_cast<U64>(v), 8); }
    /// Length first (8 bytes), then the bytes.
    void hashMix(std::string_view v) noexcept;
    /// The same for a text that is owned.
    void hashMix(String const & v) noexcept { hashMix(std::string_view(v)); }
    /// Anything else would be converted silently, a literal to bool for one. Callers name the width
    /// by a cast.
    template <class T>
    void hashMix(T) = delete;

    /// The identity of an object, 8 bytes. It differs from run to run: never to be stored.
    void hashMixIdentity(void const * object) noexcept {
        mix(static_cast<U64>(std::bit_cast<std::uintptr_t>(object)), 8);
    }
    /// Bytes without their length. For whoever mixes in the length itself, or has a fixed one.
    void hashMixBytes(void const * data, std::size_t size) noexcept;

    /// The hash of what was mixed in so far; more may follow.
    constexpr U32 result() const noexcept {
        // Mixed once more, since the last value has not reached all bits of the state.
        U64 h = state_;
        h ^= h >> 31;
        h *= 0xd6e8feb86659fd93U;
        h ^= h >> 32;
        h *= 0xa0761d6478bd642fU;
        return static_cast<U32>(h >> 32);
    }

private:
    // One multiplication on the value, one on the state: a single bit reaches the upper half of the
    // state at once and, through the rotation, the lower half with the next value.
    constexpr void mix(U64 value, U64 width) noexcept {
        U64 const v = (value + width) * 0xe7037ed1a0b428dbU;
        state_ = (state_ ^ v ^ (v >> 32)) * 0x8ebc6af09c88c6e3U;
        state_ = std::rotl(state_, 29) + width;
    }

    /// Twice as wide as the result, so that few values lose nothing on the way.
    U64 state_;
};

/// `std::hash` of a value type by its `hash(seed)`, for keys of maps:
///
///     template <>
///     struct std::hash<EthAddr> : HashOfValue<EthAddr> {};
/// The seed is 0: maps need no secret.
template <typename Value>
struct HashOfValue {
    /// Only the lower 32 bits are used.
    std::size_t operator()(Value const & value) const noexcept { return value.hash(0); }
};
