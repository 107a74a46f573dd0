#include "tests/Command/CommandTools.h"

#include <gmock/gmock.h>

namespace Qcf::Command::test {
namespace {

using testing::HasSubstr;

constexpr char const * policy = R"(function long() { return as_path.length > 3 }
function f() {
  if long() or med is 5 {
    return false because long-or-five
  }
  if med is 6 { exit true }
  local_preference = 50
}
)";

constexpr char const * routes = R"({"as_path": "1 2 3 4"}
{"med": 5}
{"med": 5}
{"med": 6}
{"med": 7}
)";

} // namespace

TEST(Profile, TellsWhatDecidedAndHowOftenEachLineWasEntered) {
    Workshop const workshop;
    workshop.write("p.qcf", policy);
    workshop.write("r.jsonl", routes);
    Outcome const outcome =
        workshop.run({"profile", "p.qcf", "--function", "f", "--routes", "r.jsonl"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(
        outcome.out,
        "5 routes: true 1 (20.0 %), false 3 (60.0 %), unknown 1 (20.0 %)\n"
        "decided by\n"
        "    60.0 %  p.qcf:4  return false because long-or-five\n"
        "    20.0 %  p.qcf:6  exit true\n"
        "    20.0 %  the function's end\n"
        "\n"
        "  line    entered       true      false    unknown      exits   decided  source\n"
        "     2          5          0          3          1          1         -  function f\n"
        "     3          5          3          2          0          0         -    if long() or "
        "med is 5\n"
        "     3          5          1          4          0          0         -      long()\n"
        "     3          4          2          2          0          0         -      med is 5\n"
        "     4          3          0          3          0          0    60.0 %      return false "
        "because long-or-five\n"
        "     6          2          1          1          0          0         -    if med is 6\n"
        "     6          1          0          0          0          1    20.0 %      exit true\n"
        "     7          1          -          -          -          -         -    "
        "local_preference = 50\n"
        "     1          5          1          4          0          0         -  function long\n"
        "     1          5          1          4          0          0         -    return "
        "as_path.length > 3\n");
}

// Tools take a line of frames, a blank and a number.
TEST(Profile, FoldsStacks) {
    Workshop const workshop;
    workshop.write("p.qcf", policy);
    workshop.write("r.jsonl", routes);
    std::vector<String> arguments{"profile",  "p.qcf",   "--function", "f",
                                  "--routes", "r.jsonl", "--format",   "folded"};
    auto const lines = linesOf(workshop.run(arguments).out);
    EXPECT_EQ(lines.front(), "f 5");
    EXPECT_THAT(lines, testing::Contains("f;line 3 if long() or med is 5;line 3 long() or med is "
                                         "5;line 3 long();long;line 1 return as_path.length > "
                                         "3;line 1 as_path.length > 3 5"));
    arguments.emplace_back("--time");
    for (String const & line : linesOf(workshop.run(arguments).out)) {
        EXPECT_THAT(line, testing::MatchesRegex("[^;]+(;[^;]+)* [0-9]+"));
    }
}

// What several threads count is what one counts, whatever routes each of them gets.
TEST(Profile, ManyThreadsCountAsOne) {
    Workshop const workshop;
    String const examples = QCF_SOURCE_DIR "/examples/";
    ASSERT_EQ(workshop.run({"generate-table", "--routes", "20000", "--seed", "3", "--out", "t.mrt"})
                  .exitCode,
              0);
    for (char const * const format : {"json", "text", "folded"}) {
        std::vector<String> arguments{"profile",    examples + "import-filter.qcf",
                                      "--function", "import_filter",
                                      "--routes",   "t.mrt",
                                      "--format",   format};
        Outcome const alone = workshop.run(arguments);
        EXPECT_EQ(alone.exitCode, 0) << alone.err;
        EXPECT_THAT(alone.out, HasSubstr("20000"));
        arguments.insert(arguments.end(), {"--threads", "2"});
        EXPECT_EQ(workshop.run(arguments).out, alone.out) << format;
    }
}

// Two nodes of one line that are spelled alike are two frames; those of documents have their
// pointers.
TEST(Profile, FramesOfDifferentNodesDiffer) {
    Workshop const workshop;
    workshop.write("p.qcf", "function f() { if med is 5 { return true } else { return true } }\n");
    workshop.write("r.jsonl", routes);
    ASSERT_EQ(workshop.run({"compile", "p.qcf", "-o", "p.json"}).exitCode, 0);
    for (char const * const policyFile : {"p.qcf", "p.json"}) {
        bool const isText = String(policyFile) == "p.qcf";
        String const out = workshop
                               .run({"profile", policyFile, "--function", "f", "--routes",
                                     "r.jsonl", "--format", "folded"})
                               .out;
        String const frame = isText ? "f;line 1 if med is 5;line 1 return true @1:"
                                    : "f;if med is 5 @/nodes/[0-9]+;return true @/nodes/";
        EXPECT_THAT(out, testing::ContainsRegex(frame + "[0-9]+ 2\n")) << policyFile;
        EXPECT_THAT(out, testing::ContainsRegex(frame + "[0-9]+ 3\n")) << policyFile;
    }
}

TEST(Profile, TellsTheFileOfLinesElsewhere) {
    Workshop const workshop;
    workshop.write("lib.qcf", "function far() { return true }\n");
    workshop.write("p.qcf", "import \"lib.qcf\"\nfunction f() { return far() }\n");
    workshop.write("r.jsonl", routes);
    String const out =
        workshop.run({"profile", "p.qcf", "--function", "f", "--routes", "r.jsonl"}).out;
    EXPECT_THAT(out, testing::ContainsRegex("\n +line    entered .*"
                                            "\n +2 +5 .*  function f\n"));
    EXPECT_THAT(out, testing::ContainsRegex("\n  [./]*lib.qcf:1 +5 .*  function far\n"));
}

// What was evaluated before the fault is told, whatever other threads have read behind it.
TEST(Profile, CountsTheRoutesBeforeAFault) {
    Workshop const workshop;
    workshop.write("p.qcf", policy);
    String many;
    for (int i = 0; i < 3000; ++i) {
        many += R"({"med": 5})"
                "\n";
    }
    workshop.write("bad.jsonl", many + "{\"med\": -1}\n" + many);
    // So few that their output would not be written but at the end.
    workshop.write("few.jsonl", routes + String("{]\n"));
    workshop.write("good.jsonl", many);
    workshop.shell("gzip -c good.jsonl | head -c -40 >cut.jsonl.gz");
    for (char const * const table : {"few.jsonl", "bad.jsonl", "cut.jsonl.gz"}) {
        String const summary =
            workshop
                .run({"eval", "p.qcf", "--function", "f", "--routes", table, "--output", "none"})
                .out;
        U64 const good = std::stoull(summary.substr(String("routes:").size()));
        ASSERT_GT(good, 0U) << summary;
        for (char const * const threads : {"1", "2"}) {
            Outcome const profiled = workshop.run(
                {"profile", "p.qcf", "--function", "f", "--routes", table, "--threads", threads});
            EXPECT_EQ(profiled.exitCode, 1) << table;
            EXPECT_THAT(profiled.out, testing::StartsWith(std::to_string(good) + " routes: "));
            Outcome const explained =
                workshop.run({"explain", "p.qcf", "--function", "f", "--routes", table, "--format",
                              "json", "--threads", threads});
            EXPECT_EQ(explained.exitCode, 1) << table;
            EXPECT_EQ(linesOf(explained.out).size(), good) << table;
            EXPECT_EQ(explained.err, profiled.err);
            EXPECT_EQ(linesOf(explained.err).size(), 1U) << explained.err;
        }
    }
}

// A document has pointers in place of lines, and lines where its map is given; the counts are those
// of the text.
TEST(Profile, TakesDocuments) {
    Workshop const workshop;
    workshop.write("p.qcf", policy);
    workshop.write("r.jsonl", routes);
    ASSERT_EQ(workshop.run({"compile", "p.qcf", "-o", "p.json", "--map-out", "p.map"}).exitCode, 0);
    std::vector<String> arguments{"profile", "p.json", "--function", "f", "--routes", "r.jsonl"};
    String const out = workshop.run(arguments).out;
    EXPECT_THAT(out, testing::ContainsRegex("    20.0 %  p.json:/nodes/[0-9]+  exit true\n"));
    EXPECT_THAT(out, testing::ContainsRegex("\n +line    entered"));
    EXPECT_THAT(out, testing::ContainsRegex("\n  /functions/[0-9]+ +5 .*  function f\n"));
    EXPECT_THAT(out, testing::ContainsRegex("\n  +/nodes/[0-9]+ +1 .*  exit true\n"));
    arguments.insert(arguments.end(), {"--map", "p.map"});
    EXPECT_THAT(workshop.run(arguments).out, HasSubstr("    20.0 %  p.qcf:6  "));
}

TEST(Profile, CountsSharedNodesOnceAndSaysSo) {
    Workshop const workshop;
    workshop.write("p.json", R"({"qcf":"aet/1","functions":[{"name":"f","body":{"class":"Block",
        "stmts":[{"class":"IfExpression","condition":{"class":"IntIs","lhs":"med","rhs":1},
                  "thenBlock":{"class":"Block","stmts":[{"class":"ReturnExpression","key":77,
                    "expr":{"class":"IntLessThan","lhs":"med","rhs":5}}]}},
                 {"ref":77}]}}]})");
    workshop.write("r.jsonl", "{\"med\":1}\n{\"med\":2}\n{\"med\":9}\n");
    Outcome const outcome =
        workshop.run({"profile", "p.json", "--function", "f", "--routes", "r.jsonl"});
    std::size_t deciding = 0;
    for (std::size_t at = outcome.out.find(" 100.0 %  p.json"); at != String::npos;
         at = outcome.out.find(" 100.0 %  p.json", at + 1)) {
        ++deciding;
    }
    EXPECT_EQ(deciding, 1U) << outcome.out << outcome.err;
    EXPECT_THAT(outcome.out, testing::HasSubstr("(shared *)"));
    EXPECT_THAT(outcome.out, testing::HasSubstr("counted together\n"));
}

TEST(Profile, RefusesWhatEvalRefuses) {
    Workshop const workshop;
    workshop.write("p.qcf", policy + String("function g() { return community matches NONE }\n"));
    workshop.write("r.jsonl", routes);
    Outcome const undefined =
        workshop.run({"profile", "p.qcf", "--function", "g", "--routes", "r.jsonl"});
    EXPECT_EQ(undefined.exitCode, 1);
    EXPECT_THAT(undefined.err, HasSubstr("community list \"NONE\" is not defined"));
    EXPECT_EQ(workshop.run({"profile", "p.qcf", "--function", "h", "--routes", "r.jsonl"}).exitCode,
              1);
    EXPECT_EQ(workshop.run({"profile", "-", "--function", "f", "--routes", "-"}).exitCode, 2);
}

} // namespace Qcf::Command::test
