#include "Documents/Analysis.h"

#include "Documents/Places.h"
#include "tests/Documents/DocumentTools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Qcf::Documents::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Lines = std::vector<String>;

/// The remarks on a document, each as "POINTER KIND: TEXT".
Lines remarksOn(String const & document) {
    Places places;
    Program const program = readProgram(document, "", {.places = &places});
    Lines lines;
    for (Remark const & remark : analyse(program.functions)) {
        lines.push_back(places.of(*remark.node, *remark.function).substr(1) + " " +
                        remarkName(remark.kind) + ": " + remark.text);
    }
    return lines;
}

String const returnText = R"({"class":"ReturnExpression","expr":true})";
String const exitText = R"({"class":"ExitExpression","expr":false})";
String const medText = R"({"class":"IntAssign","lhs":"med","rhs":1})";

String compare(char const * name, String const & lhs, String const & rhs) {
    return R"({"class":")" + String(name) + R"(","lhs":)" + lhs + R"(,"rhs":)" + rhs + "}";
}
String ifElse(String const & condition, String const & then, String const & otherwise) {
    return R"({"class":"IfExpression","condition":)" + condition +
           R"(,"thenBlock":{"class":"Block","stmts":[)" + then + "]}" +
           (otherwise.empty() ? "" : R"(,"elseBlock":)" + otherwise) + "}";
}
String block(String const & statements) {
    return R"({"class":"Block","stmts":[)" + statements + "]}";
}
String const dependsText = compare("IntIs", R"("med")", "5");
String const alwaysText = compare("IntGreaterThanEq", R"("med")", "0");

} // namespace

TEST(Analysis, AFunctionCanEndWithoutReturn) {
    struct Case {
        String statements;
        bool ends;
    };
    Case const cases[] = {
        {"", true},
        {medText, true},
        {returnText, false},
        {medText + "," + returnText, false},
        {exitText, false},
        {ifElse(dependsText, returnText, ""), true},
        {ifElse(dependsText, returnText, block(returnText)), false},
        {ifElse(dependsText, returnText, block(medText)), true},
        {ifElse(dependsText, returnText, ifElse(dependsText, exitText, block(returnText))), false},
        {ifElse(dependsText, returnText, ifElse(dependsText, returnText, "")), true},
        {ifElse("true", returnText, ""), false},
        {ifElse("false", returnText, ""), true},
        {ifElse(R"("unknown")", medText, block(returnText)), false},
        {ifElse(R"({"class":"NotExpression","expr":false})", returnText, ""), false},
        {ifElse(exitText, medText, ""), false},
        {block(block(returnText)), false},
        {R"({"class":"SetNextHopSelfImplExpr"})", false},
        {R"({"class":"LogicalOperatorExpression","expressionList":[true,)" + exitText +
             R"(],"operatorList":["and"]})",
         true},
    };
    for (Case const & c : cases) {
        Lines const expected =
            c.ends ? Lines{"/functions/0 endsWithoutReturn: the function can end without return"}
                   : Lines{};
        EXPECT_EQ(remarksOn(documentOf(c.statements)), expected) << c.statements;
    }
}

TEST(Analysis, OnlyAnOutermostFunctionMustReturn) {
    auto const function = [](char const * name, String const & statements, char const * more) {
        return R"({"name":")" + String(name) + R"(",)" + more + R"("body":)" + block(statements) +
               "}";
    };
    auto const call = [](char const * name) {
        return R"({"class":"FunctionCallExpression","calleeName":")" + String(name) + "\"}";
    };
    String const leaves = function("leaves", exitText, "");
    EXPECT_THAT(remarksOn(R"({"qcf":"aet/1","functions":[)" + function("inner", medText, "") + "," +
                          leaves + "," + function("a", call("inner"), "") + "," +
                          function("b", call("leaves"), "") + "," +
                          function("c", medText, R"("argumentsExpected":true,)") + "]}"),
                ElementsAre("/functions/2 endsWithoutReturn: the function can end without return",
                            "/functions/4 expectsArguments: nothing calls the function, which "
                            "expects arguments: it answers false"));
}

TEST(Analysis, StatementsBehindOneThatLeavesAreNeverReached) {
    String const text = " neverReached: the statement is never reached, the one before it always "
                        "leaves";
    EXPECT_THAT(remarksOn(documentOf(returnText + "," + medText + "," + medText)),
                ElementsAre("/functions/0/body/stmts/1" + text));
    EXPECT_THAT(remarksOn(documentOf(exitText + "," + returnText)),
                ElementsAre("/functions/0/body/stmts/1" + text));
    EXPECT_THAT(
        remarksOn(documentOf(ifElse(dependsText, returnText + "," + returnText, block(exitText)) +
                             "," + medText)),
        ElementsAre("/functions/0/body/stmts/1" + text,
                    "/functions/0/body/stmts/0/thenBlock/stmts/1" + text));
    EXPECT_THAT(remarksOn(documentOf(ifElse(dependsText, returnText, "") + "," + returnText)),
                IsEmpty());
}

TEST(Analysis, ComparisonsThatAnswerTheSameForEveryRoute) {
    struct Case {
        char const * comparison;
        char const * lhs;
        char const * rhs;
        char const * told; ///< empty where the answer depends on the route
    };
    constexpr char const * med = R"("med")";
    constexpr char const * origin = R"("origin")";
    constexpr char const * variable = R"({"class":"IntVariable","name":"v","argVectorIndex":0})";
    Case const cases[] = {
        {"IntIs", med, "4294967295", ""},
        {"IntIs", med, "4294967296", "never true: med (0 to 4294967295) and 4294967296"},
        {"IntIs", med, "-1", "never true: med (0 to 4294967295) and -1"},
        {"IntIs", "-0", med, ""},
        {"IntLessThan", med, "0", "never true: med (0 to 4294967295) and 0"},
        {"IntLessThan", med, "1", ""},
        {"IntLessThan", med, "4294967296", "always true: med (0 to 4294967295) and 4294967296"},
        {"IntLessThan", "-1", med, ""}, // as 1: the sign of the left side is of no account
        {"IntIs", "-5", "-5", "never true: -5 and -5"},
        {"IntLessThanEq", med, "4294967295", "always true: med (0 to 4294967295) and 4294967295"},
        {"IntLessThanEq", med, "-1", "never true: med (0 to 4294967295) and -1"},
        {"IntGreaterThan", med, "4294967295", "never true: med (0 to 4294967295) and 4294967295"},
        {"IntGreaterThan", med, "4294967294", ""},
        {"IntGreaterThan", med, "-5", "always true: med (0 to 4294967295) and -5"},
        {"IntGreaterThanEq", med, "1", ""},
        {"IntGreaterThanEq", R"("input.med")", "0",
         "always true: input.med (0 to 4294967295) and 0"},
        {"IntIs", R"("afi")", "-2", "never true: afi (0 to 18446744073709551615) and -2"},
        {"IntIs", origin, "256", ""},
        {"IntIs", origin, "3", "never true: origin (0 to 2 or 256) and 3"},
        {"IntGreaterThan", origin, "2", ""},
        {"IntLessThan", origin, "257", "always true: origin (0 to 2 or 256) and 257"},
        {"IntLessThan", R"("rpki.origin_as_validity")", R"("weight")", ""},
        {"IntIs", "5", "5", "always true: 5 and 5"},
        {"IntLessThan", med, med, "never true: med (0 to 4294967295) and med (0 to 4294967295)"},
        {"IntIs", med, R"("input.med")", ""},
        {"IntLessThan", variable, "170000", ""},
        {"IntLessThan", variable, variable, ""},
        {"IntInImmediateSet", origin, "[3, 4]", "never true: origin (0 to 2 or 256) and { 3, 4 }"},
        {"IntInImmediateSet", origin, "[0, 256]", ""},
        {"IntInImmediateSet", "-5", "[5]", ""},       // the sign is of no account here either
        {"IntInImmediateSet", "5", R"(["med"])", ""}, // an element need not be a constant
        {"IntInImmediateSet", origin, "[]", "never true: origin (0 to 2 or 256) and {  }"},
        {"BandwidthLessThan", "1.5", "2.5", "always true: 1.5 and 2.5"},
        {"BandwidthIs", R"("ecmp.aggregate_link_bandwidth")", "-1.0", ""},
        {"TriStateBoolIs", "true", R"("unknown")", "never true: true and unknown"},
        {"TriStateBoolIs", R"("bgp.aggregate")", "true", ""},
    };
    for (Case const & c : cases) {
        String const condition = compare(c.comparison, c.lhs, c.rhs);
        String const text = R"({"class":"ReturnExpression","expr":)" + condition + "}";
        Lines expected;
        if (*c.told != '\0') {
            expected.push_back(String("/functions/0/body/stmts/0/expr constantAnswer: the "
                                      "comparison is ") +
                               c.told);
        }
        EXPECT_EQ(remarksOn(documentOf(text)), expected) << condition;
    }
}

TEST(Analysis, ConstantsThatNoValueCanBe) {
    struct Case {
        char const * node;
        char const * lhs;
        char const * rhs;
        char const * told;
    };
    Case const cases[] = {
        {"IntAssign", R"("med")", "4294967295", ""},
        {"IntAssign", R"("med")", "4294967296",
         " 4294967296 is out of the range of med, 0 to 4294967295; it is written as 4294967295"},
        {"IntAssign", R"("origin")", "256", ""}, // the default, which may be assigned
        {"IntAssign", R"("origin")", "3",
         " 3 is out of the range of origin, 0 to 2; it is written as 2"},
        {"IntAssign", R"("weight")", "-1",
         " -1 is out of the range of weight, 0 to 65535; it is written as 0"},
        {"IntAssign", R"("med")", R"("weight")", ""},
        {"IntPlusEq", R"("weight")", "-65535", ""},
        {"IntPlusEq", R"("weight")", "65536", " 65536 is out of the range of weight, 0 to 65535"},
        {"IntMinusEq", R"("weight")", "65536", " 65536 is out of the range of weight, 0 to 65535"},
        {"IntMultEq", R"("weight")", "65536", " 65536 is out of the range of weight, 0 to 65535"},
        {"IntInImmediateSet", R"("origin")", "[0, 256]", ""},
        {"IntInImmediateSet", R"("origin")", "[0, 7]",
         " 7 is out of the range of origin, 0 to 2 or 256"},
        {"IntSetAddImmediate", R"("community")", "[1, 4294967296]",
         "/rhs 4294967296 is out of the range of elements, 0 to 4294967295"},
        {"AsPathPrepend", R"("as_path")", "[65001, -1]",
         "/rhs -1 is out of the range of elements, 0 to 4294967295"},
    };
    for (Case const & c : cases) {
        String const node = compare(c.node, c.lhs, c.rhs);
        String const told = c.told;
        std::size_t const blank = told.find(' ');
        Lines expected;
        if (!told.empty()) {
            expected.push_back("/functions/0/body/stmts/0" + told.substr(0, blank) +
                               " outOfRange: the constant" + told.substr(blank));
        }
        Lines remarks = remarksOn(documentOf(node + "," + returnText));
        std::erase_if(remarks,
                      [](String const & line) { return line.find("bareTest") != String::npos; });
        EXPECT_EQ(remarks, expected) << node;
    }
}

TEST(Analysis, StatementsThatDoNothing) {
    auto const function = [](char const * name, String const & statements) {
        return R"({"name":")" + String(name) + R"(","argumentsExpected":true,"body":)" +
               block(statements) + "}";
    };
    auto const call = [](char const * name) {
        return R"({"class":"FunctionCallExpression","calleeName":")" + String(name) + "\"}";
    };
    auto const chain = [](String const & first, String const & second) {
        return R"({"class":"LogicalOperatorExpression","operatorList":["and"],"expressionList":[)" +
               first + "," + second + "]}";
    };
    auto const notOf = [](String const & operand) {
        return R"({"class":"NotExpression","expr":)" + operand + "}";
    };
    String const callees =
        function("tests", ifElse(dependsText, returnText, "")) + "," +
        function("asks", R"({"class":"ReturnExpression","expr":)" + call("tests") + "}") + "," +
        function("writes", ifElse(dependsText, medText, "")) + "," +
        function("exits", ifElse(dependsText, exitText, "")) + "," +
        function("passes", ifElse(call("writes"), returnText, "")) + "," +
        function("overlay", R"({"class":"EvpnIpPrefixRouteSetOverlayIndexImplExpr"})") + "," +
        function("nextHop", R"({"class":"SetNextHopSelfImplExpr"})") + "," +
        function("origin", R"({"class":"MatchOriginAsValidityImplExpr"})");
    String const unused = " unusedResult: the result of the call is not used, and ";
    String const idle = " neither changes anything nor exits";
    String const bare = " bareTest: the answer of the test is not used, and nothing is changed";
    struct Case {
        String statement;
        String told; ///< behind the statement's place; empty for nothing
    };
    Case const cases[] = {
        {call("tests"), unused + "\"tests\"" + idle},
        {call("asks"), unused + "\"asks\"" + idle},
        {call("writes"), ""},
        {call("exits"), ""},
        {call("passes"), ""},
        {call("overlay"), ""},
        {call("nextHop"), ""},
        {dependsText, bare},
        {"true", bare},
        {notOf(dependsText), bare},
        {chain(dependsText, dependsText), bare},
        {chain(dependsText, medText), ""},
        {chain(dependsText, call("tests")), ""}, // a call: nothing is said of chains
        {notOf(medText), ""},
        {medText, ""},
        {exitText, ""},
        {block(""), ""},
        {ifElse(dependsText, medText, ""), ""},
        {ifElse(dependsText, medText, dependsText), "/elseBlock" + bare},
        {ifElse(dependsText, medText, ifElse(dependsText, medText, call("tests"))),
         "/elseBlock/elseBlock" + unused + "\"tests\"" + idle},
        {ifElse(call("tests"), dependsText, ""), "/thenBlock/stmts/0" + bare},
        {R"({"class":"ReturnExpression","expr":)" + call("tests") + "}", ""},
    };
    for (Case const & c : cases) {
        Lines expected;
        if (!c.told.empty()) {
            expected.push_back("/functions/8/body/stmts/0" + c.told);
        }
        Lines told =
            remarksOn(R"({"qcf":"aet/1","functions":[)" + callees + R"(,{"name":"f","body":)" +
                      block(c.statement + "," + returnText) + "}]}");
        // Of callees that this one does not call, and of what stands behind, other things are told.
        std::erase_if(told, [](String const & line) {
            return !line.starts_with("/functions/8/body/stmts/0");
        });
        EXPECT_EQ(told, expected) << c.statement;
    }
}

TEST(Analysis, AStatementInManyPlacesIsToldOnce) {
    String const shared = R"({"ref":7})";
    EXPECT_EQ(remarksOn(documentOf(block(shared) + "," + block(shared) + "," + returnText,
                                   R"({"class":"IntIs","key":7,"lhs":"med","rhs":5})"))
                  .size(),
              1U);
}

TEST(Analysis, ManyTimesSharedAndDeepTreesAreWalkedOnce) {
    constexpr U32 levels = 20;
    String nodes = R"({"class":"Block","key":1000,"stmts":[)" + medText + "]}";
    for (U32 level = 2; level <= levels; ++level) {
        String const below = "{\"ref\":" + std::to_string((level - 1) * 1000) + "}";
        nodes += R"(,{"class":"Block","key":)" + std::to_string(level * 1000) + R"(,"stmts":[)" +
                 below + "," + below + "]}";
    }
    EXPECT_EQ(remarksOn(documentOf(R"({"ref":20000})", nodes)).size(), 1U);
}

TEST(Places, EqualValuesStandWhereTheFunctionHasThem) {
    String const use = R"({"class":"ReturnExpression","expr":)" + dependsText + "}";
    Places places;
    Program const program =
        readProgram(R"({"qcf":"aet/1","functions":[{"name":"a","body":)" + block(use) +
                        R"(},{"name":"b","body":)" + block(medText + "," + use) + "}]}",
                    "d.json", {.places = &places});
    auto const isFive = [](auto const & node) {
        auto const * const constant = dynamic_cast<Eval::IntImmediate const *>(node.get());
        return constant != nullptr && constant->value() == 5;
    };
    auto const five = std::find_if(program.nodes.begin(), program.nodes.end(), isFive);
    ASSERT_NE(five, program.nodes.end());
    EXPECT_EQ(places.of(**five, *program.functions[0]),
              "d.json:/functions/0/body/stmts/0/expr/rhs");
    EXPECT_EQ(places.of(**five, *program.functions[1]),
              "d.json:/functions/1/body/stmts/1/expr/rhs");
}

TEST(Unread, EveryFunctionsFirstErrorIsToldAndTheOthersAreRead) {
    String const bad = R"({"class":"IntAssign","lhs":"afi","rhs":1},{"class":"Nothing"})";
    std::vector<UnreadFunction> unread;
    Program const program = readProgram(
        R"({"qcf":"aet/1","functions":[{"name":"a","body":)" + block(bad) +
            R"(},{"name":"b","key":50,"body":)" + block(returnText) + R"(},{"name":"c","body":)" +
            block(R"({"class":"FunctionCallExpression","calleeName":"a"})") +
            R"(},{"name":"d","body":5},{"name":"e","body":)" +
            block(R"({"class":"FunctionCallExpression","calleeName":"b"})") + "}]}",
        "d.json", {.unread = &unread});
    ASSERT_EQ(unread.size(), 3U);
    EXPECT_STREQ(
        unread[0].error.what(),
        "d.json:/functions/0/body/stmts/0/lhs: IntAssign.lhs wants IntModifiable, found Afi "
        "(\"afi\")");
    EXPECT_STREQ(
        unread[1].error.what(),
        "d.json:/functions/2/body/stmts/0/calleeName: FunctionCallExpression.calleePtr wants "
        "Function that could be read, found \"a\", which has an error");
    EXPECT_EQ(unread[2].position, 3U);
    ASSERT_EQ(program.functions.size(), 2U);
    EXPECT_EQ(program.functions[1]->funcName(), "e");
}

TEST(Unread, KeysOfWhatCouldNotBeReadStayTaken) {
    // The second function gets the keys that it would get if the first one were right.
    std::vector<UnreadFunction> unread;
    readProgram(R"({"qcf":"aet/1","functions":[{"name":"a","body":{"class":"Block","stmts":[
                    {"class":"Nothing"},{"class":"Block","key":100}]}},
                    {"name":"b","body":{"class":"Block"}},
                    {"name":"c","body":{"class":"Block","key":3,"stmts":[{"ref":100}]}}]})",
                "d.json", {.unread = &unread});
    ASSERT_EQ(unread.size(), 2U);
    EXPECT_THAT(unread[1].error.what(), testing::HasSubstr("stmts/0/ref: "));
    EXPECT_THAT(unread[1].error.what(),
                testing::HasSubstr("key 100, which has an error or stands behind"));
}

} // namespace Qcf::Documents::test
