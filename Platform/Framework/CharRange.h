#pragma once

#include "Platform/Framework/Types.h"

#include <stdexcept>
#include <string_view>

/// A run of characters that somebody else owns: what remains to be read of a text. Parsers take it
/// by reference and move `begin` forward over what they consumed.
struct CharRange {
    char const * begin = nullptr;
    char const * end = nullptr;

    constexpr CharRange() = default;
    constexpr CharRange(char const * first, char const * last) : begin(first), end(last) {}
    constexpr CharRange(std::string_view text) // NOLINT(google-explicit-constructor)
        : begin(text.data()), end(text.data() + text.size()) {}

    constexpr bool empty() const { return begin == end; }
    constexpr std::size_t size() const { return static_cast<std::size_t>(end - begin); }
    constexpr std::string_view view() const { return {begin, size()}; }
};

/// A text that does not say what was expected of it. `what()` reads `wants WANTED, found FOUND`.
class ParseError : public std::runtime_error {
public:
    explicit ParseError(String const & message) : std::runtime_error(message) {}
    ParseError(std::string_view wanted, std::string_view found)
        : std::runtime_error(sentence(wanted, found)) {}

private:
    static String sentence(std::string_view wanted, std::string_view found) {
        String text = "wants ";
        text += wanted;
        text += ", found ";
        text += found;
        return text;
    }
};
