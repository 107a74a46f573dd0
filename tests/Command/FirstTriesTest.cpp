#include "tests/Command/CommandTools.h"

#include <gmock/gmock.h>

/// What somebody tries who does not know the command yet, and is then told.
namespace Qcf::Command::test {
namespace {

using testing::HasSubstr;

struct Try {
    std::vector<String> arguments;
    int exitCode;
    String before; ///< what was told once, and led nowhere; empty where only the code was wrong
    String after;
};

void expectTold(Workshop const & workshop, std::vector<Try> const & tries) {
    for (Try const & each : tries) {
        Outcome const outcome = workshop.run(each.arguments);
        String const called = testing::PrintToString(each.arguments);
        String const told = outcome.out + outcome.err;
        EXPECT_EQ(outcome.exitCode, each.exitCode) << called << told;
        EXPECT_THAT(told, HasSubstr(each.after)) << called;
        if (!each.before.empty()) {
            EXPECT_THAT(told, testing::Not(HasSubstr(each.before))) << called;
        }
    }
}

/// A document whose function "f" has that statement.
String withStatement(String const & statement) { return document(function("f", statement)); }

} // namespace

TEST(FirstTries, HelpAndCommands) {
    Workshop const workshop;
    expectTold(
        workshop,
        {
            {{"-h"}, 0, R"(has no option "-h")", "Exit codes: 0 done"},
            {{"eval", "-h"}, 0, "document is required", "Example:\n  qcf eval"},
            {{"-V"}, 0, R"(has no option "-V")", "qcf 0."},
            {{"help"}, 0, R"(has no command "help")", "Exit codes: 0 done"},
            {{"help", "eval"}, 0, "document is required", "Example:\n  qcf eval"},
            {{"help", "evla"},
             2,
             "document is required",
             "qcf help: has no command \"evla\"; did you mean \"eval\"?\n"},
            {{"evla"},
             2,
             "\"evla\"; see",
             "qcf: has no command \"evla\"; did you mean \"eval\"? See qcf --help\n"},
            {{"eval", "--functoin", "f"},
             2,
             "document is required",
             "qcf eval: has no option \"--functoin\"; did you mean \"--function\"? See qcf eval"},
            {{"eval", "--frob"}, 2, "document is required", "has no option \"--frob\"; see"},
            {{"nodes", "IntAsign"},
             2,
             "\"IntAsign\"\n",
             "\"IntAsign\"; did you mean \"IntAssign\"? qcf nodes lists them\n"},
            {{"nodes", "local_prefrence"},
             2,
             "\"local_prefrence\"\n",
             "did you mean \"local_preference\"? qcf nodes lists them\n"},
            {{"nodes", "frobnicate"},
             2,
             "\"frobnicate\"\n",
             "\"frobnicate\"; qcf nodes lists them"},
        });
    Outcome const all = workshop.run({"help"});
    EXPECT_EQ(all.out, workshop.run({"--help"}).out);
    EXPECT_EQ(workshop.run({"help", "dump"}).out, workshop.run({"dump", "--help"}).out);
}

TEST(FirstTries, NamesInFiles) {
    Workshop const workshop;
    workshop.write("d.json", document(function("import", "")));
    workshop.write("r.jsonl", "{\"local_prefrence\": 1}\n");
    workshop.write("other.jsonl", "{\"metric\": 1}\n");
    workshop.write("l.json", R"({"qcf": "lists/1", "prefixList": {}})");
    workshop.write("class.json", withStatement(R"({"class": "IntAsign"})"));
    workshop.write("key.json",
                   withStatement(R"({"class": "IntAssign", "lhs": "med", "rsh": 1, "rhs": 1})"));
    workshop.write("name.json",
                   withStatement(R"({"class": "IntAssign", "lhs": "med", "rhs": "meed"})"));
    workshop.write("far.json",
                   withStatement(R"({"class": "IntAssign", "lhs": "med", "rhs": "cost_of_it"})"));
    workshop.write("flag.json", R"({"qcf": "aet/1", "functions": [{"name": "f",
        "body": {"class": "Block"}, "accessedAttributes": {"read": ["meed"]}}]})");
    auto const eval = [](String const & name, String const & routes) {
        return std::vector<String>{"eval", "d.json", "--function", name, "--routes", routes};
    };
    expectTold(
        workshop,
        {
            {eval("imprt", "r.jsonl"), 1, "\"imprt\"; its functions",
             "has no function \"imprt\"; did you mean \"import\"? Its functions: import\n"},
            {eval("import", "r.jsonl"), 1, "\"local_prefrence\"\n",
             "as qcf schema --format routes lists them, found \"local_prefrence\"; did you mean "
             "\"local_preference\"?\n"},
            {eval("import", "other.jsonl"), 1, "or \"session\", found",
             "as qcf schema --format routes lists them, found \"metric\""},
            {{"check", "d.json", "--lists", "l.json"},
             1,
             "\"prefixList\"\n",
             "unknown key \"prefixList\"; did you mean \"prefixLists\"?\n"},
            {{"check", "class.json"},
             1,
             "node class, found",
             "as qcf nodes lists them, found \"IntAsign\"; did you mean \"IntAssign\"?\n"},
            {{"check", "key.json"}, 1, "\"rsh\"\n", "\"rsh\"; did you mean \"rhs\"?\n"},
            {{"check", "name.json"}, 1, "\"meed\"\n", "found \"meed\"; did you mean \"med\"?\n"},
            {{"check", "far.json"},
             1,
             "\"cost_of_it\"\n",
             "\"cost_of_it\", which is no attribute (qcf nodes lists them)\n"},
            {{"check", "flag.json"},
             1,
             "flag, found",
             "as qcf schema lists them, found \"meed\"; did you mean \"med\"?\n"},
        });
}

TEST(FirstTries, ShortFormsInDocuments) {
    Workshop const workshop;
    auto const returning = String(R"(, {"class": "ReturnExpression", "expr": true})");
    auto const compared = [](char const * rhs) {
        return String(R"({"class": "IfExpression", "thenBlock": {"class": "Block"}, "condition": )"
                      R"({"class": "BandwidthLessThan", "lhs": )") +
               R"({"class": "BandwidthVariable", "name": "rate", "argVectorIndex": 0}, "rhs": )" +
               rhs + "}}";
    };
    auto const calling = [&](String const & callee, String const & arguments) {
        return document(function("g", callee + returning) + ',' +
                        function("f", R"({"class": "FunctionCallExpression", "calleeName": "g", )"
                                      R"("argListHead": )" +
                                          arguments + "}" + returning));
    };
    workshop.write("negative.json", withStatement(R"({"class": "IntAssign", "lhs": "med",
        "rhs": {"class": "IntImmediate", "value": 5}})" +
                                                  returning));
    workshop.write("bandwidth.json", calling(compared("8000"), "[5]"));
    workshop.write("both.json", calling(compared("8000"), "[5, 6.5]"));
    workshop.write("texts.json",
                   calling(R"({"class": "IntAssign", "lhs": "med", "rhs": 1})",
                           R"(["10.0.0.0/8", "192.0.2.1", "00:1c:73:00:00:01", "rt:1:2", "unknown",
                               "00:11:22:33:44:55:66:77:88:99", 1, 1.5, true, "med"])"));
    workshop.write("number.json", calling(R"({"class": "AsPathReplaceImplExpr"})",
                                          R"([1.5, -7, {"class": "IntSetImmediate"}])"));
    workshop.write("set.json",
                   calling(R"({"class": "AsPathRemoveImplExpr"})", R"([1, "community"])"));
    auto const offset = [](char const * value) {
        return withStatement(R"({"class": "CommunitySetAddImmediate", "lhs": "ext_community",
            "rhs": [{"class": "BandwidthToCommunityValue", "bandwidthVal": 8000, "offset": )" +
                             String(value) + R"(}]}, {"class": "ReturnExpression", "expr": true})");
    };
    workshop.write("near.json", offset("70"));
    workshop.write("far.json", offset("200"));
    workshop.write("within.json", offset("64"));
    expectTold(
        workshop,
        {
            {{"check", "negative.json"}, 0, "negative wants bool", "f: sane"},
            {{"check", "bandwidth.json"}, 0, "wants 1 bandwidth argument", "f: sane"},
            {{"check", "both.json"}, 0, "", "f: sane"},
            {{"check", "texts.json"}, 0, "wants StorageType", "f: sane"},
            {{"check", "number.json"},
             1,
             "integer argument 0 of 32 bits, found 7",
             "call of g wants integer of 32 bits as argument 2 of 3, found -7\n"},
            {{"check", "set.json"},
             1,
             "reference argument 0",
             "call of g wants IntSetImmediate as argument 2 of 2, found Community\n"},
            {{"check", "--strict", "near.json"},
             1,
             "",
             "warning: the constant 70 as offset leaves not all of the bandwidth in the community: "
             "wants 0 to 64\n"},
            {{"check", "--strict", "far.json"},
             1,
             "",
             "warning: the constant 200 as offset leaves nothing of the bandwidth"},
            {{"check", "--strict", "within.json"}, 0, "warning", "f: sane"},
        });
    // A whole number is a bandwidth only where one would be missing.
    Outcome const both = workshop.run({"dump", "both.json"});
    EXPECT_THAT(both.out, HasSubstr("5"));
    EXPECT_THAT(workshop.run({"dump", "both.json", "--format", "json"}).out,
                HasSubstr("\"IntImmediate\""));
    EXPECT_THAT(workshop.run({"dump", "bandwidth.json", "--format", "json"}).out,
                testing::Not(HasSubstr("\"IntImmediate\"")));
}

TEST(FirstTries, FilesThatCannotBeWritten) {
    Workshop const workshop;
    workshop.write("p.qcf", "function f() { return true }\n"
                            "test \"t\" f() { route { med 1 } expect accept }\n");
    workshop.write("r.jsonl", "{}\n");
    auto const report = [](String const & out) {
        return std::vector<String>{"report",   "p.qcf",   "--function", "f",
                                   "--routes", "r.jsonl", "--out",      out};
    };
    String const longName(300, 'x');
    expectTold(
        workshop,
        {
            {{"compile", "p.qcf", "--out", "no/where"},
             1,
             "cannot be written",
             "no/where: No such file or directory\n"},
            {{"compile", "p.qcf", "--out", "/dev/full"},
             1,
             "cannot be written",
             "/dev/full: No space left on device\n"},
            {{"test", "p.qcf", "--lcov", "no/where"},
             1,
             "cannot be written",
             "no/where: No such file or directory\n"},
            {report("no/where"), 1, "cannot be written", "no/where: No such file or directory\n"},
            {report(longName), 1, "filesystem error", longName + ": File name too long\n"},
        });
}

} // namespace Qcf::Command::test
