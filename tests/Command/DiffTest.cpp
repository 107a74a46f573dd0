#include "tests/Command/CommandTools.h"

#include <fstream>
#include <regex>

#include <gmock/gmock.h>

namespace Qcf::Command::test {
namespace {

using testing::HasSubstr;

String const examples = QCF_SOURCE_DIR "/examples/";

constexpr char const * policy = R"(list community_list OURS { permit { 65000:1 } }
function f() {
  if community matches OURS { return false }
  if med > 5 { local_preference = 50 }
  return true
}
)";

constexpr char const * routes = R"({"prefix": "10.0.0.0/8", "med": 5}
{"prefix": "10.1.0.0/16", "med": 6, "source_session.remote.ip_address": "192.0.2.1"}
{"prefix": "11.0.0.0/8", "med": 6, "community": ["65000:1"]}
{"prefix": "12.0.0.0/8", "community": ["65000:2"]}
)";

/// The policy, a newer one that starts to act at another MED, and routes.
void fill(Workshop const & workshop) {
    workshop.write("old.qcf", policy);
    workshop.write("new.qcf", std::regex_replace(String(policy), std::regex("med > 5"), "med > 4"));
    workshop.write("r.jsonl", routes);
}

std::vector<String> diffOf(std::vector<String> const & policies, std::vector<String> const & more) {
    std::vector<String> arguments{"diff"};
    arguments.insert(arguments.end(), policies.begin(), policies.end());
    arguments.insert(arguments.end(), {"--function", "f", "--routes", "r.jsonl"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

/// The parameterless functions of a text.
std::vector<String> functionsOf(String const & file) {
    std::ifstream in(file);
    std::vector<String> names;
    std::regex const head(R"(function ([\w-]+)\(\).*)");
    for (String line; std::getline(in, line);) {
        if (std::smatch found; std::regex_match(line, found, head)) {
            names.push_back(found[1]);
        }
    }
    return names;
}

} // namespace

TEST(Diff, TellsWhatChangedAndWhere) {
    Workshop const workshop;
    fill(workshop);
    Outcome const outcome = workshop.run(diffOf({"old.qcf", "new.qcf"}, {}));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.out,
              "4 routes: 3 alike, 1 differ\n"
              "  1  local_preference 100 -> 50  old 4 if med > 5 (false)  new 4 if med "
              "> 4 (true)  e.g. 10.0.0.0/8\n");
    Outcome const json = workshop.run(diffOf({"old.qcf", "new.qcf"}, {"--format", "json"}));
    EXPECT_EQ(
        json.out,
        R"({"count":1,"changed":"local_preference 100 -> 50","old":{"file":"old.qcf","line":4,)"
        R"("column":3,"function":"f","text":"if med > 5","result":"false"},"new":{"file":"new.qcf",)"
        R"("line":4,"column":3,"function":"f","text":"if med > 4","result":"true"},)"
        R"("example":{"route":0,"prefix":"10.0.0.0/8"}})"
        "\n"
        R"({"routes":4,"alike":3,"differ":1,"verdicts":0,"groups":1})"
        "\n");
}

TEST(Diff, ExitCodesAndSelections) {
    struct Case {
        std::vector<String> policies;
        std::vector<String> more;
        int exitCode;
        char const * told; ///< begins standard output, or stands in standard error
    };
    Case const cases[] = {
        {{"old.qcf", "old.qcf"}, {"--exit-code"}, 0, "4 routes: 4 alike, 0 differ\n"},
        {{"old.qcf", "new.qcf"}, {"--exit-code"}, 1, "4 routes: 3 alike, 1 differ\n"},
        {{"old.qcf", "new.qcf"},
         {"--prefix", "10.0.0.0/8/longer"},
         0,
         "2 routes: 1 alike, 1 differ"},
        {{"old.qcf", "new.qcf"}, {"--peer", "192.0.2.1"}, 0, "1 routes: 1 alike, 0 differ"},
        {{"old.qcf", "new.qcf"}, {"--only", "changed"}, 0, "2 routes: 1 alike, 1 differ"},
        {{"old.qcf", "new.qcf"}, {"--limit", "1", "--threads", "2"}, 0, "1 routes: 0 alike, 1"},
        {{"old.qcf", "new.qcf"}, {"--old-function", "g"}, 1, "no function \"g\""},
        {{"new.qcf"}, {}, 2, "wants an old policy and a new one"},
        {{"-", "-"}, {}, 2, "only one file can be standard input"},
        {{"old.qcf", "new.qcf"}, {"--redis", "redis://localhost", "--name", "n"}, 2, "alone"},
        {{"new.qcf"}, {"--redis", "redis://localhost"}, 2, "go together"},
        {{"old.qcf", "none.qcf"}, {}, 1, "none.qcf"},
    };
    Workshop const workshop;
    fill(workshop);
    for (Case const & each : cases) {
        Outcome const outcome = workshop.run(diffOf(each.policies, each.more));
        EXPECT_EQ(outcome.exitCode, each.exitCode) << each.told;
        EXPECT_THAT(outcome.out + outcome.err, HasSubstr(each.told));
    }
}

// As of evaluations: what was read before counts, and the fault is told.
TEST(Diff, TablesThatBreakOffAreToldUntilThere) {
    Workshop const workshop;
    fill(workshop);
    workshop.write("cut.jsonl", "{\"prefix\": \"10.0.0.0/8\"}\n{\"prefix\": ");
    for (std::vector<String> const & command :
         {std::vector<String>{"diff", "old.qcf", "old.qcf"}, {"impact", "old.qcf", "med"}}) {
        std::vector<String> arguments = command;
        arguments.insert(arguments.end(), {"--function", "f", "--routes", "cut.jsonl"});
        Outcome const outcome = workshop.run(arguments);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.out, HasSubstr("1 routes: ")) << command[0];
        EXPECT_THAT(outcome.err, HasSubstr("cut.jsonl:2"));
    }
}

// Names and texts come from anywhere, parentheses belong to what they stand around.
TEST(Diff, TellsStatementsAsTheyAreWritten) {
    Workshop const workshop;
    fill(workshop);
    auto const policyWith = [](char const * bound) {
        return String("list community_list \"\x1b[31m\" { permit { 65000:1 } }\n"
                      "function f() {\n  if ( med > ") +
               bound +
               " or community matches \"\x1b[31m\" ) and origin is igp { return true }\n}\n";
    };
    workshop.write("a.qcf", policyWith("5"));
    workshop.write("b.qcf", policyWith("50000000"));
    workshop.write("r.jsonl", "{\"prefix\": \"10.0.0.0/8\", \"med\": 7, \"origin\": 0}\n");
    Outcome const outcome =
        workshop.run({"diff", "a.qcf", "b.qcf", "--function", "f", "--routes", "r.jsonl"});
    EXPECT_THAT(outcome.out, HasSubstr("if ( med > 5 or"));
    EXPECT_EQ(outcome.out.find('\x1b'), String::npos) << outcome.out;
}

// The statement is the same, its two answers are not.
TEST(Diff, ListsAlone) {
    Workshop const workshop;
    fill(workshop);
    workshop.write("l.qcf", "list community_list OURS { permit { 65000:2 } }\n");
    Outcome const outcome =
        workshop.run(diffOf({"old.qcf", "old.qcf"}, {"--new-lists", "l.qcf", "--exit-code"}));
    EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
    EXPECT_EQ(outcome.out,
              "4 routes: 2 alike, 2 differ\n"
              "  1  rejected -> accepted  old 3 if community matches OURS (true)   new 3 if "
              "community matches OURS (false)  e.g. 11.0.0.0/8\n"
              "  1  accepted -> rejected  old 3 if community matches OURS (false)  new 3 if "
              "community matches OURS (true)   e.g. 12.0.0.0/8\n");
}

// A document compares with the text that it was made of, and has pointers in place of lines.
TEST(Diff, DocumentsAndTexts) {
    Workshop const workshop;
    fill(workshop);
    ASSERT_EQ(
        workshop.run({"compile", "old.qcf", "-o", "old.json", "--lists-out", "l.json"}).exitCode,
        0);
    EXPECT_THAT(workshop.run(diffOf({"old.json", "old.qcf"}, {"--old-lists", "l.json"})).out,
                HasSubstr("4 alike, 0 differ"));
    EXPECT_THAT(workshop.run(diffOf({"old.json", "new.qcf"}, {"--old-lists", "l.json"})).out,
                testing::ContainsRegex("old /[^ ]+ if med > 5 \\(false\\)  new 4 if med > 4"));
}

// Every example is alike to itself, with both forms of output, and however many threads there are.
TEST(Diff, ExamplesAreAlikeToThemselves) {
    Workshop const workshop;
    ASSERT_EQ(workshop.run({"generate-table", "--routes", "2000", "--out", "t.mrt"}).exitCode, 0);
    std::size_t compared = 0;
    for (auto const & entry : std::filesystem::directory_iterator(examples)) {
        String const file = entry.path().string();
        if (!file.ends_with(".qcf")) {
            continue;
        }
        for (String const & function : functionsOf(file)) {
            Outcome const outcome =
                workshop.run({"diff", file, file, "--function", function, "--routes", "t.mrt",
                              "--threads", "2", "--exit-code", "--allow-undefined-lists"});
            EXPECT_EQ(outcome.exitCode, 0) << file << ' ' << function << ' ' << outcome.err;
            EXPECT_EQ(outcome.out, "2000 routes: 2000 alike, 0 differ\n");
            ++compared;
        }
    }
    EXPECT_GT(compared, 20U);
}

// What differs is what two evaluations print differently, route by route.
TEST(Diff, CountsWhatEvaluationsPrintDifferently) {
    Workshop const workshop;
    ASSERT_EQ(workshop.run({"generate-table", "--routes", "5000", "--out", "t.mrt"}).exitCode, 0);
    workshop.shell(
        "sed -e 's/as_path.length > 6/as_path.length > 5/' -e 's/med = 250/med = 251/' " +
        examples + "import-filter.qcf > new.qcf");
    auto const lines = [&](String const & file) {
        return linesOf(workshop
                           .run({"eval", file, "--function", "import_filter", "--routes", "t.mrt",
                                 "--output", "jsonl"})
                           .out);
    };
    auto const older = lines(examples + "import-filter.qcf");
    auto const newer = lines("new.qcf");
    ASSERT_EQ(older.size(), newer.size());
    std::size_t differing = 0;
    for (std::size_t i = 0; i < older.size(); ++i) {
        differing += older[i] == newer[i] ? 0 : 1;
    }
    ASSERT_GT(differing, 0U);
    for (char const * const threads : {"1", "2"}) {
        Outcome const outcome =
            workshop.run({"diff", examples + "import-filter.qcf", "new.qcf", "--function",
                          "import_filter", "--routes", "t.mrt", "--threads", threads});
        EXPECT_THAT(outcome.out, HasSubstr(" " + std::to_string(differing) + " differ\n"));
    }
}

TEST(Impact, TellsFunctionsDecisionsAndDifferences) {
    Workshop const workshop;
    fill(workshop);
    std::vector<String> arguments{"impact", "old.qcf",  "OURS",   "--function",
                                  "f",      "--routes", "r.jsonl"};
    EXPECT_EQ(
        workshop.run(arguments).out,
        "OURS: community list\n"
        "  f  3 community matches OURS\n"
        "4 routes: 1 decided through OURS, 1 would differ were OURS empty (1 in their verdict)\n"
        "decided through OURS\n"
        "  1  rejected  3 return false  e.g. 11.0.0.0/8\n"
        "would differ were OURS empty\n"
        "  1  rejected -> accepted  old 3 if community matches OURS (true)  new 3 if community "
        "matches OURS (false)  e.g. 11.0.0.0/8\n");
    arguments.insert(arguments.end(), {"--format", "json", "--threads", "2"});
    EXPECT_EQ(linesOf(workshop.run(arguments).out).back(),
              R"({"name":"OURS","kind":"community list","routes":4,"decided":1,"differ":1,)"
              R"("verdicts":1,"notCompared":null})");
    arguments[2] = "prefix";
    EXPECT_THAT(workshop.run(arguments).out, HasSubstr("no route is without prefix"));
    arguments[2] = "NOBODY";
    Outcome const unknown = workshop.run(arguments);
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_THAT(unknown.err, HasSubstr("\"NOBODY\" is no attribute, and no list"));
}

} // namespace Qcf::Command::test
