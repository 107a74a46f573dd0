#include "Questions/ReportTables.h"

#include "Questions/Html.h"

namespace Qcf::Questions {

namespace {

using State = ReportLine::State;

/// Statements beside the source; all of them have their share in their lines.
constexpr std::size_t mostClauses = 50;

/// A bar for those who look, from one hundredth on; the number stands beside it. Its width is no
/// style, which the page would not allow.
String bar(U64 part, U64 all) {
    U64 const width = all == 0 ? 0 : part * 100 / all;
    if (width == 0) {
        return {};
    }
    return "<svg class=\"bar\" viewBox=\"0 0 100 5\" preserveAspectRatio=\"none\" "
           "aria-hidden=\"true\"><rect width=\"" +
           std::to_string(width) + "\" height=\"5\"/></svg>";
}

String lineId(std::size_t file, std::size_t line) {
    return "L" + std::to_string(file) + '-' + std::to_string(line);
}

String verdictsText(Watch::VerdictCounts const & verdicts) {
    static constexpr std::pair<char const *, std::size_t> names[] = {
        {"accepted", 2}, {"rejected", 1}, {"unknown", 0}};
    String text;
    for (auto const & [name, verdict] : names) {
        if (verdicts[verdict] != 0) {
            text += (text.empty() ? "" : ", ") + groupedDigits(verdicts[verdict]) + ' ' + name;
        }
    }
    return text;
}

String numbersText(std::vector<std::size_t> const & numbers) {
    String text;
    for (std::size_t const number : numbers) {
        text += (text.empty() ? "" : " ") + std::to_string(number);
    }
    return text;
}

/// A range of lines that were not reached, as a link.
String rangeItem(Report const & report, std::size_t file, std::size_t first, std::size_t last) {
    String const prefix = file == 0 ? String() : escapedHtml(report.files[file].name) + ':';
    return "<li><a href=\"#" + lineId(file, first) + "\">" + prefix + std::to_string(first) +
           (last == first ? String() : '-' + std::to_string(last)) + "</a></li>";
}

char const * stateText(State state) {
    return state == State::never ? "never" : state == State::half ? "half" : "";
}

char const * className(State state) {
    return state == State::covered ? "covered" : stateText(state);
}

String cells(ReportLine const & line) {
    if (line.parts.empty()) {
        return "<td></td><td></td><td></td><td></td>";
    }
    auto const & [text, counts, isAsked, missing] = line.parts.front();
    String cells = "<td>" + groupedDigits(counts.entered) + "</td>";
    for (U64 const count : {counts.isTrue, counts.isFalse, counts.isUnknown}) {
        cells += "<td>" + (isAsked ? groupedDigits(count) : String()) + "</td>";
    }
    return cells;
}

String sourceRow(Report const & report, std::size_t file, std::size_t number) {
    ReportLine const & line = report.files[file].lines[number - 1];
    String const head = "<th scope=\"row\">" + std::to_string(number) + "</th>";
    String const source = "<td><code>" + escapedHtml(line.text) + "</code></td></tr>\n";
    if (line.state == State::plain) {
        return "<tr>" + head +
               "<td></td><td></td><td></td><td></td>"
               "<td></td><td></td>" +
               source;
    }
    String const decided = line.decided == 0 ? String()
                                             : percentText(line.decided, report.routes()) +
                                                   bar(line.decided, report.routes());
    return "<tr id=\"" + lineId(file, number) + "\" class=\"" + className(line.state) +
           (line.decided == 0 ? "\">" : " decides\">") + head + cells(line) + "<td>" + decided +
           "</td><td>" + stateText(line.state) + "</td>" + source;
}

String shareText(U64 count, Report const & report) {
    return "<li><span class=\"share\">" + percentText(count, report.routes()) + "</span> ";
}

String clauseItem(Report const & report, ReportClause const & clause) {
    String const place = escapedHtml(clause.place);
    return "<li data-examples=\"" + numbersText(clause.examples) + "\"><span class=\"share\">" +
           percentText(clause.total(), report.routes()) + "</span> " +
           (clause.line == 0
                ? place
                : "<a href=\"#" + lineId(clause.file, clause.line) + "\">" + place + "</a>") +
           ' ' + verdictsText(clause.verdicts) + "<code>" + escapedHtml(clause.text) + "</code>" +
           bar(clause.total(), report.routes()) + "</li>\n";
}

constexpr char const * sourceHead =
    "<thead><tr><th scope=\"col\">line</th><th scope=\"col\">entered</th>"
    "<th scope=\"col\">true</th><th scope=\"col\">false</th>"
    "<th scope=\"col\">unknown</th><th scope=\"col\">decided</th>"
    "<th scope=\"col\">covered</th><th scope=\"col\" class=\"text\">source</th></tr></thead>";

} // namespace

String clauseItems(Report const & report) {
    String text;
    U64 more = 0;
    for (ReportClause const & clause : report.clauses) {
        bool const isShown = &clause < report.clauses.data() + mostClauses;
        text += isShown ? clauseItem(report, clause) : String();
        more += isShown ? 0 : clause.total();
    }
    if (report.clauses.size() > mostClauses) {
        text += shareText(more, report) + "by " +
                groupedDigits(report.clauses.size() - mostClauses) + " more statements</li>\n";
    }
    auto const & end = report.atEnd;
    if (U64 const count = end[0] + end[1] + end[2]; count > 0) {
        text += shareText(count, report) + "the function's end " + verdictsText(end) + "</li>\n";
    }
    return text.empty() ? "<li>No route was evaluated.</li>" : text;
}

// What can never be reached in between does not part a range.
String neverReachedItems(Report const & report) {
    String items;
    for (std::size_t file = 0; file < report.files.size(); ++file) {
        std::size_t first = 0;
        std::size_t last = 0;
        auto const end = [&] {
            items += first == 0 ? String() : rangeItem(report, file, first, last);
            first = 0;
        };
        auto const & lines = report.files[file].lines;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (lines[i].state == State::never) {
                first = first == 0 ? i + 1 : first;
                last = i + 1;
            } else if (lines[i].state != State::plain) {
                end();
            }
        }
        end();
    }
    return items.empty() ? "<p>Nothing: every statement was reached.</p>"
                         : "<ul class=\"plain\">" + items + "</ul>";
}

String changedTable(Report const & report) {
    if (report.changed.empty()) {
        return "<p>None.</p>";
    }
    String rows;
    for (auto const & [name, count] : report.changed) {
        rows += "<tr><th scope=\"row\" class=\"text\">" + escapedHtml(name) + "</th><td>" +
                groupedDigits(count) + "</td></tr>\n";
    }
    return "<table><thead><tr><th scope=\"col\" class=\"text\">attribute</th>"
           "<th scope=\"col\">routes</th></tr></thead><tbody>" +
           rows + "</tbody></table>";
}

String sourceTables(Report const & report) {
    String text;
    for (std::size_t file = 0; file < report.files.size(); ++file) {
        String const name = escapedHtml(report.files[file].name);
        text += "<div class=\"wide\" tabindex=\"0\" role=\"region\" aria-label=\"Lines of " + name +
                "\"><table class=\"lines\"><caption>" + name + "</caption>" + sourceHead +
                "<tbody>\n";
        for (std::size_t line = 1; line <= report.files[file].lines.size(); ++line) {
            text += sourceRow(report, file, line);
        }
        text += "</tbody></table></div>\n";
    }
    return text;
}

} // namespace Qcf::Questions
