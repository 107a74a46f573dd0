#pragma once

#include "Platform/Framework/Types.h"

#include <optional>
#include <span>
#include <string_view>

/// Pieces that the texts of routing values are made of. They know no locale, and a reader takes its
/// whole text or nothing.
namespace Routing::TextPieces {

/// Appends a number in decimal, without leading zeros. Allocates only when `out` must grow; the
/// others likewise.
void appendDecimal(String & out, U64 number);

/// Appends a number as lower-case hexadecimal of exactly `digits` digits (1 to 16). Leading zeros
/// fill up. What does not fit that many digits is cut off at the front.
void appendHex(String & out, U64 number, U32 digits);

/// Reads decimal digits alone (no sign, no blank) as a number of at most `max`. Leading zeros are
/// allowed; the empty text is no number.
std::optional<U64> parseDecimal(std::string_view text, U64 max);

/// Value of a hexadecimal digit of either case, or -1. For every `char`, whatever its sign.
constexpr int hexDigitValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

/// Appends octets as two lower-case hexadecimal digits each, joined by colons: "00:1c:73".
void appendOctets(String & out, std::span<U8 const> octets);

/// Reads exactly `octets.size()` octets of two hexadecimal digits joined by colons; on failure the
/// octets are left as they were. Digits may be of either case. Nothing but the octets may stand in
/// the text.
bool parseOctets(std::string_view text, std::span<U8> octets);

} // namespace Routing::TextPieces
