#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>

namespace Qcf::Text {

/// What a piece of policy text is. What it means is for who reads it: a word may be a name, a
/// keyword or a literal.
enum class TokenKind : U8 {
    word,    ///< `local_preference`, `65000:1:2`, `10.0.0.0/8`, `-5`, `permit`, `65000:*`
    string,  ///< with its quotes
    sign,    ///< `{`, `..`, `+=`
    comment, ///< from `#` to before the line's end
    foreign, ///< what the language does not have: `==`, `&&`, a string without end
    end,     ///< of the text; empty
};

/// A piece of a text, by bytes.
struct Token {
    TokenKind kind = TokenKind::end;
    bool startsLine = false; ///< nothing but blanks and comments stand before it in its line
    bool afterGap = false;   ///< a blank, a line's end or a comment stands directly before it
    U32 begin = 0;
    U32 end = 0;

    bool operator==(Token const &) const = default;
};

/// Cuts policy text into tokens, one by one and without a memory of its own. The text must be
/// well-formed UTF-8 and outlive it.
///
///     Lexer lexer(source.text());
///     for (Token token = lexer.next(); token.kind != TokenKind::end; token = lexer.next()) ...
///
/// Never fails: what is no token of the language is a foreign one. Takes time linear in the text.
/// A copy goes on from where its original stands, which is how one looks ahead.
class Lexer {
public:
    explicit Lexer(std::string_view text) : text_(text) {}

    /// The next token, comments too; at the end the end, again and again.
    Token next();

private:
    char at(std::size_t offset) const { return offset < text_.size() ? text_[offset] : '\0'; }
    void skipGap();
    TokenKind scan();
    void scanWord();
    TokenKind scanString();
    TokenKind scanSign();
    bool startsWord() const;
    bool startsNumber(std::size_t begin) const;
    /// Whether the word that began at `begin` goes on with the byte at `at_`.
    bool continuesWord(std::size_t begin) const;

    std::string_view text_;
    std::size_t at_ = 0;
    bool lineStart_ = true;
    bool gap_ = true;
};

/// The content of a string token, without quotes and escapes: `\\` and `\"` stand for `\` and `"`,
/// a backslash at a line's end for that line's end, any other backslash for itself.
String unquoted(std::string_view token);
/// A text as a string token that reads back as it.
String quoted(std::string_view text);

} // namespace Qcf::Text
