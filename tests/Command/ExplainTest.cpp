#include "Platform/Render/JsonDocument.h"
#include "tests/Command/CommandTools.h"

#include <gmock/gmock.h>

namespace Qcf::Command::test {
namespace {

using testing::HasSubstr;

constexpr char const * policyText = R"(list prefix_list SHORT v4 { permit 0.0.0.0/0 le 24 }
function helper(int most) {
  if med > most { return false because med }
  return true
}
function take() {
  community remove { 1:1 }
  if not prefix matches SHORT {
    return false because length
  }
  if helper(10) and ( bgp.best_path ?? unknown ) { return true }
  local_preference += 0
  return helper(50) because second
}
)";
constexpr char const * routesText = R"({"prefix": "10.0.0.0/25", "community": ["1:1"]}
{"prefix": "10.0.0.0/24", "med": 20}
{"prefix": "10.0.0.0/16", "med": 60}
{"prefix": "10.0.0.0/16", "med": 5, "bgp.best_path": "unknown"}
)";

constexpr char const * explanationText =
    R"(0  10.0.0.0/25  rejected (false) by p.qcf:9  return false   reason: length
    8  if not prefix matches SHORT    true      10.0.0.0/25: entry 10 wants length 0..24
    9    return false because length            <- decides
  changes made and dropped (rejected): community 1:1 removed
1  10.0.0.0/24  accepted (true) by p.qcf:4  return true   reason: second
     8  if not prefix matches SHORT                     false     10.0.0.0/24: permitted by entry 10
    11  if helper(10) and ( bgp.best_path ?? unknown )  false
              helper(10)                                false     -> 3 return false because med
    13  return helper(50) because second
          helper(50)                                    true
     3      if med > most                               false     20 > 50
     4      return true                                           <- decides
  changes: community (not given, default {}) (no effect), local_preference (not given, default 100) (no effect)
2  10.0.0.0/16  rejected (false) by p.qcf:3  return false   reason: med
     8  if not prefix matches SHORT                     false     10.0.0.0/16: permitted by entry 10
    11  if helper(10) and ( bgp.best_path ?? unknown )  false
              helper(10)                                false     -> 3 return false because med
    13  return helper(50) because second
          helper(50)                                    false
     3      if med > most                               true      60 > 50
     3        return false because med                            <- decides
  changes made and dropped (rejected): community (not given, default {}) (no effect), local_preference (not given, default 100) (no effect)
3  10.0.0.0/16  accepted (true) by p.qcf:4  return true   reason: second
     8  if not prefix matches SHORT                     false     10.0.0.0/16: permitted by entry 10
    11  if helper(10) and ( bgp.best_path ?? unknown )  false     unknown absorbed: attribute bgp.best_path is unknown, unknown is written
              helper(10)                                true      -> 4 return true
              bgp.best_path ?? unknown                  unknown
                bgp.best_path                           unknown   unknown; attribute bgp.best_path is unknown
                unknown                                 unknown   unknown is written
    13  return helper(50) because second
          helper(50)                                    true
     3      if med > most                               false     5 > 50
     4      return true                                           <- decides
  changes: community (not given, default {}) (no effect), local_preference (not given, default 100) (no effect)
)";

class Explain : public testing::Test {
protected:
    void SetUp() override {
        workshop.write("p.qcf", policyText);
        workshop.write("r.jsonl", routesText);
    }
    Outcome run(std::vector<String> more, char const * command = "explain",
                char const * policy = "p.qcf") const {
        std::vector<String> arguments{command, policy, "--function", "take", "--routes", "r.jsonl"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return workshop.run(arguments);
    }

    Workshop const workshop;
};

TEST_F(Explain, TellsTheDecidingLineAndWhatLedThere) {
    Outcome const outcome = run({});
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, explanationText);
}

TEST_F(Explain, SelectsRoutes) {
    auto const numbers = [this](std::vector<String> const & options) {
        String text;
        for (String const & line : linesOf(run(options).out)) {
            bool const isVerdict = !line.starts_with(' ');
            text += isVerdict ? line.substr(0, line.find(' ')) : String();
        }
        return text;
    };
    EXPECT_EQ(numbers({}), "0123");
    EXPECT_EQ(numbers({"--route", "2"}), "2");
    EXPECT_EQ(numbers({"--prefix", "10.0.0.0/16"}), "23");
    EXPECT_EQ(numbers({"--prefix", "10.0.0.0/24/longer"}), "01");
    EXPECT_EQ(numbers({"--prefix", "10.0.0.0/16", "--route", "3"}), "3");
    EXPECT_EQ(numbers({"--limit", "2"}), "01");
    EXPECT_EQ(run({"--threads", "2"}).out, run({}).out);
    for (char const * const number : {"9", "18446744073709551615"}) {
        Outcome const none = run({"--route", number});
        EXPECT_EQ(none.err,
                  String("r.jsonl: route ") + number + " is not in the table, or not selected\n");
        EXPECT_EQ(none.out, "");
        EXPECT_EQ(none.exitCode, 1);
    }
    for (char const * const threads : {"1", "2"}) {
        Outcome const empty = run({"--prefix", "1.1.1.0/25", "--threads", threads});
        EXPECT_EQ(empty.err, "r.jsonl: no route was selected of 4\n");
        EXPECT_EQ(empty.exitCode, 0);
    }
    Outcome const wrong = run({"--prefix", "10.0.0.0"});
    EXPECT_THAT(wrong.err, HasSubstr("--prefix wants a prefix such as"));
    EXPECT_EQ(wrong.exitCode, 2);
}

TEST_F(Explain, TellsThePeerWhereARouteHasOne) {
    workshop.write("r.jsonl", R"({"prefix": "10.0.0.0/25"}
{"prefix": "10.0.0.0/25", "source_session.remote.ip_address": "192.0.2.1"}
)");
    String const out = run({}).out;
    EXPECT_THAT(out, HasSubstr("0  10.0.0.0/25  rejected (false) by p.qcf:9"));
    EXPECT_THAT(out, HasSubstr("1  10.0.0.0/25 via 192.0.2.1  rejected (false) by p.qcf:9"));
    String const json = run({"--format", "json"}).out;
    EXPECT_THAT(json, HasSubstr(R"({"route":0,"prefix":"10.0.0.0/25","verdict")"));
    EXPECT_THAT(json,
                HasSubstr(R"({"route":1,"prefix":"10.0.0.0/25","peer":"192.0.2.1","verdict")"));
}

// What a terminal would act on: as it stands in a name, and as it is told.
constexpr std::pair<char const *, char const *> unsafeTexts[] = {
    {"\x1b[31m", "\\u001b[31m"},
    {"\xc2\x9b"
     "2J",
     "\\u009b2J"},
    {"\xe2\x80\xae", "\\u202e"},
    {"\xe2\x81\xa6", "\\u2066"},
};

TEST_F(Explain, WhatATerminalWouldActOnIsEscaped) {
    for (auto const & [unsafe, told] : unsafeTexts) {
        String const file = "l" + String(unsafe) + ".qcf";
        workshop.write(file,
                       "function is_wanted() {\n  return connected.interface is interface \"e0\" "
                       "because far\n}\n");
        workshop.write("p.qcf",
                       "import \"" + file +
                           "\"\nfunction take() { return is_wanted() }\n"
                           "test \"t\" take() { route { prefix 10.0.0.0/8 } expect accept }\n");
        workshop.write("r.jsonl", "{\"connected.interface\": \"" + String(told) + "\"}\n");
        workshop.run({"compile", "p.qcf", "-o", "p.json", "--map-out", "p.map"});
        std::vector<std::vector<String>> const runs = {
            {"explain", "p.qcf", "--function", "take", "--routes", "r.jsonl"},
            {"explain", "p.json", "--map", "p.map", "--function", "take", "--routes", "r.jsonl"},
            {"eval", "p.qcf", "--function", "take", "--routes", "r.jsonl", "--why"},
            {"profile", "p.qcf", "--function", "take", "--routes", "r.jsonl"},
            {"test", "p.qcf", "--coverage", "--lcov", "lcov.info"},
        };
        for (auto const & arguments : runs) {
            String const out = workshop.run(arguments).out;
            EXPECT_EQ(out.find(unsafe), String::npos) << arguments[0] << out;
            EXPECT_THAT(out, HasSubstr(told)) << arguments[0];
        }
        EXPECT_THAT(workshop.read("lcov.info"), HasSubstr("SF:l" + String(told) + ".qcf\n"));
    }
}

TEST_F(Explain, JsonHasTheWholeTree) {
    auto const lines = linesOf(run({"--format", "json"}).out);
    ASSERT_EQ(lines.size(), 4U);
    for (
        char const * const part :
        {R"({"route":0,"prefix":"10.0.0.0/25","verdict":"false","termination":"noTermination",)"
         R"("decidedBy":{"file":"p.qcf","line":9,"column":5,"reason":"length"},"tree":[{"key":)",
         R"("at":["p.qcf",7,3],"text":"community remove { 1:1 }","result":"true",)"
         R"("termination":"noTermination","operands":[)"
         R"({"text":"community","type":"int_set","value":"{ 1:1 }","given":true},)"
         R"({"text":"{ 1:1 }","type":"int_set","value":"{ 1:1 }","given":true}],)"
         R"("before":"{ 1:1 }","after":"{}","clamped":false,"unknownBecause":[],"children":[]})",
         R"("list":"entry 10 wants length 0..24","unknownBecause":[],"children":[]})",
         R"("changes":{},"dropped":[{"attribute":"community","before":"{ 1:1 }","after":"{}"}]})"}) {
        EXPECT_THAT(lines[0], HasSubstr(part));
    }
    EXPECT_THAT(lines[1], HasSubstr(R"({"text":"med","type":"int","value":"20","given":true})"));
    EXPECT_THAT(lines[1], HasSubstr(R"("decidedBy":{"file":"p.qcf","line":4,"column":3,)"
                                    R"("reason":"second"})"));
    EXPECT_THAT(lines[2], HasSubstr(R"("decidedBy":{"file":"p.qcf","line":3,"column":19,)"
                                    R"("reason":"med"})"));
    EXPECT_THAT(lines[3], HasSubstr(R"("unknownBecause":["attribute bgp.best_path is unknown",)"
                                    R"("unknown is written"])"));
    for (String const & line : lines) {
        auto const document = JsonDocument::parse(line, "line");
        EXPECT_TRUE(document.root().isObject());
    }
}

TEST_F(Explain, DocumentsHavePointersOrTheLinesOfTheirMap) {
    ASSERT_EQ(workshop
                  .run({"compile", "p.qcf", "-o", "p.json", "--map-out", "p.map", "--lists-out",
                        "p.lists.json"})
                  .exitCode,
              0);
    auto const explained = [this](std::vector<String> const & more) {
        std::vector<String> options{"--lists", "p.lists.json", "--route", "0"};
        options.insert(options.end(), more.begin(), more.end());
        return run(options, "explain", "p.json").out;
    };
    EXPECT_EQ(explained({}), R"(0  10.0.0.0/25  rejected (false) by p.json:/nodes/25  return false
    /nodes/28  if not prefix matches v4 SHORT  true      10.0.0.0/25: entry 10 wants length 0..24
    /nodes/25    return false                            <- decides
  changes made and dropped (rejected): community 1:1 removed
)");
    EXPECT_EQ(explained({"--map", "p.map"}), run({"--route", "0"}).out);
}

TEST_F(Explain, EvalTellsWhyInItsLines) {
    auto const lines = linesOf(run({"--output", "jsonl", "--why"}, "eval").out);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], R"({"route":0,"prefix":"10.0.0.0/25","result":"false",)"
                        R"("termination":"noTermination","changes":{},)"
                        R"("decidedBy":{"file":"p.qcf","line":9,"column":5,"reason":"length"}})");
    EXPECT_THAT(lines[1], HasSubstr(R"("line":4,"column":3,"reason":"second"})"));
    EXPECT_THAT(lines[2], HasSubstr(R"("line":3,"column":19,"reason":"med"})"));
    EXPECT_EQ(run({"--output", "jsonl", "--why", "--threads", "2"}, "eval").out,
              run({"--output", "jsonl", "--why"}, "eval").out);
    EXPECT_THAT(run({"--why"}, "eval").out, HasSubstr(" p.qcf:9 length"));
    workshop.write("end.qcf", "function take() { med = 5 }");
    EXPECT_THAT(run({"--output", "jsonl", "--why"}, "eval", "end.qcf").out,
                HasSubstr(R"("changes":{},"decidedBy":null})"));
}

TEST(ExplainedRows, SayWhatIsMeant) {
    struct Case {
        char const * body;
        char const * route;
        char const * row; ///< with single blanks
    };
    constexpr Case cases[] = {
        // The test inside a negation says the opposite of its line.
        {"if med is not 20 and origin is not igp { return true } return false", R"({"med":20})",
         "\n med is 20 true 20 is 20\n"},
        {"set_next_hop_self()\nreturn true", R"({"session":{"outbound":true}})",
         "changes: next_hop (not given, default no_address) -> self\n"},
        // Clamped once, whatever comes later.
        {"med = 4294967295\nmed += 5\nmed = 7\nreturn true", R"({"med":5})",
         "changes: med 5 -> 7 (clamped)\n"},
        {"med = 0\nreturn true", "{}", "changes: med (not given, default 0) (no effect)\n"},
        // An argument is what was handed on as such.
        {"return g(bgp.aggregate)", R"({"bgp.aggregate":"unknown"})",
         "undecided (unknown) by p.qcf:1 return x\n"
         " unknown because: attribute bgp.aggregate is unknown\n"},
    };
    Workshop const workshop;
    for (Case const & each : cases) {
        workshop.write("p.qcf", String("function g(tristate x) { return x }\nfunction f() {\n") +
                                    each.body + "\n}\n");
        workshop.write("r.jsonl", String(each.route) + '\n');
        String out =
            workshop.run({"explain", "p.qcf", "--function", "f", "--routes", "r.jsonl"}).out;
        auto const isGap = [](char a, char b) { return a == ' ' && b == ' '; };
        out.erase(std::unique(out.begin(), out.end(), isGap), out.end());
        EXPECT_THAT(out, HasSubstr(each.row)) << each.body;
    }
}

// Beside the summary, routes or none; each share is of all routes.
TEST_F(Explain, EvalSumsUpWhatDecided) {
    for (char const * const threads : {"1", "2"}) {
        for (char const * const output : {"table", "none"}) {
            String const out = run({"--why", "--output", output, "--threads", threads}, "eval").out;
            EXPECT_THAT(out, testing::EndsWith("\ndecided by\n"
                                               "    50.0 %  p.qcf:4  return true\n"
                                               "    25.0 %  p.qcf:3  return false because med\n"
                                               "    25.0 %  p.qcf:9  return false because "
                                               "length\n"));
        }
    }
    String many = "function take() {\n";
    String routes;
    for (int i = 0; i < 12; ++i) {
        many += "  if med is " + std::to_string(i) + " { return true }\n";
        routes += R"({"med": )" + std::to_string(i) + "}\n";
    }
    workshop.write("many.qcf", many + "}\n");
    workshop.write("r.jsonl", routes + R"({"med": 11})" + "\n" + R"({"med": 12})" + "\n");
    String const out = run({"--why", "--output", "none"}, "eval", "many.qcf").out;
    EXPECT_THAT(out, HasSubstr("decided by\n    14.3 %  many.qcf:13  return true\n"
                               "     7.1 %  many.qcf:2  return true\n"));
    EXPECT_THAT(out, testing::EndsWith("            and 2 more\n"
                                       "     7.1 %  the function's end\n"));
    EXPECT_EQ(run({"--output", "none"}, "eval", "many.qcf").out.find("decided"), String::npos);
    workshop.write("a.qcf", "function take(int most) { return med < most }");
    EXPECT_EQ(run({"--why", "--output", "none"}, "eval", "a.qcf").out.find("decided"),
              String::npos);
}

TEST_F(Explain, AFunctionThatWantsArgumentsIsToldSo) {
    workshop.write("a.qcf", "function take(int most) { return med < most }");
    Outcome const outcome = run({"--route", "0"}, "explain", "a.qcf");
    EXPECT_THAT(outcome.out, HasSubstr("rejected (false) because the function expects arguments"));
}

} // namespace
} // namespace Qcf::Command::test
