#pragma once

#include "Platform/Framework/Types.h"

#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// Short forms of patterns that ask for numbers: templates of communities (`65000:900..999`) and
/// entries about AS paths (`contains { 64496..131071 }`). Each becomes one regular expression, and
/// is told from just that expression again.
namespace Qcf::Text {

/// Numbers from `low` to `high`. A single one written as such has `isRange` false.
struct NumberRange {
    U32 low = 0;
    U32 high = 0;
    bool isRange = false;
    bool operator==(NumberRange const &) const = default;
};

/// `5` or `5..9`; nothing where that is not what the text is, a number is above `most`, or the
/// range falls.
std::optional<NumberRange> parseNumberRange(std::string_view text, U32 most);
String toText(NumberRange const & range);

/// The decimal numbers of the range, without leading zeros, as alternatives of a regular
/// expression: 8..12 is `[8-9]|1[0-2]`. Exact and short: about 2 alternatives a digit.
String rangeAlternatives(U32 low, U32 high);

/// A part of a template: any number where there is no range.
using TemplatePart = std::optional<NumberRange>;

/// The pattern of a template, `(^| )65000:[0-9]+( |$)`.
String templatePattern(std::span<TemplatePart const> parts);
/// The parts of a pattern of that very shape, with numbers up to `most`; none for any other. One
/// that names a single community has none either: as a text it would be that community.
std::vector<TemplatePart> templateOf(std::string_view pattern, std::size_t partCount, U32 most);
/// `65000:900..999`.
String toText(std::span<TemplatePart const> parts);

/// How an entry asks an AS path for numbers.
enum class PathForm : U8 {
    contains, ///< `_(..)_`: one stands in it
    starts,   ///< `^(..)_`: it begins with one
    ends,     ///< `_(..)$`: it ends with one
    only,     ///< `^(..)( (..))*$`: it is a sequence of such numbers
};
struct PathEntry {
    PathForm form;
    std::vector<NumberRange> numbers; ///< at least one
};
std::optional<PathForm> pathFormOfWord(std::string_view word);
std::string_view pathFormWord(PathForm form);

/// The pattern, in which `_` has the meaning that patterns about AS paths give it.
String pathPattern(PathEntry const & entry);
/// The entry of a pattern of just that shape.
std::optional<PathEntry> pathEntryOf(std::string_view pattern);
/// `contains { 0, 64496..131071 }`.
String toText(PathEntry const & entry);

} // namespace Qcf::Text
