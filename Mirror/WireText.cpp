#include "Mirror/WireText.h"

#include "Platform/Render/Utf8.h"

#include <bit>
#include <charconv>
#include <cmath>

/// A text that begins with the escape is always one in the escaped form: so a reader needs no mark
/// beside it, and what was written comes back byte for byte.
namespace Qcf::Mirror {

namespace {

constexpr char escape = '%';
constexpr std::string_view bitsPrefix = "0x";

void appendHex(String & text, U32 value, U32 digits) {
    while (digits-- > 0) {
        text += "0123456789abcdef"[(value >> (4 * digits)) & 15];
    }
}

/// All of the text as `digits` hexadecimal digits.
std::optional<U32> parseHex(std::string_view text, std::size_t digits) {
    U32 value = 0;
    char const * const end = text.data() + text.size();
    auto const read = std::from_chars(text.data(), end, value, 16);
    bool const whole = text.size() == digits && read.ec == std::errc() && read.ptr == end;
    return whole ? std::optional(value) : std::nullopt;
}

bool standsForItself(char c) { return c >= ' ' && c <= '~' && c != escape; }

} // namespace

bool isPlainText(std::string_view text) {
    return !text.starts_with(escape) && text.find('\0') == std::string_view::npos && isUtf8(text);
}

String wireText(std::string_view text) {
    if (isPlainText(text)) {
        return String(text);
    }
    String wire(1, escape);
    for (char const c : text) {
        if (standsForItself(c)) {
            wire += c;
        } else {
            wire += escape;
            appendHex(wire, static_cast<U8>(c), 2);
        }
    }
    return wire;
}

std::optional<String> parseWireText(std::string_view wire) {
    if (!wire.starts_with(escape)) {
        return String(wire);
    }
    String text;
    for (std::size_t at = 1; at < wire.size(); ++at) {
        if (wire[at] != escape) {
            text += wire[at];
            continue;
        }
        // An escape at the very end is short of digits, and refused.
        auto const byte = parseHex(wire.substr(at + 1, 2), 2);
        if (!byte) {
            return std::nullopt;
        }
        text += static_cast<char>(*byte);
        at += 2;
    }
    return text;
}

String wireBits(F32 value) {
    String wire(bitsPrefix);
    appendHex(wire, std::bit_cast<U32>(value), 8);
    return wire;
}

std::optional<F32> parseWireBits(std::string_view wire) {
    auto const bits =
        wire.starts_with(bitsPrefix) ? parseHex(wire.substr(bitsPrefix.size()), 8) : std::nullopt;
    // A finite number has one form only, which is JSON's.
    if (!bits || std::isfinite(std::bit_cast<F32>(*bits))) {
        return std::nullopt;
    }
    return std::bit_cast<F32>(*bits);
}

} // namespace Qcf::Mirror
