#include "tests/Command/CommandTools.h"
#include "tests/support/Mutator.h"

#include <gmock/gmock.h>

namespace Qcf::Command::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

String const acceptText = R"({"class": "ReturnExpression", "expr": true})";

struct BadCase {
    char const * what;
    String document;
    String routes;
    String lists;
    String error; ///< how the one line on standard error starts
    std::size_t linesOut;
};

TEST(BadInput, IsToldInOneLineWithItsPlaceBehindWhatWasGood) {
    String const good = document(function("f", acceptText));
    String const misplaced =
        document(function("f", R"({"class": "IntAssign", "lhs": "afi", "rhs": 1})"));
    BadCase const cases[] = {
        {"no document", "", "{}", "", "d.json:", 0},
        {"wrong node", misplaced, "{}", "",
         "d.json:/functions/0/body/stmts/0/lhs: IntAssign.lhs wants IntModifiable, found ", 0},
        {"other function", document(function("g", "") + "," + function("h", "")), "{}", "",
         "d.json: has no function \"f\"; its functions: g, h", 0},
        {"no function", document(""), "{}", "", "d.json: has no function \"f\"", 0},
        {"bad value in a route", good, "{}\n{}\n{\"med\": -1}\n{}\n", "",
         "r:3:/med: wants integer from 0 to 4294967295, found number -1", 2},
        {"bad syntax in a route", good, "{}\n{]\n", "", "r:2:2: ", 1},
        {"neither format", good, "\x01\x02", "", "r: wants MRT or JSON lines, found neither", 0},
        {"bad lists", good, "{}", R"({"qcf": "lists/1", "tagSets": {"T": [-1]}})",
         "l.json:/tagSets/T/0: ", 0},
    };
    Workshop const workshop;
    for (BadCase const & one : cases) {
        workshop.write("d.json", one.document);
        workshop.write("r", one.routes);
        std::vector<String> arguments{"eval",     "d.json", "--function", "f",
                                      "--routes", "r",      "--output",   "jsonl"};
        if (!one.lists.empty()) {
            workshop.write("l.json", one.lists);
            arguments.insert(arguments.end(), {"--lists", "l.json"});
        }
        for (char const * const threads : {"1", "2"}) {
            auto withThreads = arguments;
            withThreads.insert(withThreads.end(), {"--threads", threads});
            Outcome const outcome = workshop.run(withThreads);
            EXPECT_EQ(outcome.exitCode, 1) << one.what;
            EXPECT_THAT(outcome.err, StartsWith(one.error)) << one.what;
            EXPECT_EQ(linesOf(outcome.err).size(), 1U) << one.what;
            EXPECT_EQ(linesOf(outcome.out).size(), one.linesOut) << one.what;
        }
    }
}

TEST(BadInput, FilesThatCannotBeReadAreNamed) {
    Workshop const workshop;
    workshop.write("d.json", document(function("f", acceptText)));
    workshop.write("r.jsonl", "{}\n");
    std::vector<std::vector<String>> const runs = {
        {"eval", "missing", "--function", "f", "--routes", "r.jsonl"},
        {"eval", "d.json", "--function", "f", "--routes", "missing"},
        {"eval", "d.json", "--function", "f", "--routes", "r.jsonl", "--lists", "missing"},
        {"check", "missing"},
        {"check", "d.json", "--lists", "missing"},
        {"dump", "missing"},
    };
    for (auto const & arguments : runs) {
        Outcome const outcome = workshop.run(arguments);
        EXPECT_EQ(outcome.exitCode, 1) << testing::PrintToString(arguments);
        EXPECT_THAT(outcome.err, StartsWith("missing: "));
        EXPECT_THAT(outcome.err, HasSubstr("No such file or directory"));
    }
    Outcome const folder = workshop.run({"eval", "d.json", "--function", "f", "--routes", "."});
    EXPECT_EQ(folder.exitCode, 1);
    EXPECT_EQ(folder.err, ".: reading failed: Is a directory\n");
}

TEST(BadInput, DamagedTablesAreReadAroundTheDamage) {
    Workshop const workshop;
    workshop.write("d.json", document(function("f", acceptText)));
    workshop.run({"generate-table", "--routes", "100", "--out", "t.mrt"});
    String table = workshop.read("t.mrt");
    table.resize(table.size() - 5);
    workshop.write("t.mrt", table);
    Outcome const outcome = workshop.run(
        {"eval", "d.json", "--function", "f", "--routes", "t.mrt", "--output", "none"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, StartsWith("t.mrt: "));
    EXPECT_THAT(outcome.out, testing::ContainsRegex("routes: +9[0-9]\n"));
    EXPECT_THAT(outcome.out, testing::ContainsRegex("damaged records: +1\n"));
}

TEST(BadInput, MutatedInputsEndWithACodeAndAtMostOneErrorLine) {
    constexpr U32 rounds = 150;
    Workshop const workshop;
    String const policy =
        workshop.shell("cat '" QCF_SOURCE_DIR "/examples/import-filter.json'").out;
    String const routes = R"({"prefix": "10.0.0.0/8", "as_path": "1 2", "community": ["1:2"]})"
                          "\n"
                          R"({"prefix": "11.0.0.0/8", "med": 300, "origin": 2})"
                          "\n";
    U32 failures = 0;
    for (U32 round = 0; round < rounds; ++round) {
        Mutator mutator(round);
        workshop.write("d.json", round % 2 == 0 ? mutator.mutate(policy) : policy);
        workshop.write("r.jsonl", round % 2 == 0 ? routes : mutator.mutate(routes));
        Outcome const outcome = workshop.run({"eval", "d.json", "--function", "import_filter",
                                              "--routes", "r.jsonl", "--output", "jsonl"});
        ASSERT_TRUE(outcome.exitCode == 0 || outcome.exitCode == 1) << round << outcome.err;
        EXPECT_EQ(linesOf(outcome.err).size(), outcome.exitCode == 0 ? 0U : 1U) << outcome.err;
        failures += outcome.exitCode == 1 ? 1 : 0;
    }
    EXPECT_GT(failures, rounds / 2);
}

TEST(BadInput, OfATextIsToldWithItsLineByAllCommands) {
    Workshop const workshop;
    workshop.write("p.qcf", "list community_list C { permit 1:2 }\nfunction f() { return true }\n");
    workshop.write("d.json", document(function("f", acceptText)));
    workshop.write("r", "{}\n");
    std::vector<String> const evaluated{"--function", "f", "--routes", "r"};
    auto const with = [&evaluated](std::vector<String> words) {
        words.insert(words.end(), evaluated.begin(), evaluated.end());
        return words;
    };
    std::vector<String> const calls[] = {
        {"check", "p.qcf"},
        {"check", "d.json", "--lists", "p.qcf"},
        {"compile", "p.qcf"},
        {"dump", "p.qcf"},
        {"publish", "p.qcf", "--redis", "redis://none", "--name", "n"},
        with({"eval", "p.qcf"}),
        with({"eval", "d.json", "--lists", "p.qcf"}),
        with({"explain", "p.qcf"}),
        with({"profile", "p.qcf"}),
        with({"diff", "p.qcf", "d.json"})};
    for (auto const & call : calls) {
        Outcome const outcome = workshop.run(call);
        EXPECT_EQ(outcome.exitCode, 1);
        auto const lines = linesOf(outcome.err);
        ASSERT_GE(lines.size(), 3U) << testing::PrintToString(call) << outcome.err;
        EXPECT_THAT(lines[0], StartsWith("p.qcf:1:32: error: "));
        EXPECT_EQ(lines[1], "    list community_list C { permit 1:2 }");
        EXPECT_EQ(lines[2], String(35, ' ') + '^');
    }
}

} // namespace
} // namespace Qcf::Command::test
