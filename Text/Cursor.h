#pragma once

#include "Text/Lexer.h"
#include "Text/Message.h"
#include "Text/Slips.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <span>

namespace Qcf::Text {

/// Thrown once an error has been told, to where reading can go on: the next statement, the next
/// entry of a list, the next declaration.
struct Recovery {};

/// What a token must not be deeper in.
inline constexpr U32 deepestNesting = 512;

/// Goes through one text token by token: what everything that reads policy text reads it with. One
/// token is looked at (`now`), the one behind it can be.
///
///     cursor.expect("{");
///     while (!cursor.accept("}")) {
///         readEntry(cursor);
///     }
///
/// Signs and words are asked for by their text; a quoted text is never a word. Comments are passed
/// over, the documentation before a token excepted. Whoever finds something wrong calls `fail`,
/// which tells it and throws Recovery. Used by one thread at a time.
class Cursor {
public:
    /// Reads text number `file`. Both must outlive it.
    Cursor(Sources const & sources, U32 file, Messages & messages);

    Token const & now() const { return now_; }
    /// The token behind it.
    Token const & ahead() const { return ahead_; }
    std::string_view text(Token const & token) const {
        return text_.substr(token.begin, token.end - token.begin);
    }
    std::string_view text() const { return text(now_); }
    bool atEnd() const { return now_.kind == TokenKind::end; }

    /// Whether the token is that sign or that bare word.
    bool is(std::string_view what) const { return isText(now_, what); }
    bool isAhead(std::string_view what) const { return isText(ahead_, what); }
    bool isWord() const { return now_.kind == TokenKind::word; }
    bool isString() const { return now_.kind == TokenKind::string; }

    /// Takes the token and goes on.
    Token take();
    /// Takes it if it is that sign or word; says whether it did.
    bool accept(std::string_view what);
    /// The same, and an error where it is something else. `where` ends the sentence: "wants '{'
    /// " + where + ", found ...".
    Token expect(std::string_view what, std::string_view where = {});

    /// How many braces were taken and not closed.
    U32 openBraces() const { return openBraces_; }

    Span spanOf(Token const & token) const { return {file_, token.begin, token.end}; }
    Span here() const { return spanOf(now_); }
    /// From the first byte of that token to the last one of what was taken last.
    Span since(Token const & first) const {
        return {file_, first.begin, std::max(lastEnd_, first.end)};
    }
    Span since(Span const & first) const {
        return {file_, first.begin, std::max(lastEnd_, first.end)};
    }

    /// The lines of `##` that stand directly before the token, joined by line ends; taken away.
    String takeDocumentation() { return std::move(documentation_); }

    /// The token as messages call it: `'med'`, `string "a"`, `end of the text`.
    String describe(Token const & token) const;
    String found() const { return describe(now_); }

    /// Once so many errors are told that nobody reads more, the text ends here.
    [[noreturn]] void fail(Span const & span, char const * code, String text,
                           String suggestion = {}, String note = {});
    [[noreturn]] void fail(Span const & span, Slip const & slip);
    /// At the token, "wants WANTED, found ...".
    [[noreturn]] void failWanted(String const & wanted);
    void warn(Span const & span, char const * code, String text, String suggestion = {});

    /// Passes over tokens up to one where reading can go on: past as many `}` as `{` on the way,
    /// to a `}` of those outside, a line that begins with one of `starts` on no deeper level, or
    /// the end.
    void skipTo(std::initializer_list<std::string_view> starts);

    /// How deep the reader is nested: counted as long as one of these lives. Too deep is an error
    /// that ends the reading of the text: whatever follows is within.
    class Level {
    public:
        explicit Level(Cursor & cursor) : cursor_(cursor) { cursor_.enterLevel(); }
        Level(Level const &) = delete;
        Level & operator=(Level const &) = delete;
        ~Level() { --cursor_.depth_; }

    private:
        Cursor & cursor_;
    };

    Messages & messages() { return messages_; }
    Sources const & sources() const { return sources_; }
    U32 file() const { return file_; }

private:
    bool isText(Token const & token, std::string_view what) const {
        return (token.kind == TokenKind::sign || token.kind == TokenKind::word) &&
               text(token) == what;
    }
    void enterLevel();
    void endText();
    Token read();
    void noteComment(Token const & comment);

    Sources const & sources_;
    U32 file_;
    std::string_view text_;
    Messages & messages_;
    Lexer lexer_;
    Token now_;
    Token ahead_;
    U32 lastEnd_ = 0;
    U32 depth_ = 0;
    U32 openBraces_ = 0;
    String documentation_;
    String documentationAhead_;
    bool ended_ = false;
};

/// The next thing, as a sentence wants it: nearest of `known` to `word` within edit distance 2,
/// after folding case, `-` and `_`; empty where none is that near.
String nearest(std::string_view word, std::span<std::string_view const> known);

} // namespace Qcf::Text
