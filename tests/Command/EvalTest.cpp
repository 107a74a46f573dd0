#include "tests/Command/CommandTools.h"

#include <gmock/gmock.h>

namespace Qcf::Command::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

String const acceptText = R"({"class": "ReturnExpression", "expr": true})";

/// Assigns every modifiable attribute, in an order of its own.
String const everythingText =
    R"({"class": "IntAssign", "lhs": "weight", "rhs": 65535},
       {"class": "IntAssign", "lhs": "rpki.origin_as_validity", "rhs": 2},
       {"class": "IntAssign", "lhs": "route.priority", "rhs": 3},
       {"class": "IntAssign", "lhs": "rib.preference", "rhs": 255},
       {"class": "ResolutionRibsAssign", "lhs": "resolution_ribs",
        "rhs": {"class": "ResolutionRibsImmediate", "value":
                {"entries": [{"name": "tunnel", "kind": 1}], "useDefault": true}}},
       {"class": "IntAssign", "lhs": "origin", "rhs": 0},
       {"class": "IntAssign", "lhs": "next_hop_best_path_metric", "rhs": 1},
       {"class": "IpAddressAssign", "lhs": "next_hop", "rhs": ""},
       {"class": "IntAssign", "lhs": "med", "rhs": 4294967295},
       {"class": "IntAssign", "lhs": "local_preference", "rhs": 0},
       {"class": "CommunitySetAddImmediate", "lhs": "large_community", "rhs": ["65000:1:2"]},
       {"class": "IntAssign", "lhs": "isis.metric", "rhs": 7},
       {"class": "IntSetAssignImmediate", "lhs": "isis.levels", "rhs": [2, 1]},
       {"class": "IntAssign", "lhs": "igp.tag", "rhs": 9},
       {"class": "IntAssign", "lhs": "fec.recmp", "rhs": 1},
       {"class": "CommunitySetAssignImmediate", "lhs": "ext_community", "rhs": ["rt:65000:5"]},
       {"class": "IntAssign", "lhs": "evpn.ip_prefix_route.label", "rhs": 16777215},
       {"class": "IpAddressAssign", "lhs": "evpn.ip_prefix_route.gateway_address",
        "rhs": "2001:db8::1"},
       {"class": "IntSetAddImmediate", "lhs": "community",
        "rhs": ["no-export"]},
       {"class": "IntAssign", "lhs": "bgp.prefix_sid.index", "rhs": 1048575},
       {"class": "AsPathPrepend", "lhs": "as_path", "rhs": [65000, 65000]},
       {"class": "IntAssign", "lhs": "aigp.metric", "rhs": 18446744073709551614},
       {"class": "IntAssign", "lhs": "aigp.accumulation_metric", "rhs": 1},)" +
    acceptText;

struct LineCase {
    String statements;
    char const * route;
    char const * line; ///< behind {"route":0,
};

TEST(Eval, JsonLinesHoldExactlyWhatWasDecidedAndChanged) {
    LineCase const cases[] = {
        {"", R"({"prefix": "10.0.0.0/8"})",
         R"("prefix":"10.0.0.0/8","result":"unknown","termination":"noTermination","changes":{}})"},
        {acceptText, "{}",
         R"("prefix":"","result":"true","termination":"noTermination","changes":{}})"},
        {R"({"class": "IntAssign", "lhs": "med", "rhs": 5},
            {"class": "ReturnExpression", "expr": false})",
         R"({"prefix": "2001:DB8::/32"})",
         R"("prefix":"2001:db8::/32","result":"false","termination":"noTermination","changes":{}})"},
        {R"({"class": "IntAssign", "lhs": "med", "rhs": 5}, {"class": "ExitExpression", "expr": true})",
         "{}", R"("prefix":"","result":"true","termination":"exitToPoa","changes":{"med":5}})"},
        {R"({"class": "IntSetAssignImmediate", "lhs": "community", "rhs": []},)" + acceptText,
         R"({"community": ["1:2"]})",
         R"("prefix":"","result":"true","termination":"noTermination","changes":{"community":[]}})"},
        {R"({"class": "SetNextHopSelfImplExpr"})",
         R"({"next_hop": "10.0.0.1", "session": {"outbound": true}})",
         R"("prefix":"","result":"true","termination":"noTermination",)"
         R"("changes":{"next_hop":""},"nextHopSetToSelf":true})"},
        {R"({"class": "SetNextHopSelfImplExpr"})", R"({"next_hop": "10.0.0.1"})",
         R"("prefix":"","result":"false","termination":"noTermination","changes":{}})"},
        {everythingText,
         R"({"as_path": "65001 {65002,65003}", "community": ["65000:1", 18446744073709551615],)"
         R"( "large_community": ["65000:1:1"]})",
         R"("prefix":"","result":"true","termination":"noTermination","changes":{)"
         R"("aigp.accumulation_metric":1,"aigp.metric":18446744073709551614,)"
         R"("as_path":"65000 65000 65001 {65002,65003}","bgp.prefix_sid.index":1048575,)"
         R"("community":["65000:1","65535:65281","18446744073709551615"],)"
         R"("evpn.ip_prefix_route.gateway_address":"2001:db8::1",)"
         R"("evpn.ip_prefix_route.label":16777215,"ext_community":["0x0002fde800000005"],)"
         R"("fec.recmp":1,"igp.tag":9,"isis.levels":[1,2],"isis.metric":7,)"
         R"("large_community":["65000:1:1","65000:1:2"],"local_preference":0,"med":4294967295,)"
         R"("next_hop":"","next_hop_best_path_metric":1,"origin":0,)"
         R"("resolution_ribs":{"entries":[{"name":"tunnel","kind":1}],"useDefault":true},)"
         R"("rib.preference":255,"route.priority":3,"rpki.origin_as_validity":2,"weight":65535}})"},
    };
    Workshop const workshop;
    for (LineCase const & one : cases) {
        workshop.write("d.json", document(function("f", one.statements)));
        workshop.write("r.jsonl", one.route);
        Outcome const outcome = workshop.run(
            {"eval", "d.json", "--function", "f", "--routes", "r.jsonl", "--output", "jsonl"});
        EXPECT_EQ(outcome.err, "") << one.statements;
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.out, "{\"route\":0," + String(one.line) + '\n');
    }
}

TEST(Eval, TheLogNestsWhatACalleeLogged) {
    Workshop const workshop;
    workshop.write("d.json",
                   document(function("inner", R"({"class": "ReturnExpression", "key": 11,
                                       "expr": {"class": "TriStateBoolExpression", "key": 10,
                                                "expr": true}})") +
                            "," + function("outer", R"({"class": "ReturnExpression", "key": 31,
                                       "expr": {"class": "FunctionCallExpression", "key": 30,
                                                "calleeName": "inner"}})")));
    workshop.write("r.jsonl", "{}\n{}\n");
    auto const run = [&workshop](char const * output) {
        return workshop.run({"eval", "d.json", "--function", "outer", "--routes", "r.jsonl",
                             "--output", output, "--log", "--limit", "1"});
    };
    // Keys of the block, the list and the function follow the largest so far.
    EXPECT_EQ(run("jsonl").out,
              R"({"route":0,"prefix":"","result":"true","termination":"noTermination",)"
              R"("changes":{},"log":{"entries":[)"
              R"({"aetNodeKey":30,"result":"true","termination":"noTermination",)"
              R"("functionCallLog":{"entries":[)"
              R"({"aetNodeKey":10,"result":"true","termination":"noTermination"},)"
              R"({"aetNodeKey":11,"result":"true","termination":"noTermination"},)"
              R"({"aetNodeKey":13,"result":"true","termination":"returnToCaller"},)"
              R"({"aetNodeKey":14,"result":"true","termination":"returnToCaller"}]}},)"
              R"({"aetNodeKey":31,"result":"true","termination":"noTermination"},)"
              R"({"aetNodeKey":33,"result":"true","termination":"returnToCaller"},)"
              R"({"aetNodeKey":34,"result":"true","termination":"returnToCaller"}]}})"
              "\n");
    EXPECT_THAT(linesOf(run("table").out),
                testing::IsSupersetOf({String("    30 true"), String("        10 true"),
                                       String("        13 true returnToCaller"),
                                       String("    34 true returnToCaller")}));
}

TEST(Eval, RoutesComeInTheOrderOfTheTableWhateverTheThreads) {
    Workshop const workshop;
    String const policy = QCF_SOURCE_DIR "/examples/import-filter.json";
    workshop.run({"generate-table", "--routes", "5000", "--out", "t.mrt"});
    workshop.run({"generate-table", "--routes", "5000", "--out", "t.jsonl"});
    std::vector<String> const common{"eval",     policy,  "--function", "import_filter",
                                     "--output", "jsonl", "--routes"};
    auto const run = [&](std::vector<String> const & more) {
        std::vector<String> arguments = common;
        arguments.insert(arguments.end(), more.begin(), more.end());
        Outcome const outcome = workshop.run(arguments, workshop.read("t.jsonl"));
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "");
        return outcome.out;
    };
    String const expected = run({"t.mrt"});
    auto const lines = linesOf(expected);
    ASSERT_EQ(lines.size(), 5000U);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        ASSERT_THAT(lines[i], StartsWith("{\"route\":" + std::to_string(i) + ','));
    }
    EXPECT_THAT(expected, HasSubstr("\"local_preference\":200"));
    EXPECT_THAT(expected, HasSubstr("\"result\":\"false\""));
    for (char const * const table : {"t.mrt", "t.jsonl", "-"}) {
        EXPECT_TRUE(run({table, "--threads", "2"}) == expected) << table;
        EXPECT_TRUE(run({table, "--threads", "7"}) == expected) << table;
        String const some = run({table, "--threads", "2", "--limit", "777"});
        EXPECT_EQ(linesOf(some).size(), 777U);
        EXPECT_THAT(expected, StartsWith(some));
    }
    EXPECT_EQ(run({"t.mrt", "--limit", "0"}), "");
}

/// The number behind `name:` in a summary; nothing where there is no such line.
std::optional<U64> counted(String const & summary, String const & name) {
    for (String const & line : linesOf(summary)) {
        if (line.starts_with(name + ':')) {
            return std::stoull(line.substr(name.size() + 1));
        }
    }
    return std::nullopt;
}

TEST(Eval, TheTableEndsInASummaryOfItsLines) {
    Workshop const workshop;
    workshop.write("d.json", document(function("f", R"({"class": "IfExpression",
                                "condition": {"class": "IntGreaterThan", "lhs": "med", "rhs": 5},
                                "thenBlock": {"class": "Block", "stmts": [
                                  {"class": "IntAssign", "lhs": "local_preference", "rhs": 200},
                                  {"class": "AsPathPrepend", "lhs": "as_path", "rhs": [1]},
                                  {"class": "IntSetAddImmediate", "lhs": "community",
                                   "rhs": ["1:2", "no-export"]},)" +
                                                        acceptText + R"(]}},
                               {"class": "IfExpression",
                                "condition": {"class": "IntIs", "lhs": "med", "rhs": 5},
                                "thenBlock": {"class": "Block", "stmts": [
                                  {"class": "ExitExpression", "expr": false}]}})")));
    String const routes = R"({"prefix": "10.0.0.0/8", "med": 6, "as_path": "2 {3,4}", )"
                          R"("source_session.remote.ip_address": "192.0.2.1"})"
                          "\n"
                          R"({"prefix": "2001:db8:1:2:3:4:5:6/128", "med": 5})"
                          "\n"
                          R"({"prefix": "10.0.0.0/8", "med": 4})";
    auto const run = [&](char const * output) {
        return workshop.run({"eval", "d.json", "--function", "f", "--routes", "-", "--output",
                             output, "--threads", "2"},
                            routes);
    };
    Outcome const table = run("table");
    EXPECT_EQ(table.exitCode, 0);
    auto const lines = linesOf(table.out);
    ASSERT_GT(lines.size(), 4U);
    EXPECT_EQ(lines[0], "route    prefix              peer             result           changes");
    EXPECT_EQ(lines[1], "0        10.0.0.0/8          192.0.2.1        true             "
                        "as_path=\"1 2 {3,4}\" community=1:2,65535:65281 local_preference=200");
    EXPECT_EQ(lines[2], "1        2001:db8:1:2:3:4:5:6/128 -           false exitToPoa");
    EXPECT_EQ(lines[3], "2        10.0.0.0/8          -                unknown");
    EXPECT_EQ(lines[4], "");
    String const summary = table.out.substr(table.out.find("\n\n") + 2);
    EXPECT_LT(linesOf(summary).size(), 60U);
    for (String const & text : {summary, run("none").out}) {
        EXPECT_EQ(counted(text, "routes"), 3U) << text;
        EXPECT_EQ(counted(text, "true"), 1U);
        EXPECT_EQ(counted(text, "false"), 1U);
        EXPECT_EQ(counted(text, "unknown"), 1U);
        EXPECT_EQ(counted(text, "changed"), 1U);
        EXPECT_EQ(counted(text, "  as_path"), 1U);
        EXPECT_EQ(counted(text, "  local_preference"), 1U);
        EXPECT_EQ(counted(text, "  med"), std::nullopt);
        EXPECT_TRUE(counted(text, "routes per second"));
        EXPECT_EQ(text.find("\n\n"), String::npos);
    }
}

TEST(Eval, TellsOfTheRoutesThatAreAskedFor) {
    Workshop const workshop;
    // Next hop self alone is a change, too, but not of a route that is not accepted.
    workshop.write("p.qcf", "function f() {\n"
                            "  if med is 1 { local_preference = 5; return true }\n"
                            "  set_next_hop_self()\n"
                            "  if med is 2 { return false }\n"
                            "  if med is 3 { return true }\n"
                            "}\n");
    workshop.write("r.jsonl", R"({"prefix": "10.0.0.0/8", "med": 1}
{"prefix": "10.1.0.0/16", "med": 2, "session": {"outbound": true}, "source_session.remote.ip_address": "192.0.2.1"}
{"prefix": "10.1.0.0/16", "med": 3, "session": {"outbound": true}, "source_session.remote.ip_address": "192.0.2.2"}
{"prefix": "2001:db8::/32", "med": 4, "session": {"outbound": true}, "source_session.remote.ip_address": "192.0.2.1"}
)");
    struct Case {
        std::vector<String> options;
        String routes; ///< numbers of those that are told
    };
    Case const cases[] = {
        {{}, "0123"},
        {{"--prefix", "10.1.0.0/16"}, "12"},
        {{"--prefix", "10.0.0.0/8"}, "0"},
        {{"--prefix", "10.0.0.0/8/longer"}, "012"},
        {{"--prefix", "::/0/longer"}, "3"},
        {{"--peer", "192.0.2.1"}, "13"},
        {{"--only", "accepted"}, "02"},
        {{"--only", "rejected"}, "1"},
        {{"--only", "unknown"}, "3"},
        {{"--only", "changed"}, "02"},
        {{"--peer", "192.0.2.1", "--only", "rejected", "--prefix", "10.0.0.0/8/longer"}, "1"},
    };
    for (Case const & c : cases) {
        std::vector<String> words = {"eval",     "p.qcf",   "--function", "f",
                                     "--routes", "r.jsonl", "--threads",  "2"};
        words.insert(words.end(), c.options.begin(), c.options.end());
        Outcome const table = workshop.run(words);
        words.insert(words.end(), {"--output", "jsonl"});
        String told;
        String tabled;
        for (String const & line : linesOf(workshop.run(words).out)) {
            told += line.substr(String(R"({"route":)").size(), 1);
        }
        for (String const & line : linesOf(table.out)) {
            if (line.empty()) {
                break;
            }
            tabled += line.substr(0, 1);
        }
        EXPECT_EQ(told, c.routes) << testing::PrintToString(c.options);
        EXPECT_EQ(tabled, "r" + c.routes) << testing::PrintToString(c.options);
        EXPECT_EQ(counted(table.out, "routes"), 4U);
    }
    EXPECT_EQ(workshop
                  .run({"eval", "p.qcf", "--function", "f", "--routes", "r.jsonl", "--output",
                        "jsonl", "--only", "rejected"})
                  .out,
              R"({"route":1,"prefix":"10.1.0.0/16","peer":"192.0.2.1","result":"false",)"
              R"("termination":"noTermination","changes":{},"nextHopSetToSelf":true})"
              "\n");
    for (char const * const wrong :
         {"--prefix=10.0.0.1/8", "--prefix=x", "--peer=10.0.0.0/8", "--only=some"}) {
        EXPECT_EQ(workshop.run({"eval", "p.qcf", "--function", "f", "--routes", "r.jsonl", wrong})
                      .exitCode,
                  2)
            << wrong;
    }
}

} // namespace
} // namespace Qcf::Command::test
