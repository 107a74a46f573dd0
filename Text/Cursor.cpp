#include "Text/Cursor.h"

#include "Platform/Render/Utf8.h"

#include <algorithm>
#include <array>

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

namespace {

char folded(char c) {
    if (c == '_') {
        return '-';
    }
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr std::size_t longestName = 64;
constexpr U32 farthest = 2;

/// Edit distance, neighbours that changed places counting one; more than `farthest` is not told
/// apart.
U32 distance(std::string_view a, std::string_view b) {
    std::size_t const difference = a.size() > b.size() ? a.size() - b.size() : b.size() - a.size();
    if (difference > farthest || a.size() > longestName || b.size() > longestName) {
        return farthest + 1;
    }
    std::array<std::array<U32, longestName + 1>, 3> rows{};
    auto * before = rows.data();
    auto * last = &rows[1];
    auto * row = &rows[2];
    for (std::size_t j = 0; j <= b.size(); ++j) {
        (*last)[j] = static_cast<U32>(j);
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        (*row)[0] = static_cast<U32>(i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            U32 const change = folded(a[i - 1]) == folded(b[j - 1]) ? 0 : 1;
            (*row)[j] = std::min({(*last)[j - 1] + change, (*last)[j] + 1, (*row)[j - 1] + 1});
            bool const swapped = i > 1 && j > 1 && folded(a[i - 1]) == folded(b[j - 2]) &&
                                 folded(a[i - 2]) == folded(b[j - 1]);
            if (swapped) {
                (*row)[j] = std::min((*row)[j], (*before)[j - 2] + 1);
            }
        }
        std::swap(before, last);
        std::swap(last, row);
    }
    return (*last)[b.size()];
}

} // namespace

// A short name is near to everything: less than half of it may differ.
String nearest(std::string_view word, std::span<std::string_view const> known) {
    U32 best = std::min<U32>(farthest, static_cast<U32>(word.size() / 2)) + 1;
    std::string_view found;
    for (std::string_view const each : known) {
        U32 const far = distance(word, each);
        if (far < best) {
            best = far;
            found = each;
        }
    }
    return String(found);
}

} // namespace Qcf::Text
