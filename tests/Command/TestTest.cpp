#include "tests/Command/CommandTools.h"

#include <gmock/gmock.h>

namespace Qcf::Command::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

/// 13 lines; tests follow from line 14 on.
constexpr char const * policy = R"(list roa_table RPKI { 1.1.1.0/24 max 24 AS13335 }
function helper(int limit) {
  if as_path.length > limit { return false because long }
  return true
}
function take() {
  if match_origin_as_validity(roa_table RPKI, invalid) { exit false because rpki-invalid }
  if not helper(3) { return false }
  med = 7
  community add { 65000:1 }
  return true
}
function open_end() { med = 1 }
)";

String textWith(String const & test) { return policy + test + '\n'; }

/// The lines that are told of the file's tests.
std::vector<String> toldOf(String const & test) {
    Workshop const workshop;
    workshop.write("p.qcf", textWith(test));
    Outcome const outcome = workshop.run({"test", "p.qcf"});
    std::vector<String> lines = linesOf(outcome.out);
    if (lines.empty()) {
        return {"nothing is told"};
    }
    EXPECT_EQ(outcome.exitCode, lines.back() == "1 passed, 0 failed" ? 0 : 1) << outcome.out;
    EXPECT_EQ(outcome.err, "");
    lines.erase(lines.begin());
    lines.pop_back();
    return lines;
}

struct Case {
    char const * test;
    std::vector<String> told; ///< without the first line, which names the test
};

Case const failures[] = {
    {R"(test "t" take() { route { prefix 1.1.1.0/24; as_path "1 13335" }
  expect reject })",
     {"expected reject, found accept at line 11: return true"}},
    {R"(test "t" take() { route { prefix 1.1.1.0/24; as_path "1 2" }
  expect reject because long })",
     {"expected reject because long, found reject (exit) because rpki-invalid at line 7: exit "
      "false because rpki-invalid"}},
    {R"(test "t" take() { route { prefix 9.9.9.0/24; as_path "1 2 3 4" }
  expect reject exit })",
     {"expected reject (exit), found reject at line 8: return false"}},
    {R"(test "t" open_end() { route { prefix 9.9.9.0/24 }
  expect accept })",
     {"expected accept, found unknown: the function came to its end"}},
    {R"(test "t" helper(0) { route { prefix 9.9.9.0/24; as_path "1" }
  expect accept })",
     {"expected accept, found reject at line 3: return false because long"}},
    {R"(test "t" take() { route { prefix 9.9.9.0/24 }
  expect accept { med is 8; community has all { 65000:1 }; med < 7 } })",
     {"line 15: med is 8  false", "line 15: med < 7  false"}},
    {R"(test "t" take() { route { prefix 9.9.9.0/24; med 7 }
  expect accept { unchanged } })",
     {R"(expected community unchanged, found [] -> ["65000:1"])"}},
    {R"(test "t" take() { route { prefix 9.9.9.0/24 }
  expect accept { changes only { community, local_preference } } })",
     {"expected med unchanged, found 0 -> 7"}},
    {R"(test "t" take() { route { prefix 9.9.9.0/24 }
  expect accept { next_hop_self } })",
     {"expected next_hop_self, found the next hop not set to self"}},
    {R"(test "t" set_next_hop_self() {
  route { prefix 9.9.9.0/24; session { outbound true } }
  expect accept { unchanged } })",
     {"expected unchanged, found the next hop set to self"}},
    {R"(test "t" take() { route { prefix 9.9.9.0/24 }
  route { prefix 1.1.1.0/24; as_path "7" }
  expect accept })",
     {"route 2 of 2, line 15:",
      "expected accept, found reject (exit) at line 7: exit false because rpki-invalid"}},
    {R"(test "t" take() { bind { roa_table RPKI { 9.9.9.0/24 max 24 AS1 } }
  route { prefix 9.9.9.0/24; as_path "2" }
  expect accept })",
     {"expected accept, found reject (exit) at line 7: exit false because rpki-invalid"}},
    {R"(test "t" take() { route { prefix 9.9.9.0/24 }
  expect accept { community matches NOBODYS } })",
     {"p.qcf:15:19: community list \"NOBODYS\" is not defined"}},
    {R"(test "t" take() { route from "r.jsonl" 3
  expect accept })",
     {"r.jsonl: No such file or directory"}},
};

Case const passes[] = {
    {R"(test "t" take() { route { prefix 9.9.9.0/24; as_path "1 2 3 4" } expect reject })", {}},
    {R"(test "t" helper(3) { route { prefix 9.9.9.0/24 } expect accept { unchanged } })", {}},
    {R"(test "t" helper(0) { route { prefix 9.9.9.0/24; as_path "1" } expect reject because long })",
     {}},
    {R"(test "t" open_end() { route { prefix 9.9.9.0/24 } expect unknown })", {}},
    {R"(test "t" match_origin_as_validity(roa_table RPKI, valid) {
      bind { roa_table RPKI { 9.9.9.0/24 max 24 AS2 } }
      route { prefix 9.9.9.0/24; as_path "1 2" } expect accept })",
     {}},
    {R"(test "t" take() { route { prefix 9.9.9.0/24; med 7; community { 65000:1 } }
      expect accept { unchanged; med is 7; changes only { weight } } })",
     {}},
    {R"(test "t" set_next_hop_self() { route { prefix 9.9.9.0/24; next_hop 1.2.3.4;
      session { outbound true } } expect accept { next_hop_self; changes only { next_hop } } })",
     {}},
};

} // namespace

TEST(Test, TellsWhatItFoundInPlaceOfWhatWasExpected) {
    for (Case const & each : failures) {
        auto told = toldOf(each.test);
        ASSERT_FALSE(told.empty()) << each.test;
        EXPECT_THAT(told.front(), MatchesRegex("  FAIL  t {56}p.qcf:1[4-6]")) << each.test;
        told.erase(told.begin());
        std::size_t next = 0;
        for (String const & line : each.told) {
            ASSERT_LT(next, told.size()) << each.test << line;
            EXPECT_THAT(told[next++], StartsWith("        " + line)) << each.test;
        }
        // What follows are tests that led to the verdict.
        for (; next < told.size(); ++next) {
            EXPECT_THAT(told[next], MatchesRegex("        line [0-9]+: .*(true|false|unknown).*"));
        }
    }
}

// The test that led to a verdict is told with the values that it read.
TEST(Test, TellsWhatWasRead) {
    auto const told = toldOf(R"(test "t" take() { route { prefix 1.1.1.0/24; as_path "1 2" }
  expect accept })");
    EXPECT_THAT(told, testing::Contains(testing::AllOf(
                          StartsWith("        line 7: match_origin_as_validity(roa_table RPKI, "
                                     "invalid)  true"),
                          HasSubstr("1.1.1.0/24"))));
    EXPECT_THAT(toldOf(R"(test "t" take() { route { prefix 9.9.9.0/24 }
  expect accept { med is 8 } })"),
                testing::Contains(testing::AllOf(StartsWith("        line 15: med is 8  false"),
                                                 HasSubstr("7"))));
}

TEST(Test, PassesWhatIsAsExpected) {
    for (Case const & each : passes) {
        EXPECT_THAT(toldOf(each.test), ElementsAre("  ok    t")) << each.test;
    }
}

// A recorded route is looked for beside the text, not where the command was started.
TEST(Test, TakesRecordedRoutes) {
    Workshop const workshop;
    workshop.shell("mkdir d");
    workshop.write("d/r.jsonl",
                   "{\"prefix\":\"1.1.1.0/24\"}\n{\"prefix\":\"9.9.9.0/24\",\"med\":5}\n");
    workshop.write("d/p.qcf", textWith(R"(test "one" take() { route from "r.jsonl" 1
        expect accept { input.med is 7 } }
      test "none" take() { route from "r.jsonl" 2 expect accept })"));
    Outcome const outcome = workshop.run({"test", "d"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.out, HasSubstr("  ok    one\n"));
    EXPECT_THAT(outcome.out,
                HasSubstr("d/p.qcf:16:34: wants route 2 of d/r.jsonl, found 2 routes"));
}

// Imported texts bring functions and lists, and their tests stay at home; a damaged text keeps no
// other from being tested.
TEST(Test, RunsEachTextOfADirectoryByItself) {
    Workshop const workshop;
    workshop.shell("mkdir -p d/below");
    workshop.write("d/common.qcf", textWith(R"(test "at home" helper(1) { route { prefix 1.0.0.0/8 }
        expect accept })"));
    workshop.write("d/below/p.qcf", R"(import "../common.qcf"
function mine() { return helper(2) }
test "by import" mine() { route { prefix 1.0.0.0/8 } expect accept }
)");
    workshop.write("d/broken.qcf", "function f() { return == }\n");
    workshop.write("d/notes.txt", "no policy\n");
    Outcome const outcome = workshop.run({"test", "d", "d/common.qcf"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, "d/below/p.qcf\n  ok    by import\n"
                           "d/broken.qcf\n  FAIL  the text has errors\n"
                           "d/common.qcf\n  ok    at home\n"
                           "2 passed, 0 failed, 1 with errors\n");
    EXPECT_THAT(outcome.err, HasSubstr("d/broken.qcf:1:23: error: "));
    EXPECT_EQ(workshop.run({"test", "d/below"}).exitCode, 0);
    EXPECT_EQ(workshop.run({"test", "d/none.qcf"}).exitCode, 1);
}

TEST(Test, RunsWhatIsAskedFor) {
    Workshop const workshop;
    workshop.write("p.qcf", textWith(R"(test "alpha one" helper(1) { route { } expect accept }
test "beta" helper(1) { route { } expect reject })"));
    workshop.write("none.qcf", policy);
    struct Row {
        std::vector<String> arguments;
        int exitCode;
        char const * last;
    };
    Row const rows[] = {
        {{"p.qcf"}, 1, "1 passed, 1 failed"},
        {{"p.qcf", "--run", "^alpha"}, 0, "1 passed, 0 failed"},
        {{"p.qcf", "--run", "gamma"}, 0, "0 passed, 0 failed"},
        {{"p.qcf", "--run", "gamma", "--fail-on-empty"}, 1, "0 passed, 0 failed"},
        {{"none.qcf"}, 0, "0 passed, 0 failed"},
        {{"none.qcf", "--fail-on-empty"}, 1, "0 passed, 0 failed"},
        {{"p.qcf", "--run", "("}, 2, ""},
        {{"p.qcf", "--min", "101"}, 2, ""},
        {{"p.qcf", "--min", "nan"}, 2, ""},
        {{"p.qcf", "--min", "x"}, 2, ""},
        {{"p.qcf", "--min-branches", "-nan"}, 2, ""},
        {{"p.qcf", "--lcov", "-"}, 2, ""},
        {{"-", "--lists", "-"}, 2, ""},
        {{"./p.qcf", "p.qcf", "././p.qcf", "."}, 1, "1 passed, 1 failed"},
        {{"p.qcf", "--format", "yaml"}, 2, ""},
        {{}, 2, ""},
    };
    for (Row const & row : rows) {
        std::vector<String> arguments{"test"};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        Outcome const outcome = workshop.run(arguments);
        auto const lines = linesOf(outcome.out);
        EXPECT_EQ(outcome.exitCode, row.exitCode) << row.last;
        EXPECT_EQ(lines.empty() ? "" : lines.back(), row.last);
    }
}

// --lists wins over the text, a test's own list over both.
TEST(Test, BindsListsInTheirOrder) {
    Workshop const workshop;
    workshop.write("p.qcf",
                   textWith(R"(test "outer" take() { route { prefix 1.1.1.0/24; as_path "7" }
        expect accept }
      test "own" take() { bind { roa_table RPKI { 1.1.1.0/24 max 24 AS8 } }
        route { prefix 1.1.1.0/24; as_path "7" } expect reject exit })"));
    workshop.write("l.qcf", "list roa_table RPKI { 1.1.1.0/24 max 24 AS7 }\n");
    EXPECT_EQ(workshop.run({"test", "p.qcf"}).exitCode, 1);
    Outcome const bound = workshop.run({"test", "p.qcf", "--lists", "l.qcf"});
    EXPECT_EQ(bound.exitCode, 0) << bound.out << bound.err;
}

TEST(Test, CountsWhatWasReached) {
    Workshop const workshop;
    workshop.write("p.qcf",
                   textWith(R"(test "t" take() { route { prefix 9.9.9.0/24 } expect accept })"));
    Outcome const outcome = workshop.run({"test", "p.qcf", "--coverage"});
    EXPECT_EQ(outcome.exitCode, 0);
    auto const lines = linesOf(outcome.out);
    ASSERT_EQ(lines.size(), 4U) << outcome.out;
    EXPECT_EQ(lines[2], "1 passed, 0 failed; statements 7 of 11 (63.6 %), conditions both ways 0 "
                        "of 4");
    EXPECT_EQ(lines[3],
              "  not reached: 3 return false because long; 7 exit false because rpki-invalid; 8 "
              "return false; 13 med = 1 | never true: 3 as_path.length > limit; 7 "
              "match_origin_as_validity(roa_table RPKI, invalid); 8 not helper(3) | never false: 8 "
              "helper(3)");
}

// The second text reaches what the first one did not; together they reach all of the import.
TEST(Test, AddsUpFilesThatSeveralTextsImport) {
    Workshop const workshop;
    workshop.write("common.qcf", "function short() {\n  if as_path.length > 3 {\n    return false\n"
                                 "  }\n  return true\n}\nfunction unused() { return true }\n");
    for (char const * const path : {"1", "1 2 3 4"}) {
        bool const isShort = String(path) == "1";
        workshop.write(isShort ? "a.qcf" : "b.qcf",
                       String("import \"common.qcf\"\nfunction f() { return short() }\ntest \"t\" "
                              "f() { route { as_path \"") +
                           path + "\" } expect " + (isShort ? "accept" : "reject") + " }\n");
    }
    EXPECT_THAT(workshop.run({"test", "a.qcf", "--coverage"}).out,
                HasSubstr("statements 3 of 4 (75.0 %), conditions both ways 0 of 1\n"));
    EXPECT_THAT(workshop.run({"test", "a.qcf", "b.qcf", "--coverage"}).out,
                HasSubstr("statements 5 of 5 (100.0 %), conditions both ways 1 of 1\n"));
    EXPECT_THAT(workshop.run({"test", "common.qcf", "--coverage"}).out,
                HasSubstr("statements 0 of 4"));
}

// However a file is reached, it is one file.
TEST(Test, CountsAFileOfSeveralSpellingsOnce) {
    Workshop const workshop;
    workshop.shell("mkdir d");
    workshop.write("lib.qcf", "function two() {\n  if med is 1 { return false }\n  return true\n}\n"
                              "test \"t\" two() { route { med 1 } expect reject }\n");
    for (char const * const path : {"lib.qcf", "./lib.qcf", "././lib.qcf", "d/../lib.qcf"}) {
        workshop.write(String("by") + std::to_string(String(path).size()) + ".qcf",
                       String("import \"") + path +
                           "\"\ntest \"t\" two() { route { } expect accept }\n");
    }
    Outcome const outcome =
        workshop.run({"test", ".", "./lib.qcf", "--coverage", "--lcov", "lcov.info"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, testing::EndsWith("5 passed, 0 failed; statements 3 of 3 (100.0 %), "
                                               "conditions both ways 1 of 1\n"));
    EXPECT_THAT(workshop.read("lcov.info"), StartsWith("TN:\nSF:lib.qcf\n"));
    EXPECT_EQ(workshop.shell("grep -c SF: lcov.info").out, "1\n");
}

// What cannot be read is told with its path and fails the run; the rest is tested.
TEST(Test, TellsWhatItCannotRead) {
    Workshop const workshop;
    String const passing = "function f() { return true }\n"
                           "test \"t\" f() { route { } expect accept }\n";
    // A path that is too long is one that nobody can read, whatever rights they have.
    workshop.shell("mkdir deep; cd deep; n=$(printf 'x%.0s' {1..250}); "
                   "for i in {1..20}; do mkdir $n && cd $n; done");
    workshop.write("p.qcf", passing);
    Outcome const deep = workshop.run({"test", ".", "--format", "json"});
    EXPECT_EQ(deep.exitCode, 1);
    EXPECT_THAT(deep.err, testing::AllOf(StartsWith("deep/xxx"),
                                         testing::EndsWith("found \"File name too long\"\n")));
    EXPECT_THAT(deep.out, HasSubstr(R"("file":"p.qcf","test":"t")"));
    workshop.shell("rm -r deep; mkdir d; ln -s nowhere.qcf d/lost.qcf; ln -s none d/x.txt");
    Outcome const lost = workshop.run({"test", "."});
    EXPECT_EQ(lost.exitCode, 1);
    EXPECT_EQ(lost.err, "d/lost.qcf: wants a readable file, found \"No such file or directory\"\n");
    EXPECT_THAT(lost.out, HasSubstr("p.qcf\n  ok    t\n1 passed, 0 failed, 1 with errors\n"));
}

// Whoever only looks at the first line still learns by the exit code what came of it.
TEST(Test, EndsAsTheTestsDidWhereNobodyReads) {
    Workshop const workshop;
    String tests = "function f() { return true }\n";
    for (int i = 0; i < 3000; ++i) {
        tests += "test \"a title that fills the pipe until it is full " + std::to_string(i) +
                 "\" f() { route { } expect accept }\n";
    }
    workshop.write("good.qcf", tests);
    workshop.write("z.qcf", "function f() { return true }\n"
                            "test \"t\" f() { route { } expect reject }\n");
    for (char const * const format : {"text", "json", "junit"}) {
        Outcome const failed =
            workshop.shell("$QCF test good.qcf z.qcf --lcov lcov.info --format " + String(format) +
                           " | head -1 >/dev/null; exit ${PIPESTATUS[0]}");
        EXPECT_EQ(failed.exitCode, 1) << format;
        EXPECT_THAT(workshop.read("lcov.info"), HasSubstr("SF:z.qcf\n")) << format;
        workshop.shell("rm -f lcov.info");
    }
    EXPECT_EQ(
        workshop.shell("$QCF test good.qcf | head -1 >/dev/null; exit ${PIPESTATUS[0]}").exitCode,
        0);
}

TEST(Test, WantsTheThresholds) {
    Workshop const workshop;
    workshop.write("p.qcf",
                   textWith(R"(test "t" take() { route { prefix 9.9.9.0/24 } expect accept })"));
    struct Row {
        std::vector<String> options;
        int exitCode;
        char const * err;
    };
    Row const rows[] = {
        {{"--min", "63.6"}, 0, ""},
        {{"--min", "64"}, 1, "statements: wants at least 64 %, found 63.6 %\n"},
        {{"--min-branches", "0"}, 0, ""},
        {{"--min-branches", "1"}, 1, "conditions both ways: wants at least 1 %, found 0.0 %\n"},
    };
    for (Row const & row : rows) {
        std::vector<String> arguments{"test", "p.qcf"};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        Outcome const outcome = workshop.run(arguments);
        EXPECT_EQ(outcome.exitCode, row.exitCode) << row.err;
        EXPECT_EQ(outcome.err, row.err);
    }
}

// Where it can be unknown a condition is to be seen so.
TEST(Test, WantsUnknownWhereItCanBe) {
    Workshop const workshop;
    String const text = R"(list prefix_list V4 v4 { permit 10.0.0.0/8 le 32 }
function f() { if prefix matches covered V4 { return true } return false }
test "t" f() { route { prefix 10.0.0.0/8 } expect accept }
test "f" f() { route { prefix 11.0.0.0/8 } expect reject }
)";
    workshop.write("p.qcf", text);
    EXPECT_THAT(workshop.run({"test", "p.qcf", "--coverage"}).out,
                HasSubstr("both ways 0 of 1\n  never unknown: 2 prefix matches covered V4\n"));
    workshop.write("p.qcf", text + "test \"u\" f() { route { prefix ::/0 } expect reject }\n");
    EXPECT_THAT(workshop.run({"test", "p.qcf", "--coverage"}).out, HasSubstr("both ways 1 of 1\n"));
}

} // namespace Qcf::Command::test
