#include "Platform/Render/Utf8.h"

#include <algorithm>
#include <cstring>

/// What is well-formed UTF-8 (RFC 3629), and what is made of text that is not. Document texts are
/// mostly ASCII, which is passed over by words.
namespace {

bool isContinuation(char c) noexcept { return (static_cast<U8>(c) & 0xc0U) == 0x80U; }

// The second byte tells overlong forms, surrogates and values over U+10FFFF apart.
bool secondFits(U8 first, U8 second) noexcept {
    switch (first) {
    case 0xe0:
        return second >= 0xa0;
    case 0xed:
        return second <= 0x9f;
    case 0xf0:
        return second >= 0x90;
    case 0xf4:
        return second <= 0x8f;
    default:
        return true;
    }
}

// Number of leading ASCII bytes, a word at a time.
std::size_t asciiPrefix(std::string_view text) noexcept {
    std::size_t at = 0;
    for (; at + 8 <= text.size(); at += 8) {
        U64 word = 0;
        std::memcpy(&word, text.data() + at, 8);
        // The highest bit of any of the eight bytes: something else than ASCII.
        if ((word & 0x8080808080808080U) != 0) {
            break;
        }
    }
    while (at < text.size() && static_cast<U8>(text[at]) < 0x80) {
        ++at;
    }
    return at;
}

// Length of the prefix of `text` that is well-formed.
std::size_t validPrefix(std::string_view text) noexcept {
    std::size_t at = 0;
    while (at < text.size()) {
        std::size_t const ascii = asciiPrefix(text.substr(at));
        at += ascii;
        if (at == text.size()) {
            break;
        }
        std::size_t const length = utf8SequenceLength(text.substr(at));
        if (length == 0) {
            break;
        }
        at += length;
    }
    return at;
}

constexpr char hexDigits[] = "0123456789abcdef";

/// The character that a well-formed sequence stands for.
U32 codePoint(std::string_view sequence) noexcept {
    auto const first = static_cast<U8>(sequence.front());
    // What the first byte has of it, by length.
    constexpr U8 masks[] = {0, 0x7f, 0x1f, 0x0f, 0x07};
    U32 point = first & U32{masks[std::min<std::size_t>(sequence.size(), 4)]};
    for (char const c : sequence.substr(1)) {
        point = point << 6 | (static_cast<U8>(c) & U32{0x3f});
    }
    return point;
}

// Control characters, and those that turn the direction of what follows.
bool actsOnTerminal(std::string_view sequence) noexcept {
    U32 const point = codePoint(sequence);
    bool const isControl = point < 0x20 || (point >= 0x7f && point <= 0x9f);
    return isControl || (point >= 0x202a && point <= 0x202e) ||
           (point >= 0x2066 && point <= 0x2069);
}

// As JSON has it.
void appendEscape(String & out, std::string_view sequence) {
    constexpr std::string_view named = "\nn\rr\tt";
    std::size_t const at = named.find(sequence.front());
    if (at != std::string_view::npos && at % 2 == 0) {
        out += {'\\', named[at + 1]};
        return;
    }
    U32 const point = codePoint(sequence);
    out += "\\u";
    for (U32 const shift : {12U, 8U, 4U, 0U}) {
        out += hexDigits[point >> shift & 15U];
    }
}

template <typename Stays>
String escaped(std::string_view text, Stays const & stays) {
    String out;
    out.reserve(text.size());
    while (!text.empty()) {
        std::size_t const length = utf8SequenceLength(text);
        std::string_view const sequence = text.substr(0, length == 0 ? 1 : length);
        if (length == 0) {
            out += "\xef\xbf\xbd";
        } else if (actsOnTerminal(sequence) && !stays(sequence.front())) {
            appendEscape(out, sequence);
        } else {
            out += sequence;
        }
        text.remove_prefix(sequence.size());
    }
    return out;
}

// As JSON escapes them.
void appendEscaped(String & out, std::string_view sequence) {
    if (sequence == "\"" || sequence == "\\") {
        out += '\\';
    } else if (actsOnTerminal(sequence)) {
        appendEscape(out, sequence);
        return;
    }
    out += sequence;
}

} // namespace

std::size_t utf8SequenceLength(std::string_view text) noexcept {
    if (text.empty()) {
        return 0;
    }
    auto const first = static_cast<U8>(text[0]);
    if (first < 0x80) {
        return 1;
    }
    std::size_t length = 0;
    // 0xc0 and 0xc1 would begin overlong forms only, what is above 0xf4 no character at all.
    if (first >= 0xc2 && first <= 0xdf) {
        length = 2;
    } else if (first >= 0xe0 && first <= 0xef) {
        length = 3;
    } else if (first >= 0xf0 && first <= 0xf4) {
        length = 4;
    }
    // A character that the text breaks off in is none.
    if (length == 0 || text.size() < length || !secondFits(first, static_cast<U8>(text[1]))) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(text[i])) {
            return 0;
        }
    }
    return length;
}

bool isUtf8(std::string_view text) noexcept { return validPrefix(text) == text.size(); }

String replaceInvalidUtf8(std::string_view text) {
    String out;
    out.reserve(text.size() + 8);
    while (!text.empty()) {
        std::size_t const valid = validPrefix(text);
        out += text.substr(0, valid);
        text.remove_prefix(valid);
        if (!text.empty()) {
            out += "\xef\xbf\xbd";
            // One byte at a time: what follows a broken byte may be a character again.
            text.remove_prefix(1);
        }
    }
    return out;
}

String oneLine(std::string_view text, std::size_t most) {
    String out;
    while (!text.empty()) {
        // Looked at before each character, so that none is cut in the middle.
        if (out.size() >= most) {
            out += "...";
            break;
        }
        std::size_t const length = utf8SequenceLength(text);
        if (length == 0) {
            out += "\xef\xbf\xbd";
        } else {
            appendEscaped(out, text.substr(0, length));
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return out;
}

String visibleText(std::string_view text) {
    return escaped(text, [](char) { return false; });
}

String visibleLines(std::string_view text) {
    return escaped(text, [](char c) { return c == '\n' || c == '\t'; });
}
