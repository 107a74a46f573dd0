#include "Command/CheckReport.h"

#include "Platform/Render/RendererV2.h"

#include <algorithm>

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

bool CheckReport::good(bool strict) const {
    Severity const most = strict ? Severity::note : Severity::warning;
    return std::ranges::all_of(functions_,
                               [](auto const & row) { return row.verdict == Verdict::sane; }) &&
           std::ranges::all_of(findings_, [&](auto const & row) { return row.severity <= most; });
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

String CheckReport::json() const {
    String text;
    RendererV2 out(text, RendererV2::Style::pretty);
    out.beginObject();
    out.key("functions");
    out.beginArray();
    for (FunctionRow const & row : functions_) {
        out.beginObject();
        member(out, "function", row.name);
        member(out, "verdict", wordOf(row.verdict));
        if (!row.reason.empty()) {
            member(out, "reason", row.reason);
        }
        out.endObject();
    }
    out.endArray();
    out.key("findings");
    out.beginArray();
    for (FindingRow const & row : findings_) {
        out.beginObject();
        member(out, "severity", wordOf(row.severity));
        member(out, "kind", row.kind);
        member(out, "place", row.place);
        member(out, "text", row.text);
        out.endObject();
    }
    out.endArray();
    out.endObject();
    out.endDocument();
    return text;
}
