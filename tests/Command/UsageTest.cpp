#include "tests/Command/CommandTools.h"

#include <gmock/gmock.h>

namespace Qcf::Command::test {
namespace {

using testing::HasSubstr;

struct UsageCase {
    std::vector<String> arguments;
    char const * error; ///< stands in the one line on standard error
};

TEST(Usage, WrongArgumentsAreToldInOneLine) {
    UsageCase const cases[] = {
        {{}, "qcf: A subcommand is required; see qcf --help"},
        {{"frobnicate"}, "qcf: has no command \"frobnicate\"; see qcf --help"},
        {{"--frobnicate"}, "qcf: has no option \"--frobnicate\"; see qcf --help"},
        {{"eval"}, "qcf eval: document is required; see qcf eval --help"},
        {{"eval", "d.json", "--routes", "r"}, "--function is required"},
        {{"eval", "d.json", "--function", "f"}, "--routes is required"},
        {{"eval", "d", "--function", "f", "--routes", "r", "--output", "xml"}, "--output"},
        {{"eval", "d", "--function", "f", "--routes", "r", "--threads", "0"}, "from 1 to 256"},
        {{"eval", "d", "--function", "f", "--routes", "r", "--threads", "257"}, "from 1 to 256"},
        {{"eval", "d", "--function", "f", "--routes", "r", "--limit", "-1"}, "found \"-1\""},
        {{"eval", "d", "--function", "f", "--routes", "r", "--limit", "1e3"}, "found \"1e3\""},
        {{"eval", "d", "--function", "f", "--routes", "r", "extra"}, "extra"},
        {{"eval", "-", "--function", "f", "--routes", "-"}, "only one file can be standard input"},
        {{"explain", "d", "--function", "f", "--map", "-", "--routes", "-"},
         "only one file can be standard input"},
        {{"check"}, "document is required"},
        {{"check", "-", "--lists", "-"}, "only one file can be standard input"},
        {{"dump", "d.json", "--format", "yaml"}, "--format"},
        {{"fmt"}, "files is required"},
        {{"nodes", "--format", "xml"}, "--format"},
        {{"generate-table", "--out", "t"}, "--routes is required"},
        {{"generate-table", "--routes", "18446744073709551616", "--out", "t"}, "--routes"},
        {{"generate-table", "--routes", "0x10", "--out", "t"}, "found \"0x10\""},
        {{"generate-table", "--routes", "1", "--sharing", "some", "--out", "t"}, "--sharing"},
    };
    Workshop const workshop;
    for (UsageCase const & one : cases) {
        Outcome const outcome = workshop.run(one.arguments);
        String const called = testing::PrintToString(one.arguments);
        EXPECT_EQ(outcome.exitCode, 2) << called;
        EXPECT_EQ(outcome.out, "") << called;
        EXPECT_THAT(outcome.err, HasSubstr(one.error)) << called;
        EXPECT_EQ(linesOf(outcome.err).size(), 1U) << called << outcome.err;
    }
}

TEST(Usage, HelpExplainsEveryCommandWithAnExample) {
    Workshop const workshop;
    Outcome const help = workshop.run({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.err, "");
    for (char const * const command : {"eval", "check", "dump", "fmt", "nodes", "generate-table"}) {
        EXPECT_THAT(help.out, HasSubstr(String("\n  ") + command + ' '));
        Outcome const own = workshop.run({command, "--help"});
        EXPECT_EQ(own.exitCode, 0) << command;
        EXPECT_THAT(own.out, HasSubstr("\nExample:\n  qcf " + String(command) + ' '));
    }
    Outcome const version = workshop.run({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_THAT(version.out, testing::MatchesRegex("qcf [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(Usage, OutputThatCannotBeWrittenIsAnError) {
    Workshop const workshop;
    std::vector<String> const evaluating{"eval", "d.json",   "--function",
                                         "f",    "--routes", "r.jsonl"};
    workshop.write("d.json", document(function("f", "")));
    workshop.write("r.jsonl", "{}\n");
    for (auto const & arguments : {evaluating, {"nodes"}, {"--help"}, {"dump", "d.json"}}) {
        Outcome const outcome = workshop.run(arguments, "", "/dev/full");
        EXPECT_EQ(outcome.exitCode, 1) << testing::PrintToString(arguments);
        EXPECT_THAT(outcome.err, HasSubstr("standard output: No space left on device\n"));
        EXPECT_EQ(linesOf(outcome.err).size(), 1U);
    }
    Outcome const table =
        workshop.run({"generate-table", "--routes", "100000", "--out", "/dev/full"});
    EXPECT_EQ(table.exitCode, 1);
    EXPECT_THAT(table.err, HasSubstr("/dev/full: No space left on device\n"));
    Outcome const nowhere = workshop.run({"generate-table", "--routes", "1", "--out", "no/where"});
    EXPECT_EQ(nowhere.exitCode, 1);
    EXPECT_THAT(nowhere.err, HasSubstr("no/where: No such file or directory\n"));
}

TEST(Usage, AReaderThatGoesAwayEndsTheCommandQuietly) {
    Workshop const workshop;
    workshop.write("d.json", document(function("f", "")));
    Outcome const outcome = workshop.shell(
        "$QCF generate-table --routes 100000 --out - | $QCF eval d.json --function f --routes - "
        "--output jsonl --threads 2 | head -n 2; echo ${PIPESTATUS[*]}");
    EXPECT_EQ(outcome.err, "");
    auto const lines = linesOf(outcome.out);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[2], "0 0 0");
}

} // namespace
} // namespace Qcf::Command::test
