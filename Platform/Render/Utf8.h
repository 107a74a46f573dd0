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

/// `text` made fit for one line of a message: control characters, quotes and backslashes escaped as
/// JSON does, invalid bytes replaced, cut to about `most` bytes with `...` where it is longer.
String oneLine(std::string_view text, std::size_t most);
