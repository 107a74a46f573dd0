#include "Command/CheckReport.h"

#include "Platform/Render/RendererV2.h"
#include "Platform/Routing/TextPieces.h"

#include <algorithm>

/// What is found is kept apart from how it is told, since both forms want the same in different
/// orders and the exit code depends on all of it.
namespace {

using Verdict = CheckReport::Verdict;
using Severity = CheckReport::Severity;

char const * wordOf(Verdict verdict) {
    switch (verdict) {
    case Verdict::sane:
        return "sane";
    case Verdict::insane:
        return "insane";
    case Verdict::unread:
        return "not read";
    }
    return "";
}

// Programs read these words in lines of JSON: they stay as they are.
char const * wordOf(Severity severity) {
    switch (severity) {
    case Severity::note:
        return "note";
    case Severity::warning:
        return "warning";
    case Severity::error:
        return "error";
    }
    return "";
}

void member(RendererV2 & out, char const * key, String const & value) {
    out.key(key);
    out.value(value);
}
void member(RendererV2 & out, char const * key, U32 value) {
    out.key(key);
    out.value(U64{value});
}

} // namespace

void CheckReport::functionIs(String const & name, Verdict verdict, String const & reason) {
    functions_.push_back({name, verdict, reason});
}

/// "FILE:LINE:COLUMN"; nothing for other texts.
std::optional<CheckReport::Place> CheckReport::Place::lineOf(std::string_view text) {
    auto const column = text.rfind(':');
    auto const line = column == 0 || column == std::string_view::npos ? std::string_view::npos
                                                                      : text.rfind(':', column - 1);
    if (line == std::string_view::npos) {
        return std::nullopt;
    }
    using Routing::TextPieces::parseDecimal;
    auto const number = parseDecimal(text.substr(line + 1, column - line - 1), 0xFFFFFFFF);
    auto const at = parseDecimal(text.substr(column + 1), 0xFFFFFFFF);
    if (!number || !at || *number == 0) {
        return std::nullopt;
    }
    auto const begin = static_cast<U32>(*at);
    return Place{String(text.substr(0, line)), {}, static_cast<U32>(*number), begin, begin};
}

// A pointer begins with a slash, so that other colons in a file's name are no matter. A place
// without pointer is all file.
CheckReport::Place CheckReport::Place::of(String const & text) {
    if (auto const place = lineOf(text)) {
        return *place;
    }
    auto const colon = std::min(text.find(":/"), text.size());
    return {text.substr(0, colon), text.substr(std::min(colon + 1, text.size()))};
}

String CheckReport::Place::text() const {
    if (line != 0) {
        return file + ':' + std::to_string(line) + ':' + std::to_string(column);
    }
    return pointer.empty() ? file : file + ':' + pointer;
}

void CheckReport::findingIs(Severity severity, char const * kind, Place const & place,
                            String const & text, String const & suggestion, bool wasTold) {
    findings_.push_back({severity, kind, place, text, suggestion, wasTold});
}

// Severities rise in the order of their enumerators. A note stays below even the strict bound.
bool CheckReport::good(bool strict) const {
    Severity const most = strict ? Severity::note : Severity::warning;
    return std::ranges::all_of(functions_,
                               [](auto const & row) { return row.verdict == Verdict::sane; }) &&
           std::ranges::all_of(findings_, [&](auto const & row) { return row.severity <= most; });
}

// A function that could not be read has its reason on standard error, with the place; here stands
// that it was not.
String CheckReport::wrongOf(FunctionRow const & row) {
    if (row.verdict == Verdict::sane) {
        return "";
    }
    return row.reason.empty() ? String(wordOf(row.verdict)) : row.reason;
}

String CheckReport::lineOf(FindingRow const & row) {
    return row.place.text() + ": " + wordOf(row.severity) + ": " + row.text + '\n';
}

String CheckReport::text() const {
    String text;
    for (FunctionRow const & row : functions_) {
        text += row.name + ": " + wordOf(row.verdict);
        text += row.reason.empty() ? "\n" : ": " + row.reason + '\n';
    }
    for (FindingRow const & row : findings_) {
        if (!row.wasTold) {
            text += lineOf(row);
        }
    }
    return text;
}

String CheckReport::jsonLines() const {
    String text;
    for (FindingRow const & row : findings_) {
        if (row.severity == Severity::note) {
            continue;
        }
        // A renderer a line: each line is a document by itself.
        RendererV2 out(text);
        out.beginObject();
        member(out, "file", row.place.file);
        if (row.place.line != 0) {
            member(out, "line", row.place.line);
            member(out, "column", row.place.column);
            member(out, "endColumn", row.place.endColumn);
        } else {
            member(out, "pointer", row.place.pointer);
        }
        member(out, "severity", wordOf(row.severity));
        member(out, "code", row.kind);
        member(out, "message", row.text);
        out.key("suggestion");
        row.suggestion.empty() ? out.nullValue() : out.value(row.suggestion);
        out.endObject();
        out.endDocument();
    }
    for (FunctionRow const & row : functions_) {
        RendererV2 out(text);
        out.beginObject();
        member(out, "function", row.name);
        out.key("sane");
        out.value(row.verdict == Verdict::sane);
        String const wrong = wrongOf(row);
        out.key("message");
        wrong.empty() ? out.nullValue() : out.value(wrong);
        out.endObject();
        out.endDocument();
    }
    return text;
}

String CheckReport::notes() const {
    String text;
    for (FindingRow const & row : findings_) {
        if (row.severity == Severity::note && !row.wasTold) {
            text += lineOf(row);
        }
    }
    return text;
}
