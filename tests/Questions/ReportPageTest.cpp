#include "Questions/ReportPage.h"

#include "Questions/Html.h"

#include <gmock/gmock.h>

namespace Qcf::Questions {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr char const * hostile = "</script><b>\"&'\x01\xff";

/// The hostile text wherever a report holds one.
Report hostileReport() {
    Report report;
    report.subject = report.function = report.table = report.note = report.against = hostile;
    report.verdicts = {1, 2, 3};
    ReportLine line{hostile, ReportLine::State::half, {{hostile, {}, true, hostile}}, 2, {0}};
    report.files.push_back({hostile, {line, {hostile}}});
    report.clauses.push_back({0, 1, hostile, hostile, {0, 2, 0}, {0}});
    report.changed.emplace_back(hostile, 1);
    ReportList & list = report.lists.emplace_back();
    list.kind = list.name = hostile;
    list.size = list.withoutHits = 1;
    list.entries.push_back({1, hostile, 0});
    report.unknownVerdicts.emplace_back(hostile, 1);
    report.unknowns.push_back({0, 1, hostile, hostile, 1, {hostile}});
    ReportExample example{.route = 7,
                          .prefix = hostile,
                          .peer = hostile,
                          .verdict = "true",
                          .decidedBy = hostile,
                          .reason = hostile};
    example.rows.push_back(
        {.label = hostile, .text = hostile, .result = hostile, .values = hostile});
    report.examples.push_back(example);
    report.differences.emplace().push_back({hostile, 1, hostile, hostile, hostile});
    return report;
}

String between(String const & text, String const & begin, String const & end) {
    std::size_t const from = text.find(begin) + begin.size();
    return text.substr(from, text.find(end, from) - from);
}

std::size_t countOf(String const & text, String const & what) {
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != String::npos; at = text.find(what, at + 1)) {
        ++count;
    }
    return count;
}

} // namespace

TEST(ReportPage, KeepsTextsText) {
    String const page = reportPage(hostileReport());
    EXPECT_EQ(countOf(page, "</script>"), 2U); // those of the page itself
    EXPECT_EQ(countOf(page, "<b>"), 0U);
    EXPECT_EQ(countOf(page, "<b>\""), 0U);
    EXPECT_EQ(countOf(page, "&'"), countOf(reportData(hostileReport()), "&'")); // JSON may
    EXPECT_THAT(page, Not(HasSubstr("\x01")));
    EXPECT_THAT(page, Not(HasSubstr("\xff")));
    EXPECT_THAT(page, HasSubstr("<h1>&lt;/script&gt;&lt;b&gt;&quot;&amp;'\xef\xbf\xbd"));
    EXPECT_THAT(reportData(hostileReport()), Not(HasSubstr("<")));
}

// Style and script run by their hashes alone, so a page whose hashes are others is a dead one.
TEST(ReportPage, AllowsItsOwnStyleAndScriptAlone) {
    String const page = reportPage(hostileReport());
    String const policy = between(page, "Content-Security-Policy\" content=\"", "\"");
    EXPECT_EQ(policy, "default-src 'none'; style-src " +
                          contentHash(between(page, "<style>", "</style>")) + "; script-src " +
                          contentHash(between(page, "<script>", "</script>")) +
                          "; base-uri 'none'; form-action 'none'");
    EXPECT_EQ(countOf(page, " style="), 0U);
    EXPECT_EQ(countOf(page, " src="), 0U);
    EXPECT_EQ(countOf(page, "http:") + countOf(page, "https:"), 0U);
    EXPECT_EQ(countOf(page, "@@"), 0U);
}

TEST(ReportPage, ShowsADifferenceOnlyWhereThereIsOne) {
    Report report = hostileReport();
    EXPECT_THAT(reportPage(report), HasSubstr("href=\"#diff\""));
    report.differences.reset();
    EXPECT_THAT(reportPage(report), Not(HasSubstr("diff\"")));
}

TEST(ReportPage, WritesNumbersAsPeopleReadThem) {
    struct Case {
        U64 number;
        char const * text;
    };
    for (auto const & [number, text] : {Case{0, "0"}, Case{999, "999"}, Case{1000, "1,000"},
                                        Case{200000, "200,000"}, Case{1234567, "1,234,567"}}) {
        EXPECT_EQ(groupedDigits(number), text);
    }
    EXPECT_EQ(percentText(1, 3), "33.3 %");
    EXPECT_EQ(percentText(0, 0), "0.0 %");
    // As every tool for such policies computes it.
    EXPECT_EQ(contentHash(""), "'sha256-47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU='");
}

} // namespace Qcf::Questions
