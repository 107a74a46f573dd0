#include "tests/Command/CommandTools.h"
#include "tests/support/Compressed.h"

#include <tuple>

#include <gmock/gmock.h>

/// Several files given with --routes are one table, whoever asks it.
namespace Qcf::Command::test {
namespace {

using testing::HasSubstr;

class SeveralFiles : public testing::Test {
protected:
    SeveralFiles() {
        workshop.write("p.json", document(function("f", R"({"class": "ReturnExpression",
            "expr": {"class": "IntIs", "lhs": "med", "rhs": 7}})")));
        workshop.write("a.jsonl", lines(0, 600));
        workshop.write("b.jsonl.gz", Qcf::test::gzipped(lines(5, 5)));
        workshop.write("c.jsonl", lines(5, 3));
    }

    static String lines(U32 first, U32 count) {
        String text;
        for (U32 i = first; i < first + count; ++i) {
            text += "{\"prefix\": \"10.0.0.0/8\", \"med\": " + std::to_string(i) + "}\n";
        }
        return text;
    }
    Outcome run(String const & command, std::vector<String> more, String const & input = {}) const {
        std::vector<String> words = {command, "p.json", "--function", "f"};
        words.insert(words.end(), more.begin(), more.end());
        return workshop.run(words, input);
    }

    Workshop const workshop;
    std::vector<String> const files = {"--routes",   "a.jsonl",  "--routes",
                                       "b.jsonl.gz", "--routes", "c.jsonl"};
};

TEST_F(SeveralFiles, TheirRoutesAreNumberedOnAndNameTheirFile) {
    for (char const * const threads : {"1", "2", "5"}) {
        auto words = files;
        words.insert(words.end(), {"--output", "jsonl", "--threads", threads});
        Outcome const outcome = run("eval", words);
        EXPECT_EQ(outcome.err, "");
        auto const routes = linesOf(outcome.out);
        ASSERT_EQ(routes.size(), 608);
        for (auto const & [number, file, result] :
             {std::tuple(599, "a.jsonl", "false"), std::tuple(600, "b.jsonl.gz", "false"),
              std::tuple(602, "b.jsonl.gz", "true"), std::tuple(607, "c.jsonl", "true")}) {
            EXPECT_THAT(routes[static_cast<std::size_t>(number)],
                        HasSubstr("{\"route\":" + std::to_string(number) + ",\"file\":\"" + file +
                                  "\",\"prefix\":\"10.0.0.0/8\",\"result\":\"" + result + "\""));
        }
    }
    Outcome const one = run("eval", {"--routes", "c.jsonl", "--output", "jsonl"});
    EXPECT_EQ(one.out.find("\"file\""), String::npos) << one.out;
}

TEST_F(SeveralFiles, AreAskedByAllCommands) {
    auto with = [&](std::vector<String> const & more) {
        auto words = files;
        words.insert(words.end(), more.begin(), more.end());
        return words;
    };
    EXPECT_THAT(run("eval", with({"--output", "none"})).out, HasSubstr("608"));
    EXPECT_THAT(run("explain", with({"--route", "602"})).out, HasSubstr("602"));
    EXPECT_EQ(run("explain", with({"--route", "608"})).err,
              "a.jsonl, b.jsonl.gz, c.jsonl: route 608 is not in the table, or not selected\n");
    EXPECT_THAT(run("profile", with({"--threads", "2"})).out, HasSubstr("608"));
    auto const diff = workshop.run({"diff", "p.json", "p.json", "--function", "f", "--routes",
                                    "a.jsonl", "--routes", "c.jsonl"});
    EXPECT_THAT(diff.out, HasSubstr("603"));
    EXPECT_EQ(run("report", with({"-o", "page.html"})).exitCode, 0);
    EXPECT_THAT(workshop.read("page.html"), HasSubstr("a.jsonl, b.jsonl.gz, c.jsonl"));
}

TEST_F(SeveralFiles, MayBeStandardInputOnce) {
    Outcome const outcome =
        run("eval", {"--routes", "c.jsonl", "--routes", "-", "--output", "jsonl", "--threads", "2"},
            lines(7, 1));
    EXPECT_EQ(linesOf(outcome.out).size(), 4);
    EXPECT_THAT(outcome.out, HasSubstr("{\"route\":3,\"file\":\"-\""));
    for (char const * const command : {"eval", "explain", "profile"}) {
        Outcome const twice = run(command, {"--routes", "-", "--routes", "-"});
        EXPECT_EQ(twice.exitCode, 2) << command;
        EXPECT_THAT(twice.err, HasSubstr("only one file can be standard input"));
    }
    EXPECT_THAT(run("report", {"--routes", "a.jsonl", "--routes", "c.jsonl", "-o", "c.jsonl"}).err,
                HasSubstr("c.jsonl is named twice"));
    Outcome const missing = run("eval", {"--routes", "c.jsonl", "--routes", "none"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "none: No such file or directory\n");
}

} // namespace
} // namespace Qcf::Command::test
