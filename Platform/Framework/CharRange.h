#pragma once

#include "Platform/Framework/Types.h"

#include <stdexcept>
#include <string_view>

/// A run of characters that somebody else owns: what remains to be read of a text. Parsers take it
/// by reference and move `begin` forward over what they consumed.
///
///     CharRange rest("10 20");
///     U64 const first = readNumber(rest); // `rest` is now " 20"
///
/// It must not outlive the text. Two words, to be handed over by value where nothing is consumed.
struct CharRange {
    /// The next character, and where the text ends; null for no text at all.
    char const * begin = nullptr;
    char const * end = nullptr;

    /// An empty run.
    constexpr CharRange() = default;
    constexpr CharRange(char const * first, char const * last) : begin(first), end(last) {}
    /// All of a text. Not explicit, so that parsers can be given texts as they are.
    constexpr CharRange(std::string_view text) // NOLINT(google-explicit-constructor)
        : begin(text.data()), end(text.data() + text.size()) {}

    /// Whether everything was consumed.
    constexpr bool empty() const { return begin == end; }
    /// Characters that were not consumed. In bytes.
    constexpr std::size_t size() const { return static_cast<std::size_t>(end - begin); }
    /// What remains, as a view of the same characters.
    constexpr std::string_view view() const { return {begin, size()}; }
};

/// A text that does not say what was expected of it. `what()` reads `wants WANTED, found FOUND`,
/// and whoever knows where the text came from puts that place before it.
class ParseError : public std::runtime_error {
public:
    /// A message of another shape.
    explicit ParseError(String const & message) : std::runtime_error(message) {}
    /// Both as they are to be read: "prefix length", "33".
    ParseError(std::string_view wanted, std::string_view found)
        : std::runtime_error(sentence(wanted, found)) {}

private:
    /// "wants WANTED, found FOUND".
    static String sentence(std::string_view wanted, std::string_view found) {
        String text = "wants ";
        text += wanted;
        text += ", found ";
        text += found;
        return text;
    }
};
