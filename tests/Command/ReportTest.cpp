#include "tests/Command/CommandTools.h"

#include <gmock/gmock.h>

namespace Qcf::Command::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

constexpr char const * policy = R"(list community_list MARKS {
  permit { 65000:1 }
  permit { 65000:2 }
}
function f() {
  if community matches MARKS {
    return false because marked
  }
  if med is 5 or med is 6 {
    exit true
  }
  if as_path.length > 3 {
    local_preference = 50
    return true
  }
}
)";

constexpr char const * routes = R"({"community": ["65000:1"]}
{"community": ["65000:1"]}
{"med": 5}
{"as_path": "1 2 3 4"}
{"med": 7}
)";

String reportOf(Workshop const & workshop, std::vector<String> const & more = {}) {
    std::vector<String> arguments{"report",   "p.qcf",   "--function", "f",
                                  "--routes", "r.jsonl", "-o",         "page.html"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    Outcome const outcome = workshop.run(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    return workshop.read("page.html");
}

/// With a bar between cells.
String withoutTags(String const & html) {
    String text;
    bool isTag = false;
    for (std::size_t i = 0; i < html.size(); ++i) {
        text +=
            html.compare(i, 8, "</td><td") == 0 || html.compare(i, 8, "</th><td") == 0 ? "|" : "";
        isTag = isTag || html[i] == '<';
        text += isTag ? String() : String(1, html[i]);
        isTag = isTag && html[i] != '>';
    }
    return text;
}

/// The classes and cells of a line's row; empty where nothing of it could be evaluated.
String rowOf(String const & page, U32 line) {
    std::size_t const begin = page.find("<tr id=\"L0-" + std::to_string(line) + '"');
    if (begin == String::npos) {
        return {};
    }
    String const row = page.substr(begin, page.find("</tr>", begin) - begin);
    std::size_t const classes = row.find("class=\"") + 7;
    return row.substr(classes, row.find('"', classes) - classes) + ' ' + withoutTags(row);
}

} // namespace

TEST(Report, TellsOfEachLineWhatHappenedThere) {
    Workshop const workshop;
    workshop.write("p.qcf", policy);
    workshop.write("r.jsonl", routes);
    String const page = reportOf(workshop);
    struct Case {
        U32 line;
        char const * row;
    };
    for (auto const & [line, row] : {
             Case{1, ""},
             Case{5, "covered 5|5|1|2|1|||function f() {"},
             Case{6, "covered 6|5|2|3|0|||  if community matches MARKS {"},
             Case{7, "covered decides 7|2|0|2|0|40.0 %||    return false because marked"},
             Case{9, "half 9|3|1|2|0||half|  if med is 5 or med is 6 {"},
             Case{10, "covered decides 10|1|0|0|0|20.0 %||    exit true"},
             Case{13, "covered 13|1||||||    local_preference = 50"},
         }) {
        EXPECT_EQ(rowOf(page, line), row) << line;
    }
    // A list with an entry that nothing hit, an unknown verdict, a change.
    EXPECT_THAT(page, HasSubstr("Asked 5, permitted 2; 1 of 2 entries without hits."));
    EXPECT_THAT(page, ContainsRegex("no hits</td><td class=\"wrap\"><code>permit \\{ 65000:2 \\}"));
    EXPECT_THAT(page, HasSubstr("function f ended without return"));
    EXPECT_THAT(page, HasSubstr("local_preference</th><td>1</td>"));
}

// An entry counts when its answer is the list's, whatever kind of list it is; a list that another
// function's test asks counts as well, one that nobody asks is left out.
TEST(Report, CountsTheEntriesThatAnswered) {
    Workshop const workshop;
    workshop.write("p.qcf",
                   R"(list prefix_list P v4 { permit 10.0.0.0/8 le 24  deny 10.0.0.0/8 le 32 }
list ext_community_list E { permit { rt:65000:1 }  deny { rt:65000:2 } }
list large_community_list L { deny { 1:2:3 }  permit { 1:2:4 } }
list as_path_list A { deny "^7_"  permit "_9$" }
list tag_set T { 7, 77 }
list community_list NOBODY { permit { 1:1 } }
function called() { return as_path matches A }
function f() {
  if prefix matches v4 P { med = 1 }
  if ext_community matches E { med = 2 }
  if large_community matches L { med = 3 }
  if igp.tag matches T { med = 4 }
  called()
  return true
}
)");
    workshop.write("r.jsonl", R"({"prefix": "10.1.0.0/16", "as_path": "7 9", "igp.tag": 77}
{"prefix": "10.1.1.128/25", "as_path": "8 9", "large_community": ["1:2:4"]}
{"prefix": "10.2.1.128/25", "as_path": "8", "ext_community": ["rt:65000:1"]}
)");
    String const page = reportOf(workshop);
    struct Case {
        char const * list;
        char const * counts;
        std::vector<char const *> rows; // entry, hits, text
    };
    for (auto const & [list, counts, rows] : std::vector<Case>{
             {"prefix list P",
              "Asked 3, permitted 1; 0 of 2 entries without hits.",
              {"10|1||permit 10.0.0.0/8 le 24", "20|2||deny 10.0.0.0/8 le 32"}},
             {"extended community list E",
              "Asked 3, permitted 1; 1 of 2 entries without hits.",
              {"1|1||permit { 0x0002fde800000001 }", "2|0|no hits|deny { 0x0002fde800000002 }"}},
             {"large community list L",
              "Asked 3, permitted 1; 1 of 2 entries without hits.",
              {"1|0|no hits|deny { 1:2:3 }", "2|1||permit { 1:2:4 }"}},
             {"AS-path access list A",
              "Asked 3, permitted 1; 0 of 2 entries without hits.",
              {"1|1||deny &quot;^7_&quot;", "2|1||permit &quot;_9$&quot;"}},
             {"tag set T", "Asked 3, permitted 1.", {}},
         }) {
        std::size_t const begin = page.find("<h3>" + String(list) + "</h3>");
        ASSERT_NE(begin, String::npos) << list;
        String const part = withoutTags(page.substr(begin, page.find("<h3>", begin + 4) - begin));
        EXPECT_THAT(part, HasSubstr(counts)) << list;
        for (char const * const row : rows) {
            EXPECT_THAT(part, HasSubstr(row)) << list;
        }
    }
    EXPECT_THAT(page, testing::Not(HasSubstr("<h3>community list NOBODY")));
}

TEST(Report, DecidingClausesAreThoseOfTheProfile) {
    Workshop const workshop;
    String const examples = QCF_SOURCE_DIR "/examples/";
    ASSERT_EQ(workshop.run({"generate-table", "--routes", "20000", "--seed", "3", "--out", "t.mrt"})
                  .exitCode,
              0);
    std::vector<String> const what{examples + "transit-import.qcf", "--function", "transit_import",
                                   "--routes", "t.mrt"};
    auto const with = [&what](std::vector<String> words, std::vector<String> const & more) {
        words.insert(words.end(), what.begin(), what.end());
        words.insert(words.end(), more.begin(), more.end());
        return words;
    };
    double top = 0;
    String topText;
    for (String const & line : linesOf(workshop.run(with({"profile"}, {"--format", "json"})).out)) {
        std::size_t const share = line.find("\"share\":");
        if (share != String::npos && std::stod(line.substr(share + 8)) > top) {
            top = std::stod(line.substr(share + 8));
            std::size_t const text = line.find("\"text\":\"") + 8;
            topText = line.substr(text, line.find("\",\"entered", text) - text);
        }
    }
    ASSERT_GT(top, 0);
    Outcome const alone = workshop.run(with({"report"}, {"-o", "-"}));
    ASSERT_EQ(alone.exitCode, 0) << alone.err;
    char share[16];
    std::snprintf(share, sizeof share, "%.1f %%", 100 * top);
    std::size_t const first = alone.out.find("class=\"share\">");
    String const clause = alone.out.substr(first, alone.out.find("</li>", first) - first);
    EXPECT_THAT(clause, HasSubstr(share));
    EXPECT_THAT(clause, HasSubstr(topText));
    // Threads share the work, and nothing on the page tells.
    EXPECT_EQ(workshop.run(with({"report"}, {"-o", "-", "--threads", "2"})).out, alone.out);
}

// A document has its own text, or that of its map; both tell the same counts.
TEST(Report, DocumentsHaveLines) {
    Workshop const workshop;
    workshop.write("t.qcf", policy);
    workshop.write("r.jsonl", routes);
    ASSERT_EQ(workshop
                  .run({"compile", "t.qcf", "-o", "p.json", "--map-out", "p.map", "--lists-out",
                        "l.json"})
                  .exitCode,
              0);
    std::vector<String> arguments{"report", "p.json",   "--function", "f",  "--lists",
                                  "l.json", "--routes", "r.jsonl",    "-o", "page.html"};
    Outcome const printed = workshop.run(arguments);
    ASSERT_EQ(printed.exitCode, 0) << printed.err;
    String const page = workshop.read("page.html");
    EXPECT_THAT(page, HasSubstr("the document printed as text"));
    EXPECT_THAT(page, ContainsRegex("40.0 %[^\n]*return false"));
    EXPECT_THAT(page, HasSubstr("1 of 2 entries without hits"));
    arguments.insert(arguments.end(), {"--map", "p.map"});
    ASSERT_EQ(workshop.run(arguments).exitCode, 0);
    EXPECT_EQ(rowOf(workshop.read("page.html"), 7),
              "covered decides 7|2|0|2|0|40.0 %||    return false because marked");
    // What the map leads to is no longer what was compiled.
    workshop.write("t.qcf", String("# edited\n\n\n") + policy);
    ASSERT_EQ(workshop.run(arguments).exitCode, 0);
    String const stale = workshop.read("page.html");
    EXPECT_THAT(stale, HasSubstr("edited since it was compiled"));
    EXPECT_THAT(stale, ContainsRegex("40.0 %[^\n]*return false"));
}

// Nobody is to take out an entry that a change uses.
TEST(Report, ListsOfChangesHaveNoHits) {
    Workshop const workshop;
    workshop.write("p.qcf", "list community_list OURS { permit { 65000:1 } }\n"
                            "function f() {\n  community remove OURS\n  return true\n}\n");
    workshop.write("r.jsonl", routes);
    String const page = reportOf(workshop);
    EXPECT_THAT(page, HasSubstr("nothing is tested against it"));
    EXPECT_EQ(page.find("without hits"), String::npos);
}

// The same groups as the difference command tells, from the one reading of the table.
TEST(Report, TellsWhatAnotherVersionTreatsOtherwise) {
    Workshop const workshop;
    workshop.write("p.qcf", policy);
    String old = policy;
    old.replace(old.find("length > 3"), 10, "length > 8");
    workshop.write("old.qcf", old);
    workshop.write("r.jsonl", routes);
    String const page = reportOf(workshop, {"--against", "old.qcf"});
    EXPECT_THAT(page, HasSubstr("<p>1 of 5 routes differ from old.qcf.</p>"));
    EXPECT_THAT(page, ContainsRegex("<td>1</td><td class=\"wrap\">unknown -&gt; accepted</td>"));
    EXPECT_THAT(page, HasSubstr("<code>old.qcf:12  if as_path.length &gt; 8  (false)</code>"));
    EXPECT_THAT(page, HasSubstr("<code>p.qcf:12  if as_path.length &gt; 3  (true)</code>"));
    EXPECT_THAT(reportOf(workshop, {"--against", "p.qcf"}),
                HasSubstr("<p>0 of 5 routes differ from p.qcf.</p>"));
    EXPECT_THAT(reportOf(workshop), testing::Not(HasSubstr("id=\"diff\"")));
}

// A page of a long policy opens at once.
TEST(Report, FiveThousandLinesAreLessThanTwoMegabytes) {
    Workshop const workshop;
    String text = "function f() {\n";
    for (int i = 0; i < 1666; ++i) {
        text += "  if med is " + std::to_string(i) + " or as_path.length > " +
                std::to_string(100 + i) + " {\n    return false because reason-" +
                std::to_string(i) + "\n  }\n";
    }
    workshop.write("p.qcf", text + "  return true\n}\n");
    String table;
    for (int i = 0; i < 2000; ++i) {
        table += R"({"prefix": "10.0.0.0/24", "med": )" + std::to_string(i) + "}\n";
    }
    workshop.write("r.jsonl", table);
    String const page = reportOf(workshop);
    EXPECT_LT(page.size(), 2'000'000U);
    EXPECT_EQ(rowOf(page, 4997),
              "half 4997|335|1|334|0||half|  if med is 1665 or as_path.length &gt; 1765 {");
    EXPECT_THAT(page, HasSubstr("reason-1665"));
}

TEST(Report, RefusesWhatItCannotMean) {
    Workshop const workshop;
    workshop.write("p.qcf", policy);
    workshop.write("r.jsonl", routes);
    std::vector<String> const begin{"report", "p.qcf", "--function", "f", "--routes", "r.jsonl"};
    auto const run = [&](std::vector<String> const & more) {
        auto words = begin;
        words.insert(words.end(), more.begin(), more.end());
        return workshop.run(words);
    };
    EXPECT_EQ(run({}).exitCode, 2);
    EXPECT_EQ(run({"-o", "p.qcf"}).exitCode, 2);
    EXPECT_EQ(run({"-o", "page.html", "--lists", "-"}).exitCode, 2);
    EXPECT_EQ(workshop.read("p.qcf"), policy);
    // What was there is kept when the table is no table.
    workshop.write("page.html", "old");
    workshop.write("r.jsonl", "{\"med\": }\n");
    EXPECT_EQ(run({"-o", "page.html"}).exitCode, 1);
    EXPECT_EQ(workshop.read("page.html"), "old");
}

} // namespace Qcf::Command::test
