#pragma once

#include "Platform/Framework/Types.h"

#include <span>
#include <string_view>

/// The nearest of the known words to one that is none of them: within edit distance 2, neighbours
/// that changed places counting one, less than half of it, after folding case, `-` and `_`. The
/// first of several; empty where none is that near. Words over 64 bytes are near to nothing.
String nearestWord(std::string_view word, std::span<std::string_view const> known);

/// The end of a message about such a word: `; did you mean "WORD"?`, or empty.
String didYouMean(std::string_view word, std::span<std::string_view const> known);
