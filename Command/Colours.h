#pragma once

#include "Platform/Framework/Types.h"

#include <span>
#include <string_view>

/// Colours, for people alone: where the stream is a terminal that has them, and NO_COLOR is not
/// set. Pipes and files get plain text.

/// The colours that commands use, by what they say.
enum class Colour : U8 {
    good,   ///< passed, accepted
    bad,    ///< failed, an error
    notice, ///< a warning, what was not reached
    faint,  ///< what stands beside the matter
};

/// Whether the stream of that number (1 or 2) shows colours. Asked once a process.
bool showsColours(int stream);

/// The text in that colour, where colours are shown on the stream; else as it is.
String coloured(std::string_view text, Colour colour, int stream);

/// A word that is shown in a colour where `before` stands in front of it.
struct MarkedWord {
    std::string_view before;
    std::string_view word;
    Colour colour;
};

/// The text with the marked words in their colours, on the same condition: in each line the first
/// one that is there, in the order in which they are given.
String colouredWords(String text, std::span<MarkedWord const> words, int stream);

/// Messages with the words "error:" and "warning:" behind a place in their colours, on the same
/// condition.
String colouredMessages(String text, int stream);
