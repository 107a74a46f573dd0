#include "Text/SourceText.h"

#include "Platform/Render/DocumentError.h"
#include "Platform/Render/Utf8.h"

#include <algorithm>

namespace Qcf::Text {

namespace {

/// The first byte that is NUL or begins no well-formed character; the size where there is none.
std::size_t firstUnfit(std::string_view text) {
    if (isUtf8(text)) {
        return std::min(text.find('\0'), text.size());
    }
    std::size_t at = 0;
    while (at < text.size() && text[at] != '\0') {
        std::size_t const length = utf8SequenceLength(text.substr(at));
        if (length == 0) {
            break;
        }
        at += length;
    }
    return at;
}

constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";

bool isFirstOfCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; }

/// Bytes between two counts of characters.
constexpr std::size_t stretch = 512;

} // namespace

// A byte order mark says nothing that is not so anyway.
SourceText::SourceText(String name, String text) : name_(std::move(name)), text_(std::move(text)) {
    if (text_.starts_with(byteOrderMark)) {
        text_.erase(0, byteOrderMark.size());
    }
    std::size_t const unfit = firstUnfit(text_);
    if (unfit != text_.size()) {
        bool const isNul = text_[unfit] == '\0';
        LinePlace const place = placeOf(static_cast<U32>(unfit));
        throw DocumentError(
            name_ + ':' + std::to_string(place.line) + ':' + std::to_string(place.column) +
            ": error: a policy text is UTF-8, found " + (isNul ? "NUL" : "a byte that is not"));
    }
}

void SourceText::findLines() const {
    lines_.push_back(0);
    for (std::size_t at = text_.find('\n'); at != String::npos; at = text_.find('\n', at + 1)) {
        lines_.push_back(static_cast<U32>(at + 1));
    }
    U32 characters = 0;
    for (std::size_t at = 0; at < text_.size(); ++at) {
        if (at % stretch == 0) {
            characters_.push_back(characters);
        }
        characters += isFirstOfCharacter(text_[at]) ? 1 : 0;
    }
    characters_.push_back(characters);
}

std::size_t SourceText::charactersBefore(std::size_t offset) const {
    std::size_t const counted = std::min(offset / stretch, characters_.size() - 1) * stretch;
    std::string_view const rest = text().substr(counted, offset - counted);
    auto const characters = std::ranges::count_if(rest, isFirstOfCharacter);
    return characters_[counted / stretch] + static_cast<std::size_t>(characters);
}

std::size_t SourceText::lineNumber(U32 offset) const {
    if (lines_.empty()) {
        findLines();
    }
    auto const after = std::upper_bound(lines_.begin(), lines_.end(), offset);
    return static_cast<std::size_t>(after - lines_.begin()) - 1;
}

LinePlace SourceText::placeOf(U32 offset) const {
    std::size_t const line = lineNumber(offset);
    std::size_t const characters = charactersBefore(offset) - charactersBefore(lines_[line]);
    return {static_cast<U32>(line + 1), static_cast<U32>(characters + 1)};
}

std::string_view SourceText::lineOf(U32 offset) const {
    std::size_t const line = lineNumber(offset);
    std::string_view const rest = text().substr(lines_[line]);
    std::string_view const whole = rest.substr(0, rest.find('\n'));
    return whole.ends_with('\r') ? whole.substr(0, whole.size() - 1) : whole;
}

String Sources::placeText(Span const & span) const {
    SourceText const & source = texts_[span.file];
    LinePlace const place = source.placeOf(span.begin);
    return source.name() + ':' + std::to_string(place.line) + ':' + std::to_string(place.column);
}

} // namespace Qcf::Text
