#include "Text/Lexer.h"

#include "Platform/Render/Utf8.h"

#include <algorithm>

/// Literals of routing are words here: what begins like one goes on over colons, dots and slashes
/// as long as something of the kind follows, so that `10.0.0.0/8`, `2001:db8::/32`, `rt:65000:1`
/// and `no-export` are one token each, and `24..32` and `lhs: 5` are three.
namespace Qcf::Text {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool isWordCharacter(char c) { return isLetter(c) || isDigit(c); }

/// What a backslash in a string stands before when it is no backslash itself. The line's end is
/// there so that any name can be written; everybody else's strings end in their line.
bool isEscaped(char c) { return c == '\\' || c == '"' || c == '\n'; }

/// Longer ones first: a sign is the longest that fits.
constexpr std::string_view signs[] = {"...", "..", "+=", "-=", "*=", "<=", ">=", "??",
                                      "{",   "}",  "(",  ")",  "[",  "]",  ",",  ";",
                                      "=",   "<",  ">",  "@",  ":",  "*"};
/// Signs of other languages, kept whole for the message about them.
constexpr std::string_view foreignSigns[] = {"==", "!=", "&&", "||", "//", "/*",
                                             ":=", "=~", "=>", "->", "<>", "++"};

template <std::size_t count>
std::size_t lengthOfSign(std::string_view const (&known)[count], std::string_view rest) {
    auto const sign =
        std::ranges::find_if(known, [&](std::string_view each) { return rest.starts_with(each); });
    return sign == std::end(known) ? 0 : sign->size();
}

} // namespace

Token Lexer::next() {
    skipGap();
    Token token;
    token.startsLine = lineStart_;
    token.afterGap = gap_;
    token.begin = static_cast<U32>(at_);
    token.kind = scan();
    token.end = static_cast<U32>(at_);
    // A comment counts as a gap, and what follows it in its line cannot be.
    gap_ = token.kind == TokenKind::comment;
    lineStart_ = lineStart_ && gap_;
    return token;
}

void Lexer::skipGap() {
    for (; at_ < text_.size(); ++at_) {
        char const c = text_[at_];
        // A carriage return alone ends a line, too, lest a comment take all of a text.
        if (c == '\n' || c == '\r') {
            lineStart_ = true;
        } else if (c != ' ' && c != '\t') {
            return;
        }
        gap_ = true;
    }
}

TokenKind Lexer::scan() {
    if (at_ == text_.size()) {
        return TokenKind::end;
    }
    char const c = text_[at_];
    if (c == '#') {
        at_ = std::min(text_.find_first_of("\r\n", at_), text_.size());
        return TokenKind::comment;
    }
    if (c == '"') {
        return scanString();
    }
    if (startsWord()) {
        scanWord();
        return TokenKind::word;
    }
    return scanSign();
}

// An address may begin with colons, a number with its sign, a template with a star.
bool Lexer::startsWord() const {
    char const c = text_[at_];
    char const after = at(at_ + 1);
    return isWordCharacter(c) || (c == '-' && isDigit(after)) || (c == ':' && after == ':') ||
           (c == '*' && after == ':');
}

void Lexer::scanWord() {
    std::size_t const begin = at_++;
    while (at_ < text_.size() && continuesWord(begin)) {
        ++at_;
    }
}

// A link bandwidth ends in one.
bool Lexer::startsNumber(std::size_t begin) const {
    return isDigit(at(begin)) || at(begin) == '-' || text_.substr(begin).starts_with("lbw:");
}

bool Lexer::continuesWord(std::size_t begin) const {
    char const c = text_[at_];
    char const before = text_[at_ - 1];
    char const after = at(at_ + 1);
    switch (c) {
    case '.':
        return isWordCharacter(after) && isWordCharacter(before);
    case ':':
        // The second of two ends an address where nothing follows, or is all of it.
        return isWordCharacter(after) || after == ':' || after == '*' || before == ':';
    case '/':
        return isDigit(after);
    case '-':
        return isWordCharacter(after) && isWordCharacter(before);
    case '+':
        // Of an exponent, and nothing that a name could end in.
        return (before == 'e' || before == 'E') && isDigit(after) && startsNumber(begin);
    case '*':
        return before == ':';
    default:
        return isWordCharacter(c);
    }
}

TokenKind Lexer::scanString() {
    for (++at_; at_ < text_.size() && text_[at_] != '\n'; ++at_) {
        if (text_[at_] == '"') {
            ++at_;
            return TokenKind::string;
        }
        at_ += text_[at_] == '\\' && isEscaped(at(at_ + 1)) ? 1 : 0;
    }
    return TokenKind::foreign;
}

TokenKind Lexer::scanSign() {
    std::string_view const rest = text_.substr(at_);
    std::size_t const foreign = lengthOfSign(foreignSigns, rest);
    std::size_t const sign = foreign != 0 ? 0 : lengthOfSign(signs, rest);
    at_ += std::max({foreign, sign, sign + foreign == 0 ? utf8SequenceLength(rest) : 0});
    return sign != 0 ? TokenKind::sign : TokenKind::foreign;
}

String unquoted(std::string_view token) {
    String text;
    for (std::size_t at = 1; at + 1 < token.size(); ++at) {
        bool const escapes = token[at] == '\\' && at + 2 < token.size() && isEscaped(token[at + 1]);
        at += escapes ? 1 : 0;
        text += token[at];
    }
    return text;
}

// A backslash is doubled only where it would be taken for an escape: patterns stay readable.
String quoted(std::string_view text) {
    String token = "\"";
    for (std::size_t at = 0; at < text.size(); ++at) {
        char const c = text[at];
        char const after = at + 1 < text.size() ? text[at + 1] : '"';
        if (c == '"' || c == '\n' || (c == '\\' && isEscaped(after))) {
            token += '\\';
        }
        token += c;
    }
    return token + '"';
}

} // namespace Qcf::Text
