#include "Text/Patterns.h"

#include "Platform/Routing/TextPieces.h"

#include <algorithm>
#include <limits>

/// A shape is told by making its pattern again: whatever the pieces of a pattern look like, the
/// short form is taken only where it gives that very pattern.
namespace Qcf::Text {

namespace {

using Routing::TextPieces::parseDecimal;

constexpr U32 max32 = std::numeric_limits<U32>::max();
constexpr std::string_view anyNumber = "[0-9]+";

/// Decimal digits without leading zeros, as this writes them.
std::optional<U32> parseNumber(std::string_view text, U32 most) {
    bool const isPlain = text.size() == 1 || !text.starts_with('0');
    auto const number = isPlain ? parseDecimal(text, most) : std::nullopt;
    return number ? std::optional(static_cast<U32>(*number)) : std::nullopt;
}

void appendClass(String & out, U64 low, U64 high) {
    out += low == high ? std::to_string(low)
                       : '[' + std::to_string(low) + '-' + std::to_string(high) + ']';
}

/// Alternatives of numbers of one length: blocks of numbers that agree but for their last digits,
/// each as large as fits.
void appendSameLength(String & out, U64 low, U64 high, U64 leadingUnit) {
    while (low <= high) {
        U64 unit = 1;
        U32 freeDigits = 0;
        while (unit < leadingUnit && low % (unit * 10) == 0 && low + unit * 10 - 1 <= high) {
            unit *= 10;
            ++freeDigits;
        }
        U64 const digit = low / unit % 10;
        U64 const more = std::min(9 - digit, (high - low + 1) / unit - 1);
        out += out.empty() ? "" : "|";
        out += unit < leadingUnit ? std::to_string(low / (unit * 10)) : "";
        appendClass(out, digit, digit + more);
        out += freeDigits > 0 ? "[0-9]" : "";
        out += freeDigits > 1 ? '{' + std::to_string(freeDigits) + '}' : "";
        low += (more + 1) * unit;
    }
}

String numberPattern(NumberRange const & range) {
    return range.isRange ? '(' + rangeAlternatives(range.low, range.high) + ')'
                         : std::to_string(range.low);
}

/// The smallest (or largest) number of an alternative as `rangeAlternatives` writes it; anything
/// for other texts.
std::optional<U32> boundOf(std::string_view alternative, bool largest) {
    String digits;
    for (std::size_t at = 0; at < alternative.size() && digits.size() <= 10;) {
        std::string_view const rest = alternative.substr(at);
        if (rest.size() >= 5 && rest[0] == '[' && rest[4] == ']') {
            digits += largest ? rest[3] : rest[1];
            at += 5;
        } else if (rest.size() >= 3 && rest[0] == '{' && rest[2] == '}' && !digits.empty()) {
            std::size_t const times = static_cast<std::size_t>(rest[1] - '0') % 10;
            digits.append(times == 0 ? 0 : times - 1, digits.back());
            at += 3;
        } else {
            digits += rest[0];
            ++at;
        }
    }
    return parseNumber(digits, max32);
}

/// A number, or the group of a range, as `numberPattern` writes it.
std::optional<NumberRange> numberOf(std::string_view pattern, U32 most) {
    if (!pattern.starts_with('(') || !pattern.ends_with(')')) {
        auto const number = parseNumber(pattern, most);
        return number ? std::optional(NumberRange{*number, *number, false}) : std::nullopt;
    }
    std::string_view const inner = pattern.substr(1, pattern.size() - 2);
    auto const low = boundOf(inner.substr(0, inner.find('|')), false);
    auto const high = boundOf(inner.substr(inner.rfind('|') + 1), true);
    if (!low || !high || *low > *high || *high > most) {
        return std::nullopt;
    }
    NumberRange const range{*low, *high, true};
    return numberPattern(range) == pattern ? std::optional(range) : std::nullopt;
}

/// The text up to the sign outside of parentheses, which is taken away with it.
std::string_view cutAt(std::string_view & text, char sign) {
    U32 open = 0;
    std::size_t at = 0;
    while (at < text.size() && (open != 0 || text[at] != sign)) {
        open += text[at] == '(' ? 1 : 0;
        open -= text[at] == ')' && open != 0 ? 1 : 0;
        ++at;
    }
    std::string_view const piece = text.substr(0, at);
    text.remove_prefix(std::min(at + 1, text.size()));
    return piece;
}

constexpr std::string_view templateBegin = "(^| )";
constexpr std::string_view templateEnd = "( |$)";

} // namespace

std::optional<NumberRange> parseNumberRange(std::string_view text, U32 most) {
    auto const dots = text.find("..");
    auto const low = parseDecimal(text.substr(0, dots), most);
    auto const high =
        dots == std::string_view::npos ? low : parseDecimal(text.substr(dots + 2), most);
    if (!low || !high || *low > *high) {
        return std::nullopt;
    }
    return NumberRange{static_cast<U32>(*low), static_cast<U32>(*high),
                       dots != std::string_view::npos};
}

String toText(NumberRange const & range) {
    String const low = std::to_string(range.low);
    return range.isRange ? low + ".." + std::to_string(range.high) : low;
}

String rangeAlternatives(U32 low, U32 high) {
    String alternatives;
    U64 least = 0;
    for (U64 leadingUnit = 1; least <= high; leadingUnit *= 10) {
        U64 const behind = leadingUnit * 10;
        U64 const from = std::max<U64>(low, least);
        U64 const to = std::min<U64>(high, behind - 1);
        if (from <= to) {
            appendSameLength(alternatives, from, to, leadingUnit);
        }
        least = behind;
    }
    return alternatives;
}

// Templates.

String templatePattern(std::span<TemplatePart const> parts) {
    String pattern(templateBegin);
    for (TemplatePart const & part : parts) {
        pattern += &part == parts.data() ? "" : ":";
        pattern += part ? numberPattern(*part) : String(anyNumber);
    }
    return pattern += templateEnd;
}

std::vector<TemplatePart> templateOf(std::string_view pattern, std::size_t partCount, U32 most) {
    bool const hasFrame = pattern.size() > templateBegin.size() + templateEnd.size() &&
                          pattern.starts_with(templateBegin) && pattern.ends_with(templateEnd);
    if (!hasFrame) {
        return {};
    }
    std::string_view rest = pattern.substr(
        templateBegin.size(), pattern.size() - templateBegin.size() - templateEnd.size());
    std::vector<TemplatePart> parts;
    bool isOneCommunity = true;
    while (!rest.empty() && parts.size() < partCount) {
        std::string_view const piece = cutAt(rest, ':');
        parts.push_back(piece == anyNumber ? std::nullopt : numberOf(piece, most));
        bool const isKnown = piece == anyNumber || parts.back();
        if (!isKnown) {
            return {};
        }
        isOneCommunity = isOneCommunity && parts.back() && !parts.back()->isRange;
    }
    bool const isTemplate =
        parts.size() == partCount && !isOneCommunity && templatePattern(parts) == pattern;
    return isTemplate ? parts : std::vector<TemplatePart>();
}

String toText(std::span<TemplatePart const> parts) {
    String text;
    for (TemplatePart const & part : parts) {
        text += &part == parts.data() ? "" : ":";
        text += part ? toText(*part) : "*";
    }
    return text;
}

// Entries about AS paths.

namespace {

struct PathFrame {
    std::string_view word;
    std::string_view begin;
    std::string_view end;
};
/// By PathForm; that of `only` has its numbers a second time.
constexpr PathFrame pathFrames[] = {
    {"contains", "_(", ")_"}, {"starts", "^(", ")_"}, {"ends", "_(", ")$"}, {"only", "^(", "))*$"}};

String alternativesOf(std::span<NumberRange const> numbers) {
    String alternatives;
    for (NumberRange const & number : numbers) {
        alternatives += alternatives.empty() ? "" : "|";
        alternatives += numberPattern(number);
    }
    return alternatives;
}

std::vector<NumberRange> numbersOf(std::string_view alternatives) {
    std::vector<NumberRange> numbers;
    while (!alternatives.empty()) {
        auto const number = numberOf(cutAt(alternatives, '|'), max32);
        if (!number) {
            return {};
        }
        numbers.push_back(*number);
    }
    return numbers;
}

} // namespace

std::optional<PathForm> pathFormOfWord(std::string_view word) {
    auto const * const frame = std::ranges::find(pathFrames, word, &PathFrame::word);
    return frame == std::end(pathFrames)
               ? std::nullopt
               : std::optional(static_cast<PathForm>(frame - std::begin(pathFrames)));
}

std::string_view pathFormWord(PathForm form) { return pathFrames[static_cast<U8>(form)].word; }

String pathPattern(PathEntry const & entry) {
    PathFrame const & frame = pathFrames[static_cast<U8>(entry.form)];
    String const numbers = alternativesOf(entry.numbers);
    String pattern = String(frame.begin) + numbers;
    if (entry.form == PathForm::only) {
        pattern += ")( (" + numbers;
    }
    return pattern += frame.end;
}

std::optional<PathEntry> pathEntryOf(std::string_view pattern) {
    for (PathFrame const & frame : pathFrames) {
        bool const fits = pattern.size() > frame.begin.size() + frame.end.size() &&
                          pattern.starts_with(frame.begin) && pattern.ends_with(frame.end);
        if (!fits) {
            continue;
        }
        std::string_view inner = pattern.substr(
            frame.begin.size(), pattern.size() - frame.begin.size() - frame.end.size());
        auto const form = static_cast<PathForm>(&frame - pathFrames);
        if (form == PathForm::only) {
            inner = cutAt(inner, ')');
        }
        PathEntry entry{form, numbersOf(inner)};
        if (!entry.numbers.empty() && pathPattern(entry) == pattern) {
            return entry;
        }
    }
    return std::nullopt;
}

String toText(PathEntry const & entry) {
    String text(pathFormWord(entry.form));
    for (NumberRange const & number : entry.numbers) {
        text += &number == entry.numbers.data() ? " { " : ", ";
        text += toText(number);
    }
    return text + " }";
}

} // namespace Qcf::Text
