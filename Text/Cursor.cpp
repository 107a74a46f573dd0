#include "Text/Cursor.h"

#include "Platform/Render/NearestWord.h"
#include "Platform/Render/Utf8.h"

#include <algorithm>

namespace Qcf::Text {

Cursor::Cursor(Sources const & sources, U32 file, Messages & messages)
    : sources_(sources),
      file_(file),
      text_(sources[file].text()),
      messages_(messages),
      lexer_(text_) {
    now_ = read();
    documentation_ = std::move(documentationAhead_);
    documentationAhead_.clear();
    ahead_ = read();
}

// Documentation belongs to what follows it; that of the file, which an empty line follows, to
// nothing that is read here.
Token Cursor::read() {
    Token token = lexer_.next();
    U32 lastLine = 0;
    for (; token.kind == TokenKind::comment; token = lexer_.next()) {
        std::string_view const comment = text(token);
        if (comment.starts_with("##") && token.startsLine) {
            bool const follows =
                lastLine != 0 &&
                std::ranges::count(text_.substr(lastLine, token.begin - lastLine), '\n') == 1;
            if (!follows) {
                documentationAhead_.clear();
            }
            std::string_view line = comment.substr(2);
            line.remove_prefix(line.starts_with(' ') ? 1 : 0);
            documentationAhead_ += documentationAhead_.empty() ? "" : "\n";
            documentationAhead_ += line;
            lastLine = token.end;
        }
    }
    bool const isFar =
        lastLine != 0 &&
        std::ranges::count(text_.substr(lastLine, token.begin - lastLine), '\n') != 1;
    if (isFar) {
        documentationAhead_.clear();
    }
    return token;
}

Token Cursor::take() {
    Token const taken = now_;
    lastEnd_ = taken.end;
    openBraces_ += is("{") ? 1 : 0;
    openBraces_ -= is("}") && openBraces_ > 0 ? 1 : 0;
    now_ = ahead_;
    documentation_ = std::move(documentationAhead_);
    documentationAhead_.clear();
    if (!ended_) {
        ahead_ = read();
    }
    return taken;
}

bool Cursor::accept(std::string_view what) {
    if (!is(what)) {
        return false;
    }
    take();
    return true;
}

Token Cursor::expect(std::string_view what, std::string_view where) {
    if (!is(what)) {
        String wanted = "'" + String(what) + "'";
        failWanted(where.empty() ? wanted : wanted + ' ' + String(where));
    }
    return take();
}

String Cursor::describe(Token const & token) const {
    constexpr std::size_t longest = 60;
    String const shown = oneLine(text(token), longest);
    switch (token.kind) {
    case TokenKind::end:
        return "the end of the text";
    case TokenKind::string:
        return "the text " + quoted(oneLine(unquoted(text(token)), longest));
    case TokenKind::foreign:
        return shown.starts_with("\\\"") ? "a text without its closing quote" : "'" + shown + "'";
    default:
        return "'" + shown + "'";
    }
}

void Cursor::fail(Span const & span, char const * code, String text, String suggestion,
                  String note) {
    messages_.add(
        {span, Severity::error, code, std::move(text), std::move(suggestion), std::move(note)});
    if (messages_.isFull()) {
        endText();
    }
    throw Recovery{};
}

void Cursor::fail(Span const & span, Slip const & slip) {
    fail(span, slip.code, slip.text, slip.suggestion);
}

void Cursor::failWanted(String const & wanted) {
    fail(here(), "syntax", "wants " + wanted + ", found " + found());
}

void Cursor::warn(Span const & span, char const * code, String text, String suggestion) {
    messages_.add({span, Severity::warning, code, std::move(text), std::move(suggestion)});
}

// Nothing behind it can be told apart any more: the text ends here.
void Cursor::enterLevel() {
    ++depth_;
    if (depth_ > deepestNesting) {
        Span const span = here();
        endText();
        --depth_;
        fail(span, "nesting", "nested deeper than " + std::to_string(deepestNesting) + " levels");
    }
}

void Cursor::endText() {
    now_ = {TokenKind::end, true, true, now_.begin, now_.begin};
    ahead_ = now_;
    ended_ = true;
}

void Cursor::skipTo(std::initializer_list<std::string_view> starts) {
    U32 open = 0;
    while (!atEnd()) {
        if (is("}") && open == 0) {
            return;
        }
        bool const begins = open == 0 && now_.startsLine &&
                            std::ranges::any_of(starts, [&](auto each) { return is(each); });
        if (begins) {
            return;
        }
        open += is("{") ? 1 : 0;
        open -= is("}") ? 1 : 0;
        take();
    }
}

String nearest(std::string_view word, std::span<std::string_view const> known) {
    return nearestWord(word, known);
}

} // namespace Qcf::Text
