#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>

/// Length of the well-formed UTF-8 sequence at the start of `text` (1 to 4), 0 when there is none.
/// Surrogates, overlong forms and values over U+10FFFF are not well-formed.
std::size_t utf8SequenceLength(std::string_view text) noexcept;

/// Whether all of `text` is well-formed UTF-8.
bool isUtf8(std::string_view text) noexcept;

/// `text` with each byte that is not part of a well-formed sequence replaced by U+FFFD.
String replaceInvalidUtf8(std::string_view text);

/// `text` fit for one line of a message: quotes, backslashes and what acts on a terminal escaped
/// as JSON does, invalid bytes replaced, cut to about `most` bytes with `...` where it is longer.
String oneLine(std::string_view text, std::size_t most);

/// `text` fit for a terminal, which may come from anywhere: characters that could do more there
/// than stand in their line are escaped as JSON does, invalid bytes replaced. These are control
/// characters (U+0000..U+001F, U+007F..U+009F) and those that turn the direction of what follows
/// (U+202A..U+202E, U+2066..U+2069). All else, quotes and backslashes too, stays as it is.
String visibleText(std::string_view text);

/// The same of several lines: their ends and tabs stay.
String visibleLines(std::string_view text);
