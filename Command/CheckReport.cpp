#include "Command/CheckReport.h"

#include "Platform/Render/RendererV2.h"

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

} // namespace

void CheckReport::functionIs(String const & name, Verdict verdict, String const & reason) {
    functions_.push_back({name, verdict, reason});
}

void CheckReport::findingIs(Severity severity, char const * kind, String const & place,
                            String const & text) {
    findings_.push_back({severity, kind, place, text});
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

String CheckReport::text() const {
    String text;
    for (FunctionRow const & row : functions_) {
        text += row.name + ": " + wordOf(row.verdict);
        text += row.reason.empty() ? "\n" : ": " + row.reason + '\n';
    }
    for (FindingRow const & row : findings_) {
        text += row.place + ": " + wordOf(row.severity) + ": " + row.text + '\n';
    }
    return text;
}

String CheckReport::jsonLines() const {
    String text;
    for (FindingRow const & row : findings_) {
        // A pointer begins with a slash, so that other colons in a file's name are no matter. A
        // place without pointer is all file.
        auto const colon = std::min(row.place.find(":/"), row.place.size());
        // A renderer a line: each line is a document by itself.
        RendererV2 out(text);
        out.beginObject();
        member(out, "file", row.place.substr(0, colon));
        member(out, "pointer", row.place.substr(std::min(colon + 1, row.place.size())));
        member(out, "severity", wordOf(row.severity));
        member(out, "code", row.kind);
        member(out, "message", row.text);
        out.endObject();
        out.endDocument();
    }
    for (FunctionRow const & row : functions_) {
        RendererV2 out(text);
        out.beginObject();
        member(out, "function", row.name);
        out.key("sane");
        out.value(row.verdict == Verdict::sane);
        member(out, "message", wrongOf(row));
        out.endObject();
        out.endDocument();
    }
    return text;
}
