#include "Questions/Html.h"
#include "Questions/ReportTables.h"

/// The tables behind the tabs other than the source.
namespace Qcf::Questions {

namespace {

/// A table whose columns are these; `isNumber` says which are right-aligned.
struct Column {
    char const * name;
    bool isNumber = false;
};

String tableText(String const & caption, std::span<Column const> columns, String const & rows) {
    String head;
    for (Column const & column : columns) {
        head += "<th scope=\"col\"" + String(column.isNumber ? ">" : " class=\"text\">") +
                column.name + "</th>";
    }
    return "<div class=\"wide\" tabindex=\"0\" role=\"region\" aria-label=\"" + caption +
           "\"><table><caption>" + caption + "</caption><thead><tr>" + head +
           "</tr></thead><tbody>\n" + rows + "</tbody></table></div>\n";
}

/// A row of texts, wherever they may break.
String rowText(std::initializer_list<String> numbers, std::initializer_list<String> texts) {
    String row = "<tr>";
    for (String const & number : numbers) {
        row += "<td>" + number + "</td>";
    }
    for (String const & text : texts) {
        row += "<td class=\"wrap\">" + text + "</td>";
    }
    return row + "</tr>\n";
}

/// Of a result, as people call it.
String verdictWord(String const & verdict) {
    return verdict == "true" ? "accepted" : verdict == "false" ? "rejected" : verdict;
}

String code(String const & text) { return "<code>" + escapedHtml(text) + "</code>"; }

String listTable(ReportList const & list) {
    if (!list.isTested) {
        return "<h3>" + escapedHtml(list.kind + ' ' + list.name) +
               "</h3><p>It says what is added or removed; nothing is tested against it.</p>";
    }
    String rows;
    for (ReportEntry const & entry : list.entries) {
        rows += (entry.hits == 0 ? "<tr class=\"never\"><td>" : "<tr><td>") +
                std::to_string(entry.number) + "</td><td>" + groupedDigits(entry.hits) +
                "</td><td class=\"state\">" + (entry.hits == 0 ? "no hits" : "") +
                "</td><td class=\"wrap\">" + code(entry.text) + "</td></tr>\n";
    }
    String text = "<h3>" + escapedHtml(list.kind + ' ' + list.name) + "</h3><p>Asked " +
                  groupedDigits(list.hits.asked) + ", permitted " +
                  groupedDigits(list.hits.permitted);
    if (list.size != 0) {
        text += "; " + groupedDigits(list.withoutHits) + " of " + groupedDigits(list.size) +
                " entries without hits";
    }
    text += ".";
    if (list.entries.size() < list.size) {
        text += " Of its entries those with most hits are shown, and the first without any.";
    }
    text += "</p>";
    static constexpr Column columns[] = {{"entry", true}, {"hits", true}, {"note"}, {"text"}};
    return list.entries.empty()
               ? text
               : text + tableText("Entries of " + escapedHtml(list.name), columns, rows);
}

} // namespace

String exampleTable(Report const & report) {
    String rows;
    for (std::size_t i = 0; i < report.examples.size(); ++i) {
        ReportExample const & example = report.examples[i];
        rows += "<tr data-example=\"" + std::to_string(i) + "\"><td>" +
                groupedDigits(example.route) + "</td><td class=\"wrap\">" +
                escapedHtml(example.prefix.empty() ? "(no prefix)" : example.prefix) +
                "</td><td class=\"wrap\">" + verdictWord(example.verdict) +
                "</td><td class=\"wrap\">" +
                escapedHtml(example.decidedBy.empty() ? "the end" : example.decidedBy) +
                "</td><td class=\"wrap\">" + escapedHtml(example.reason) + "</td></tr>\n";
    }
    static constexpr Column columns[] = {
        {"route", true}, {"prefix"}, {"verdict"}, {"decided by"}, {"reason"}};
    return "<p>The first routes of each kind, at most three for a statement and a line.</p>" +
           tableText("Example routes", columns, rows);
}

String listTables(Report const & report) {
    String text;
    for (ReportList const & list : report.lists) {
        text += listTable(list);
    }
    return text.empty() ? "<p>The function asks no list whose entries are known.</p>" : text;
}

String differenceSection(Report const & report) {
    if (!report.differences) {
        return {};
    }
    U64 routes = 0;
    String rows;
    for (ReportDifference const & each : *report.differences) {
        routes += each.count;
        rows += rowText({groupedDigits(each.count)},
                        {escapedHtml(each.label), code(each.oldStatement), code(each.newStatement),
                         escapedHtml(each.example)});
    }
    static constexpr Column columns[] = {
        {"routes", true}, {"what changes"}, {"old"}, {"new"}, {"example"}};
    return "<section id=\"diff\" aria-label=\"Difference\"><p>" + groupedDigits(routes) + " of " +
           groupedDigits(report.routes()) + " routes differ from " + escapedHtml(report.against) +
           ".</p>" + (rows.empty() ? String() : tableText("Routes that differ", columns, rows)) +
           "</section>";
}

String unknownTables(Report const & report) {
    String verdicts;
    for (auto const & [reason, count] : report.unknownVerdicts) {
        verdicts += rowText({groupedDigits(count)}, {escapedHtml(reason)});
    }
    String conditions;
    for (ReportUnknown const & each : report.unknowns) {
        String because;
        for (String const & reason : each.because) {
            because += (because.empty() ? "" : "; ") + escapedHtml(reason);
        }
        String const place = escapedHtml(each.place);
        String const link = "<a href=\"#L" + std::to_string(each.file) + '-' +
                            std::to_string(each.line) + "\">" + place + "</a>";
        conditions += rowText({groupedDigits(each.count)},
                              {each.line == 0 ? place : link, code(each.text), because});
    }
    static constexpr Column ofVerdicts[] = {{"routes", true}, {"reason"}};
    static constexpr Column ofConditions[] = {
        {"times", true}, {"place"}, {"condition"}, {"reasons of the examples"}};
    return (verdicts.empty() ? "<p>Every route came to a verdict.</p>"
                             : tableText("Routes without a verdict", ofVerdicts, verdicts)) +
           (conditions.empty()
                ? "<p>No condition came to unknown.</p>"
                : tableText("Conditions that came to unknown", ofConditions, conditions));
}

} // namespace Qcf::Questions
