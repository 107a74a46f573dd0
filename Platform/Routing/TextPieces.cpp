#include "Platform/Routing/TextPieces.h"

#include <array>
#include <charconv>

/// By the character conversions of the standard library, which know no locale and allocate nothing.
namespace Routing::TextPieces {

void appendDecimal(String & out, U64 number) {
    // As many as the largest U64 has.
    std::array<char, 20> digits;
    auto const written = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    out.append(digits.data(), written.ptr);
}

void appendHex(String & out, U64 number, U32 digits) {
    for (U32 left = digits; left > 0; --left) {
        out.push_back("0123456789abcdef"[(number >> (4 * (left - 1))) & 0xf]);
    }
}

std::optional<U64> parseDecimal(std::string_view text, U64 max) {
    U64 number = 0;
    auto const [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    // The empty text is an error of from_chars, and so is a sign before an unsigned number.
    if (error != std::errc() || stop != text.data() + text.size() || number > max) {
        return std::nullopt;
    }
    return number;
}

void appendOctets(String & out, std::span<U8 const> octets) {
    for (std::size_t i = 0; i < octets.size(); ++i) {
        if (i != 0) {
            out.push_back(':');
        }
        appendHex(out, octets[i], 2);
    }
}

bool parseOctets(std::string_view text, std::span<U8> octets) {
    if (octets.empty() || text.size() != 3 * octets.size() - 1) {
        return false;
    }
    // All of the text is looked at before the first octet is written: a failure leaves them alone.
    for (std::size_t i = 0; i < text.size(); ++i) {
        // Two digits, then a colon.
        bool const separatorPlace = i % 3 == 2;
        if (separatorPlace ? text[i] != ':' : hexDigitValue(text[i]) < 0) {
            return false;
        }
    }
    for (std::size_t i = 0; i < octets.size(); ++i) {
        octets[i] =
            static_cast<U8>(hexDigitValue(text[3 * i]) * 16 + hexDigitValue(text[3 * i + 1]));
    }
    return true;
}

} // namespace Routing::TextPieces
