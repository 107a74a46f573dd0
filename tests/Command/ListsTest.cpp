#include "tests/Command/CommandTools.h"
#include "tests/support/Compressed.h"

#include <gmock/gmock.h>

namespace Qcf::Command::test {
namespace {

using testing::HasSubstr;

String match(char const * list) {
    return R"({"class": "IntSetMatchCommList", "lhs": "community", "listName": ")" + String(list) +
           "\"}";
}
String ifThen(String const & condition, String const & statements) {
    return R"({"class": "IfExpression", "condition": )" + condition +
           R"(, "thenBlock": {"class": "Block", "stmts": [)" + statements + "]}}";
}
String const acceptText = R"({"class": "ReturnExpression", "expr": true})";
String call(char const * callee) {
    return R"({"class": "FunctionCallExpression", "calleeName": ")" + String(callee) + "\"}";
}
String const originText = R"(, {"name": "valid", "argumentsExpected": true, "body":
    {"class": "Block", "stmts": [{"class": "MatchOriginAsValidityImplExpr"}]}})";

/// Refers to names of several kinds: CL is used twice, EL by a function that nothing here calls.
String const namesText = document(
    function("other", ifThen(match("EL"), acceptText)) + "," +
    function("callee", ifThen(match("CL"), acceptText)) + "," +
    function("f", ifThen(call("callee"), acceptText) + "," + ifThen(match("CL"), acceptText) +
                      R"(, {"class": "ReturnExpression", "expr": {"class":
                               "IpPrefixMatchPrefixList", "lhs": "prefix", "rhs": {"class":
                               "PrefixListImmediate", "name": "P6", "isV4": false}}})"));

std::vector<String> evalOf(char const * function, std::vector<String> const & more) {
    std::vector<String> arguments = {"eval",     "d.json",  "--function", function,
                                     "--routes", "r.jsonl", "--output",   "jsonl"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

TEST(Lists, ANameThatNothingDefinesIsAnErrorForTheFunctionThatReachesIt) {
    Workshop const workshop;
    workshop.write("d.json", namesText);
    workshop.write("r.jsonl", "{}\n");
    workshop.write("l.json", R"({"qcf": "lists/1", "communityLists": {"CL": []}})");
    String const cl = "d.json:/functions/1/body/stmts/0/condition: community list \"CL\" is not "
                      "defined";
    String const p6 = "d.json:/functions/2/body/stmts/2/expr/rhs: prefix list \"P6\" is not "
                      "defined";
    String const el = "d.json:/functions/0/body/stmts/0/condition: community list \"EL\" is not "
                      "defined";
    struct Case {
        char const * function;
        std::vector<String> more;
        std::vector<String> lines;
    };
    Case const cases[] = {
        {"f", {}, {cl, p6}},
        {"f", {"--lists", "l.json"}, {p6}},
        {"callee", {}, {cl}},
        {"callee", {"--lists", "l.json"}, {}},
        {"other", {"--lists", "l.json"}, {el}},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.function);
        Outcome const outcome = workshop.run(evalOf(c.function, c.more));
        EXPECT_EQ(outcome.exitCode, c.lines.empty() ? 0 : 1);
        EXPECT_EQ(linesOf(outcome.err), c.lines);
        EXPECT_EQ(outcome.out.empty(), !c.lines.empty()) << "before the first route";

        auto more = c.more;
        more.emplace_back("--allow-undefined-lists");
        Outcome const allowed = workshop.run(evalOf(c.function, more));
        EXPECT_EQ(allowed.exitCode, 0);
        EXPECT_THAT(allowed.out, HasSubstr("\"route\":0"));
        auto const warnings = linesOf(allowed.err);
        ASSERT_EQ(warnings.size(), c.lines.size());
        for (std::size_t i = 0; i < warnings.size(); ++i) {
            String expected = c.lines[i];
            expected.insert(expected.find(": ") + 2, "warning: ");
            EXPECT_EQ(warnings[i], expected + ", it acts as an empty list");
        }
    }
}

TEST(Lists, ThePlaceOfANameIsInTheFunctionThatIsEvaluated) {
    // Equal prefix lists are one node, which stands in both functions.
    String const use = R"({"class": "ReturnExpression", "expr": {"class":
        "IpPrefixMatchPrefixList", "lhs": "prefix", "rhs":
        {"class": "PrefixListImmediate", "name": "P", "isV4": true}}})";
    Workshop const workshop;
    workshop.write("d.json",
                   document(function("a", use) + "," + function("b", acceptText + "," + use)));
    workshop.write("r.jsonl", "{}\n");
    EXPECT_EQ(workshop.run(evalOf("a", {})).err,
              "d.json:/functions/0/body/stmts/0/expr/rhs: prefix list \"P\" is not defined\n");
    EXPECT_EQ(workshop.run(evalOf("b", {})).err,
              "d.json:/functions/1/body/stmts/1/expr/rhs: prefix list \"P\" is not defined\n");
}

TEST(Lists, CheckWithoutListsSaysWhatItCouldNotCompare) {
    Workshop const workshop;
    workshop.write("d.json", namesText);
    Outcome const outcome = workshop.run({"check", "d.json"});
    EXPECT_EQ(outcome.exitCode, 0);
    for (char const * const line :
         {"d.json:/functions/1/body/stmts/0/condition: note: community list \"CL\" is not "
          "compared: no --lists",
          "d.json:/functions/2/body/stmts/2/expr/rhs: note: prefix list \"P6\" is not compared: no "
          "--lists"}) {
        EXPECT_THAT(linesOf(outcome.out), testing::Contains(line));
    }
}

TEST(Lists, AFunctionThatExpectsArgumentsIsEvaluatedWithAWarning) {
    Workshop const workshop;
    workshop.write("d.json", document(R"({"name": "f", "argumentsExpected": true, "body":
        {"class": "Block", "stmts": [{"class": "ReturnExpression", "expr": {"class":
        "TriStateBoolExpression", "expr": {"class": "TriStateBoolVariable", "name": "a",
        "argVectorIndex": 0}}}]}})"));
    workshop.write("r.jsonl", "{}\n{}\n");
    Outcome const outcome = workshop.run(evalOf("f", {}));
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "d.json: warning: function \"f\" expects arguments, which only a call "
                           "gives it: it answers false\n");
    EXPECT_EQ(linesOf(outcome.out).size(), 2U);
    EXPECT_THAT(outcome.out, HasSubstr(R"("result":"false","termination":"returnToCaller")"));
    EXPECT_EQ(workshop.run({"check", "d.json"}).exitCode, 0);
}

TEST(Lists, AFunctionThatReadsArgumentsItDoesNotExpectIsAnErrorEverywhere) {
    Workshop const workshop;
    String const reads = R"({"name": "f", "body":
        {"class": "Block", "stmts": [{"class": "ReturnExpression", "expr": {"class":
        "TriStateBoolExpression", "expr": {"class": "TriStateBoolVariable", "name": "a",
        "argVectorIndex": 0}}}]}})";
    String const caller = R"(, {"name": "g", "body": {"class": "Block", "stmts": [{"class":
        "ReturnExpression", "expr": {"class": "FunctionCallExpression", "calleeName": "f",
        "argListHead": [{"class": "TriStateBoolImmediate", "value": "true"}]}}]}})";
    workshop.write("d.json", document(reads));
    workshop.write("r.jsonl", "{}\n");
    String const fault = "function \"f\" reads arguments, which only a call gives it";
    EXPECT_EQ(workshop.run(evalOf("f", {})).exitCode, 1);
    Outcome const checked = workshop.run({"check", "d.json"});
    EXPECT_EQ(checked.exitCode, 1);
    EXPECT_EQ(linesOf(checked.out)[0], "f: insane: " + fault);
    Outcome const published = workshop.run(
        {"publish", "d.json", "--redis", "unix:///none", "--name", "n", "--wait", "0"});
    EXPECT_EQ(published.exitCode, 1);
    EXPECT_EQ(published.err, "d.json: function f: " + fault + '\n');
    // What is called is given its arguments.
    workshop.write("d.json", document(reads + caller));
    EXPECT_EQ(workshop.run({"check", "d.json"}).exitCode, 0);
}

/// Evaluates origin validation by an export; answers what came of it.
Outcome validate(Workshop const & workshop, String const & exported) {
    workshop.write("vrps.json", exported);
    workshop.write("l.json", R"({"qcf": "lists/1", "roaTables": {"R": {"file": "vrps.json"}}})");
    String const valid = R"({"class": "ReturnExpression", "expr": {"class":
        "FunctionCallExpression", "calleeName": "valid", "argListHead":
        [{"class": "RoaTableImmediate", "name": "R"}, 0]}})";
    workshop.write("d.json", document(originText.substr(2) + "," + function("f", valid)));
    workshop.write("r.jsonl", R"({"prefix": "10.0.0.0/8", "as_path": "65001"})");
    return workshop.run(evalOf("f", {"--lists", "l.json"}));
}

String const payloadText = R"({"prefix": "10.0.0.0/8", "maxLength": 8, "asn": "AS65001"})";

TEST(Lists, EntriesOfAnExportThatAreNoPayloadsAreLeftOutWithOneWarning) {
    Workshop const workshop;
    struct Case {
        String entries;
        String warning;
    };
    String const left = ", which is no payload: 1 entry of this kind is left out\n";
    Case const cases[] = {
        {payloadText, ""},
        {payloadText + R"(, {"prefix": null, "maxLength": 8, "asn": 5})",
         "./vrps.json:/roas/1/prefix: found null" + left},
        {R"({"prefix": "11.0.0.0/8", "asn": null},)" + payloadText,
         "./vrps.json:/roas/0/asn: found null" + left},
        {R"({"prefix": "11.0.0.0/8", "asn": "AS"},)" + payloadText +
             R"(, {"prefix": "", "asn": 1})",
         "./vrps.json:/roas/0/asn: found \"AS\", which is no payload: 2 entries of this kind are "
         "left out\n"},
    };
    for (Case const & c : cases) {
        Outcome const outcome = validate(workshop, R"({"roas": [)" + c.entries + "]}");
        EXPECT_EQ(outcome.exitCode, 0) << c.entries;
        EXPECT_EQ(outcome.err, c.warning);
        EXPECT_THAT(outcome.out, HasSubstr("\"result\":\"true\""));
    }
    Outcome const bad = validate(workshop, R"({"roas": [{"prefix": "10.0.0.0/33", "asn": 1}]})");
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(bad.err, "./vrps.json:/roas/0/prefix: wants prefix, found \"10.0.0.0/33\"\n");
    workshop.write("l.json",
                   R"({"qcf": "lists/1", "roaTables": {"R": [{"prefix": null, "asn": 1}]}})");
    Outcome const byHand = workshop.run(evalOf("f", {"--lists", "l.json"}));
    EXPECT_EQ(byHand.exitCode, 1) << "a table written by hand";
    EXPECT_EQ(byHand.err, "l.json:/roaTables/R/0/prefix: wants prefix, found null\n");
}

TEST(Lists, ExportsMayBeCompressed) {
    Workshop const workshop;
    String const text = R"({"roas": [)" + payloadText + "]}";
    String const gzip = Qcf::test::gzipped(text);
    String const parts =
        Qcf::test::bzipped(text.substr(0, 20)) + Qcf::test::bzipped(text.substr(20));
    for (String const & file : {text, gzip, parts, gzip + "tail"}) {
        Outcome const outcome = validate(workshop, file);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr("\"result\":\"true\""));
        EXPECT_EQ(outcome.err, file == gzip + "tail" ? "./vrps.json: gzip data end at byte " +
                                                           std::to_string(gzip.size()) +
                                                           ", what follows them is not read\n"
                                                     : "");
    }
    Outcome const cut = validate(workshop, gzip.substr(0, gzip.size() - 9));
    EXPECT_EQ(cut.exitCode, 1);
    EXPECT_EQ(cut.err, "./vrps.json: gzip data are cut\n");
}

} // namespace
} // namespace Qcf::Command::test
