#include "Questions/ReportPage.h"

#include "Questions/Html.h"
#include "Questions/ReportFiles.h"
#include "Questions/ReportTables.h"

#include <array>

namespace Qcf::Questions {

namespace {

String totals(Report const & report) {
    static constexpr std::pair<char const *, std::size_t> names[] = {
        {"accepted", 2}, {"rejected", 1}, {"unknown", 0}};
    String text = "<li><strong>" + groupedDigits(report.routes()) + "</strong> routes</li>";
    for (auto const & [name, verdict] : names) {
        U64 const count = report.verdicts[verdict];
        text += "<li>" + String(name) + " <strong>" + percentText(count, report.routes()) +
                "</strong> (" + groupedDigits(count) + ")</li>";
    }
    return text;
}

String tabs(Report const & report) {
    String text;
    auto const add = [&text](char const * id, char const * name) {
        text += "<li><a href=\"#" + String(id) + "\">" + name + "</a></li>";
    };
    add("source", "Source");
    add("routes", "Routes");
    add("lists", "Lists");
    if (report.differences) {
        add("diff", "Difference");
    }
    add("unknowns", "Unknowns");
    return text;
}

// Nothing is loaded, sent or embedded; style and script are those of this page and no others.
String policy() {
    return "default-src 'none'; style-src " + contentHash(reportStyle) + "; script-src " +
           contentHash(reportScript) + "; base-uri 'none'; form-action 'none'";
}

/// What is filled in where the page names it.
struct Part {
    std::string_view name;
    String (*make)(Report const & report);
};

constexpr Part parts[] = {
    {"policy", [](Report const &) { return policy(); }},
    {"style", [](Report const &) { return String(reportStyle); }},
    {"script", [](Report const &) { return String(reportScript); }},
    {"title",
     [](Report const & report) { return escapedHtml(report.function + " of " + report.subject); }},
    {"function", [](Report const & report) { return escapedHtml(report.function); }},
    {"subject", [](Report const & report) { return escapedHtml(report.subject); }},
    {"table", [](Report const & report) { return escapedHtml(report.table); }},
    {"note",
     [](Report const & report) {
         return report.note.empty() ? String()
                                    : "<p class=\"note\">" + escapedHtml(report.note) + "</p>";
     }},
    {"totals", totals},
    {"tabs", tabs},
    {"clauses", clauseItems},
    {"never", neverReachedItems},
    {"changed", changedTable},
    {"source", sourceTables},
    {"routes", exampleTable},
    {"lists", listTables},
    {"diff", differenceSection},
    {"unknowns", unknownTables},
    {"data", reportData},
};

} // namespace

String reportPage(Report const & report) {
    return filledIn(reportTemplate, [&report](std::string_view name) {
        String text;
        for (Part const & part : parts) {
            text += part.name == name ? part.make(report) : String();
        }
        return text;
    });
}

} // namespace Qcf::Questions
