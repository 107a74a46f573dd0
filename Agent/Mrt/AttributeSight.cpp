#include "Agent/Mrt/AttributeSight.h"

#include "Agent/Mrt/MrtFormat.h"

#include <array>

/// Every entry of a table is looked at twice, once before its record is handed out and once when it
/// is decoded. The first look decides little, and here it costs little: a row of a table for each
/// attribute instead of its decoder.
namespace Qcf::Agent {

namespace {

/// The lengths that an attribute surely may have: those that give `wanted` under `mask`.
struct LengthRule {
    U32 mask = 0;
    U32 wanted = 0;
};

constexpr LengthRule exactly(U32 length) { return {.mask = 0xffff, .wanted = length}; }
/// Whole elements of so many bytes, a power of two.
constexpr LengthRule elementsOf(U32 size) { return {.mask = size - 1, .wanted = 0}; }
/// Never surely: left to the decoder.
constexpr LengthRule unsure{.mask = 0, .wanted = 1};

// Codes without a row may have any length: nobody reads them, or nothing in them is damage.
constexpr auto lengthRules = [] {
    std::array<LengthRule, 256> rules{};
    rules[Mrt::origin] = exactly(1);
    rules[Mrt::nextHop] = exactly(4);
    rules[Mrt::med] = exactly(4);
    rules[Mrt::localPref] = exactly(4);
    rules[Mrt::communities] = elementsOf(4);
    rules[Mrt::mpUnreach] = unsure;
    rules[Mrt::extCommunities] = elementsOf(8);
    rules[Mrt::as4Path] = unsure;
    rules[Mrt::aigp] = unsure;
    rules[Mrt::largeCommunities] = unsure;
    return rules;
}();

bool isPathWhole(U8 const * at, U8 const * end) {
    while (at != end) {
        if (end - at < 2 || at[0] < 1 || at[0] > 4) { // AS_SET to AS_CONFED_SET
            return false;
        }
        std::ptrdiff_t const size = 2 + 4 * std::ptrdiff_t{at[1]};
        if (end - at < size) {
            return false;
        }
        at += size;
    }
    return true;
}

/// The reduced form alone, with an IPv6 next hop.
bool isReachWhole(U8 const * at, U8 const * end) {
    return at != end && (*at == 16 || *at == 32) && end - at > *at;
}

/// What the length does not say.
bool isValueWhole(U8 code, U8 const * at, U8 const * end) {
    switch (code) {
    case Mrt::origin:
        return *at <= 2;
    case Mrt::asPath:
        return isPathWhole(at, end);
    case Mrt::mpReach:
        return isReachWhole(at, end);
    default:
        return true;
    }
}

} // namespace

bool areWholeAtSight(std::span<U8 const> attributes) {
    U8 const * at = attributes.data();
    U8 const * const end = at + attributes.size();
    while (at != end) {
        // A head of four bytes is read only where they are there; the shortest attribute has one
        // byte less and no value, which few entries end with.
        if (end - at < 4) {
            return false;
        }
        bool const isLong = (at[0] & Mrt::extendedLength) != 0;
        U8 const code = at[1];
        U32 const length = isLong ? U32{loadU16(at + 2)} : U32{at[2]};
        at += isLong ? 4 : 3;
        LengthRule const rule = lengthRules[code];
        if (end - at < std::ptrdiff_t{length} || (length & rule.mask) != rule.wanted ||
            !isValueWhole(code, at, at + length)) {
            return false;
        }
        at += length;
    }
    return true;
}

} // namespace Qcf::Agent
