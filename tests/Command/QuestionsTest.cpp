#include "Platform/Render/JsonDocument.h"
#include "tests/Command/CommandTools.h"

#include <gmock/gmock.h>

/// What the commands show of flips and mutants.
namespace Qcf::Command::test {
namespace {

using testing::HasSubstr;

constexpr char const * policyText = R"(list prefix_list SHORT v4 { permit 0.0.0.0/0 le 24 }
function take() {
  if not prefix matches SHORT {
    return false because length
  }
  return med < 50
}
)";
constexpr char const * tests = R"(test "low" take() {
  route { prefix 10.0.0.0/24; med 49 }
  expect accept
}
test "high" take() {
  route { prefix 10.0.0.0/24; med 50 }
  route { prefix 10.0.0.0/25; med 4 }
  expect reject
}
)";

// Each told route is one that eval reads, and has the verdict that was told.
TEST(Flips, OfJsonAreRoutesThatFlip) {
    Workshop const workshop;
    workshop.write("p.qcf", policyText);
    workshop.write("r.jsonl", "{\"prefix\": \"10.0.0.0/25\", \"med\": 7}\n"
                              "{\"prefix\": \"10.0.0.0/24\", \"med\": 60}\n");
    std::vector<String> const explain{"explain", "p.qcf",  "--function", "take",     "--routes",
                                      "r.jsonl", "--flip", "accept",     "--format", "json"};
    Outcome const told = workshop.run(explain);
    ASSERT_EQ(told.exitCode, 0) << told.err;
    U64 flips = 0;
    for (String const & line : linesOf(told.out)) {
        JsonDocument const document = JsonDocument::parse(line, "flips");
        for (JsonValue const flip : document.root().find("flips")->expectArray()) {
            EXPECT_EQ(flip.find("verdict")->asString(), "true");
            EXPECT_EQ(flip.find("decidedBy")->find("line")->numberText(), "6");
            auto const at = line.find("\"route\":{");
            ASSERT_NE(at, String::npos);
            auto const end = line.find("}", at) + 1;
            workshop.write("f.jsonl", line.substr(at + 8, end - at - 8) + '\n');
            Outcome const fed = workshop.run({"eval", "p.qcf", "--function", "take", "--routes",
                                              "f.jsonl", "--output", "jsonl"});
            EXPECT_THAT(fed.out, HasSubstr("\"result\":\"true\""));
            ++flips;
        }
    }
    EXPECT_EQ(flips, 2);
    EXPECT_THAT(told.out, HasSubstr("\"attribute\":\"med\",\"from\":60,\"to\":49,\"distance\":11"));
    EXPECT_THAT(told.out, HasSubstr("\"complete\":[\"med\"]"));
    auto plain = explain;
    plain.erase(plain.begin() + 6, plain.begin() + 8);
    EXPECT_THAT(workshop.run(plain).out, testing::Not(HasSubstr("flip")));
}

TEST(Flips, AreTheSameByAnyNumberOfThreads) {
    Workshop const workshop;
    workshop.write("p.qcf", policyText);
    String routes;
    for (U32 i = 0; i < 300; ++i) {
        routes += "{\"prefix\": \"0.0.0.0/" + std::to_string(i % 33) +
                  "\", \"med\": " + std::to_string(i) + "}\n";
    }
    workshop.write("r.jsonl", routes);
    std::vector<String> arguments{"explain",  "p.qcf",   "--function", "take",
                                  "--routes", "r.jsonl", "--flip",     "any"};
    Outcome const one = workshop.run(arguments);
    EXPECT_THAT(one.out, HasSubstr("  flips: prefix length 32 -> 24 (accepted, line 6)"));
    arguments.insert(arguments.end(), {"--threads", "4"});
    EXPECT_EQ(workshop.run(arguments).out, one.out);
}

TEST(Mutants, DecideTheExitCode) {
    Workshop const workshop;
    workshop.write("p.qcf", String(policyText) + tests);
    struct Row {
        std::vector<String> arguments;
        int exitCode;
        char const * told;
    };
    Row const rows[] = {
        {{"--mutants"}, 0, "2 passed, 0 failed\nmutants "},
        {{"--min-killed", "50"}, 0, "killed ("},
        {{"--min-killed", "100"}, 1, "  survived: p.qcf:1:36  0.0.0.0/0 -> 0.0.0.0/1   list "},
        {{"--mutants", "--max", "3"}, 0, " more not tried\n"},
        {{"--mutants", "--threads", "3", "--format", "json"}, 0, "{\"line\":1,\"column\":36,"},
        {{"--mutants", "--run", "low"}, 0, "1 passed, 0 failed\nmutants "},
        {{"--min-killed", "1", "--run", "nothere"}, 1, "no mutant was tried\n"},
        {{"--mutants", "--format", "junit"}, 2, ""},
        {{"--max", "0"}, 2, ""},
        {{}, 0, "2 passed, 0 failed\n"},
    };
    for (Row const & row : rows) {
        std::vector<String> arguments{"test", "p.qcf"};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        Outcome const outcome = workshop.run(arguments);
        EXPECT_EQ(outcome.exitCode, row.exitCode) << outcome.out << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(row.told));
    }
    workshop.write("p.qcf",
                   String(policyText) + "test \"no\" take() { route { } expect accept }\n");
    Outcome const failing = workshop.run({"test", "p.qcf", "--mutants"});
    EXPECT_EQ(failing.exitCode, 1);
    EXPECT_THAT(failing.err, HasSubstr("p.qcf: no mutants are tried while tests fail\n"));
}

} // namespace
} // namespace Qcf::Command::test
