#include "Text/Message.h"

#include "Platform/Render/Utf8.h"

#include <algorithm>
#include <ostream>

namespace Qcf::Text {

namespace {

/// As much of a line as is shown; a text may be one line of a megabyte.
constexpr std::size_t widestLine = 200;

/// What stands before the caret: tabs stay, so that the caret stands below its character whatever
/// their width is.
String caretLine(std::string_view line, U32 column) {
    String caret;
    U32 at = 1;
    for (char const c : line) {
        if ((static_cast<unsigned char>(c) & 0xC0U) == 0x80) {
            continue;
        }
        if (at++ == column) {
            break;
        }
        caret += c == '\t' ? '\t' : ' ';
    }
    return caret + '^';
}

/// As it is told: one line, whatever names it has in it, and not without end.
String shown(std::string_view text) {
    constexpr std::size_t longest = 600;
    String shown(text.substr(0, longest));
    // A character is not cut.
    while (text.size() > longest && !shown.empty() &&
           (static_cast<unsigned char>(text[shown.size()]) & 0xC0U) == 0x80) {
        shown.pop_back();
    }
    std::ranges::replace_if(
        shown, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }, ' ');
    return text.size() > longest ? shown + "..." : shown;
}

} // namespace

char const * toString(Severity severity) {
    return severity == Severity::error ? "error" : "warning";
}

void Messages::add(Message message) {
    bool const isError = message.severity == Severity::error;
    if (isError && isFull()) {
        return;
    }
    errors_ += isError ? 1 : 0;
    message.text = shown(message.text);
    message.suggestion = shown(message.suggestion);
    message.note = shown(message.note);
    messages_.push_back(std::move(message));
}

void Messages::sort() {
    std::ranges::stable_sort(messages_, [](Message const & a, Message const & b) {
        return a.span.file == b.span.file ? a.span.begin < b.span.begin : a.span.file < b.span.file;
    });
}

String lineOf(Message const & message, Sources const & sources) {
    String line =
        sources.placeText(message.span) + ": " + toString(message.severity) + ": " + message.text;
    if (!message.suggestion.empty()) {
        line += "; did you mean '" + message.suggestion + "'?";
    }
    return line;
}

void Messages::print(Sources const & sources, std::ostream & out) const {
    for (Message const & message : messages_) {
        SourceText const & source = sources[message.span.file];
        std::string_view const line = source.lineOf(message.span.begin);
        U32 const column = source.placeOf(message.span.begin).column;
        out << lineOf(message, sources) << '\n';
        if (line.size() <= widestLine) {
            String visible(line);
            std::ranges::replace_if(
                visible, [](char c) { return c == '\x1b' || c == '\x7f' || c == '\b'; }, '?');
            out << "    " << visible << "\n    " << caretLine(line, column) << '\n';
        }
        if (!message.note.empty()) {
            out << "    " << message.note << '\n';
        }
    }
    if (isFull()) {
        out << "what else is wrong is not told: these are " << mostErrors << " errors\n";
    }
}

} // namespace Qcf::Text
