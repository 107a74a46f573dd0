#include "Documents/ExampleNode.h"
#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "Text/NodeText.h"
#include "tests/Documents/DocumentTools.h"
#include "tests/Text/PrinterTools.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/Trees.h"

#include <numeric>
#include <regex>

#include <gmock/gmock.h>

namespace Qcf::Text::test {
namespace {

using namespace Qcf::Eval;       // NOLINT(google-build-using-namespace): nodes under test
using namespace Qcf::Eval::test; // NOLINT(google-build-using-namespace): short ways to them
using Documents::Program;
using Documents::test::documentOf;
using Documents::test::read;
using Qcf::test::RandomDocument;
using testing::HasSubstr;
using testing::Not;

/// The statements of a document's one function, each in its lines.
String statementsOf(String const & statements) {
    String const text = expectRoundTrip(read(documentOf(statements)));
    String const begin = "function f() {\n";
    String const end = "}\n";
    EXPECT_TRUE(text.starts_with(begin)) << text;
    return text.substr(begin.size(), text.size() - begin.size() - end.size());
}

struct Row {
    char const * json;
    char const * text;
};

void expectStatements(std::vector<Row> const & rows) {
    for (Row const & row : rows) {
        EXPECT_EQ(statementsOf(row.json), "  " + String(row.text) + '\n') << row.json;
    }
}

/// A program of these functions; nothing else of it is asked.
Program programOf(std::vector<PtrConst<Function>> const & functions) {
    Program program;
    program.functions = functions;
    return program;
}

/// Nodes that tests make have keys by the order of the tests.
String withoutKeys(String const & text) {
    static std::regex const key("@key\\([0-9]+\\)\n");
    return std::regex_replace(text, key, "");
}

/// A test of one integer attribute with that value on its right.
String is(String const & attribute, String const & value) {
    return R"({"class":"IntIs","lhs":")" + attribute + R"(","rhs":)" + value + "}";
}

} // namespace

TEST(Printer, SpellsTestsAndChanges) {
    expectStatements({
        {R"({"class":"IntIs","lhs":"med","rhs":5})", "med is 5"},
        {R"({"class":"IntIs","lhs":"origin","rhs":2})", "origin is incomplete"},
        {R"({"class":"IntIs","lhs":"origin","rhs":256})", "origin is 256"},
        {R"({"class":"IntInImmediateSet","lhs":"origin","rhs":[0,1]})", "origin in { igp, egp }"},
        {R"({"class":"IntPlusEq","lhs":"origin","rhs":1})", "origin += 1"},
        {R"({"class":"NotExpression","expr":{"class":"IntSetIsEmpty","lhs":"community"}})",
         "not community is empty"},
        {R"({"class":"IntSetHasAnyImmediate","lhs":"community","rhs":["65000:1","no-export"]})",
         "community has any { 65000:1, no-export }"},
        {R"({"class":"IntIs","lhs":"community.count","rhs":5})", "community.count is 5"},
        {R"({"class":"IntMatchTagSet","lhs":"community.count","tagSetName":"T"})",
         "community.count matches T"},
        {R"({"class":"IntSetHasAnyImmediate","lhs":"isis.levels","rhs":[1]})",
         "isis.levels has any { 1 }"},
        {R"({"class":"IntInImmediateSet","lhs":4259840001,"rhs":"community"})",
         "65000:1 in community"},
        {R"({"class":"IntSetIsImmediate","lhs":[1],"rhs":"isis.levels"})",
         "( { 1 } is isis.levels )"},
        {R"({"class":"CommunitySetAddImmediate","lhs":"large_community","rhs":["1:2:3"]})",
         "large_community add { 1:2:3 }"},
        {R"({"class":"CommunitySetAddImmediate","lhs":"ext_community","rhs":["rt:1:2"]})",
         "ext_community add plain { 0x0002000100000002 }"},
        {R"({"class":"ExtCommunitySetAddImmediate","lhs":"ext_community","rhs":["rt:1:2"]})",
         "ext_community add { 0x0002000100000002 }"},
        {R"({"class":"ExtCommunitySetAddImmediate","lhs":"large_community","rhs":[]})",
         "@ExtCommunitySetAddImmediate(lhs: large_community, "
         "rhs: @CommunitySetImmediate(head: null, cachable: true))"},
        {R"({"class":"CommunitySetAssignImmediate","lhs":"ext_community","rhs":[]})",
         "ext_community = {}"},
        {R"({"class":"CommunitySetMatchExtCommList","lhs":"ext_community","listName":"L"})",
         "ext_community matches L"},
        {R"({"class":"CommunitySetMatchLargeCommList","lhs":"ext_community","listName":"L"})",
         "ext_community matches large_community_list L"},
        {R"({"class":"IntSetMatchExactCommList","lhs":"isis.levels","listName":"L"})",
         "isis.levels matches exact community_list L"},
        {R"({"class":"AsPathMatchAsPathAccessList","lhs":"as_path","listName":"^1 "})",
         "as_path matches as_path_list \"^1 \""},
        {R"({"class":"IpPrefixMatchCoveredPrefixList","lhs":"prefix","rhs":
            {"class":"PrefixListImmediate","name":"exit","isV4":false}})",
         "prefix matches covered v6 \"exit\""},
        {R"({"class":"IpPrefixCoveredBy","lhs":"prefix","rhs":"10.0.0.0/8"})",
         "prefix covered by 10.0.0.0/8"},
        {R"({"class":"AsPathPrepend","lhs":"as_path","rhs":[65000,65000]})",
         "as_path prepend [ 65000, 65000 ]"},
        {R"({"class":"InterfaceIs","lhs":"connected.interface","rhs":"a\"b"})",
         "connected.interface is interface \"a\\\"b\""},
        {R"({"class":"ResolutionRibsAssign","lhs":"resolution_ribs","rhs":
            {"class":"ResolutionRibsImmediate","value":{"entries":[{"name":"a-b","kind":2},
            {"name":"","kind":0},{"name":"x y","kind":1}],"useDefault":true}}})",
         "resolution_ribs = ribs [ a-b:2, \"\": 0, \"x y\": 1, use_default ]"},
        {R"({"class":"BandwidthIs","lhs":"ecmp.aggregate_link_bandwidth","rhs":-0.0})",
         "ecmp.aggregate_link_bandwidth is -0.0"},
    });
}

TEST(Printer, SpellsItemsOfSetsAndRanges) {
    String const test = R"({"class":"IntInImmediateSetWithRanges","lhs":"med",)";
    expectStatements({
        {(test + R"("singletons":[1],"lowerBounds":[5],"upperBounds":[9]})").c_str(),
         "med in { 1, 5..9 }"},
        {(test + R"("lowerBounds":[5,7],"upperBounds":[6,8]})").c_str(), "med in { 5..6, 7..8 }"},
        {(test + R"("singletons":[1]})").c_str(), "med in ranges { 1 }"},
        {(test + R"("singletons":[]})").c_str(),
         "@IntInImmediateSetWithRanges(lhs: med, singletons: {}, lowerBounds: null, "
         "upperBounds: null)"},
    });
}

TEST(Printer, WritesRawWhatASpellingWouldChange) {
    expectStatements({
        {R"({"class":"IntInImmediateSet","lhs":"med","rhs":
            {"class":"IntSetImmediate","head":[1,2],"cachable":false}})",
         "med in @IntSetImmediate(head: [ 1, 2 ], cachable: false)"},
        {R"({"class":"AsPathAssign","lhs":"as_path","rhs":[]})",
         "as_path = @IntListImmediate(head: null, cachable: true)"},
        {R"({"class":"LogicalOperatorExpression","expressionList":[true,false],
             "operatorList":["and","or"]})",
         "@LogicalOperatorExpression(expressionList: [ true, false ], operatorList: [ and, or ])"},
        {R"({"class":"LogicalOperatorExpression","expressionList":[],"operatorList":["??"]})",
         "@LogicalOperatorExpression(expressionList: null, operatorList: [ ?? ])"},
        {R"({"class":"LogicalOperatorExpression","operatorList":["and"],"expressionList":[
             {"class":"LogicalOperatorExpression","expressionList":[true,false],
              "operatorList":["or"]},{"class":"ExitExpression","expr":true}]})",
         "( true or false ) and ( exit true )"},
    });
}

TEST(Printer, SpellsMadeCommunities) {
    auto const merged = [](char const * base, char const * offset) {
        return String(
                   R"({"class":"CommunityValueIs","lhs":{"class":"CommunityValueDynamic","val":")") +
               base + R"(","dynamicVal":{"class":"BandwidthToCommunityValue","bandwidthVal":8.0,)" +
               R"("offset":)" + offset + R"(},"dynamicValMask":{"value":4294967295,"type":0}},)" +
               R"("rhs":{"class":"ExtCommSetToLinkBandwidthExtCommValue","extCommSet":[]}})";
    };
    EXPECT_EQ(statementsOf(merged("lbw:65000:0", "64")),
              "  lbw(65000, 8.0) is link_bandwidth({})\n");
    EXPECT_EQ(statementsOf(merged("lbw:65000:0", "63")),
              "  merge(0x4004fde800000000, bandwidth_bits(8.0, 63), 0x00000000ffffffff) is "
              "link_bandwidth({})\n");
    EXPECT_THAT(statementsOf(merged("lbw:65000:8", "64")), HasSubstr("  merge("));
}

TEST(Printer, LaysOutStatements) {
    String const block = R"({"class":"Block","stmts":[)";
    String const leave = R"({"class":"ExitExpression","expr":true})";
    String const test =
        R"("condition":)" + is("med", "1") + R"(,"thenBlock":)" + block + leave + "]}";
    EXPECT_EQ(statementsOf(R"({"class":"IfExpression",)" + test +
                           R"(,"elseBlock":{"class":"IfExpression",)" + test + R"(,"elseBlock":)" +
                           block + block + "]}]}}}"),
              "  if med is 1 {\n    exit true\n  } else if med is 1 {\n    exit true\n"
              "  } else {\n    {\n    }\n  }\n");
    // No block and no `if` behind `else`.
    EXPECT_EQ(statementsOf(R"({"class":"IfExpression",)" + test + R"(,"elseBlock":true})"),
              "  @IfExpression(condition: med is 1, thenBlock: {\n    exit true\n  }, "
              "elseBlock: true)\n");
    EXPECT_EQ(
        statementsOf(R"({"class":"NotExpression","expr":{"class":"IfExpression",)" + test + "}}"),
        "  not ( if med is 1 {\n    exit true\n  } )\n");
}

TEST(Printer, BreaksLongLinesOutsideOfBracketsFirst) {
    String tests;
    String operators;
    String numbers = "0";
    for (U32 i = 0; i < 12; ++i) {
        tests += (i == 0 ? "" : ",") + is("igp.metric", std::to_string(i));
        operators += i == 0 ? "" : i == 1 ? "\"or\"" : ",\"or\"";
    }
    for (U32 i = 1; i < 60; ++i) {
        numbers += "," + std::to_string(i);
    }
    tests += R"(,{"class":"IntInImmediateSet","lhs":"med","rhs":[)" + numbers + "]}";
    String const text = statementsOf(R"({"class":"LogicalOperatorExpression","operatorList":[)" +
                                     operators + R"(,"or"],"expressionList":[)" + tests + "]}");
    EXPECT_THAT(text, HasSubstr("\n      or igp.metric is"));
    EXPECT_THAT(text, HasSubstr("\n      or med in { 0, 1,"));
    EXPECT_THAT(text, HasSubstr(",\n        "));
    std::size_t begin = 0;
    for (std::size_t end = text.find('\n'); end != String::npos; end = text.find('\n', begin)) {
        EXPECT_LE(end - begin, 120U) << text.substr(begin, end - begin);
        begin = end + 1;
    }
}

TEST(Printer, NamesParametersAsVariablesDo) {
    auto const variable = [](char const * name, U8 index) {
        return make<IntVariable>(name, index);
    };
    auto const uses = [](PtrConst<Int> const & value) {
        return PtrConst<Expression>(make<IntIs>(make<Attribute::Med>(), value));
    };
    auto const callee = function({uses(variable("base", 1)), uses(variable("other", 1)),
                                  uses(variable("base", 0)), uses(variable("igp", 2))},
                                 true, "g");
    auto const one = number(1);
    auto const three = call(callee, {one, one, one});
    auto const four = call(callee, {one, one, one, make<Attribute::Community>()});
    String const text = expectRoundTrip(programOf({callee, function({three, four})}));
    EXPECT_EQ(withoutKeys(text), "@reads()\nfunction g(int int_1, int base, int int_3) {\n"
                                 "  med is base\n"
                                 "  med is @IntVariable(name: \"other\", argVectorIndex: 1)\n"
                                 "  med is @IntVariable(name: \"base\", argVectorIndex: 0)\n"
                                 "  med is @IntVariable(name: \"igp\", argVectorIndex: 2)\n"
                                 "}\n"
                                 "\n"
                                 "@reads()\nfunction f() {\n"
                                 "  g(1, 1, 1)\n"
                                 "  @FunctionCallExpression(calleeName: \"g\", calleePtr: g, "
                                 "argListHead: [ 1, 1, 1, community ], "
                                 "functionCallId: 0)\n"
                                 "}\n");
}

// The order of parameters is that of the arguments of a call, which is one chain over all types.
TEST(Printer, OrdersParametersAsCallsPassThem) {
    auto const callee =
        function({make<TriStateBoolExpression>(make<TriStateBoolVariable>("a", U8{0})),
                  make<IntIs>(make<IntVariable>("n", U8{0}), number(1))},
                 true, "g");
    auto const wanted = make<TriStateBoolImmediate>(QcfTrue());
    auto const caller = function({call(callee, {wanted, number(7)})});
    String const text = expectRoundTrip(programOf({callee, caller}));
    EXPECT_THAT(text, HasSubstr("function g(tristate a, int n) {\n"));
    EXPECT_THAT(text, HasSubstr("  g(true, 7)\n"));
    EXPECT_THAT(expectRoundTrip(programOf({callee})), HasSubstr("function g(int n, tristate a) {"));
}

TEST(Printer, WritesBuiltInFunctionsAndTheirCalls) {
    auto const validate =
        function({make<MatchOriginAsValidityImplExpr>()}, true, "match_origin_as_validity");
    auto const table = make<RoaTableImmediate>(U64{1}, "RPKI");
    auto const named = call(validate, {table, number(2)});
    auto const other =
        make<FunctionCallExpression>("x", validate, arguments({table, number(2)}), 5U);
    auto const remove = function({make<AsPathRemoveImplExpr>()}, true, "remove");
    auto const empty = call(remove, {make<IntSetImmediate>(nullptr, true)});
    auto const caller = function({named, other, empty});
    // Functions that only calls reach have a text, too.
    String const text = expectRoundTrip(programOf({caller}));
    EXPECT_THAT(text, HasSubstr("function match_origin_as_validity(...) {\n"
                                "  builtin match_origin_as_validity\n}\n\n"));
    EXPECT_THAT(text, HasSubstr("  match_origin_as_validity(roa_table RPKI, invalid)\n"));
    EXPECT_THAT(text, HasSubstr("  @FunctionCallExpression(calleeName: \"x\", calleePtr: "
                                "match_origin_as_validity, argListHead: [ roa_table RPKI, 2 ],\n"
                                "        functionCallId: 5)\n"));
    EXPECT_THAT(text, HasSubstr("  \"remove\"({})\n"));
}

TEST(Printer, AnnotatesOnlyWhatReadingWouldDeriveOtherwise) {
    struct Case {
        char const * members; ///< of the function's object
        char const * text;    ///< before `function`
    };
    for (Case const & each : std::vector<Case>{
             {"", ""},
             {R"("accessedAttributes":{"read":["med"],"write":["community"]},)", ""},
             {R"("accessedAttributes":{"read":[],"write":["community"]},)", "@reads()\n"},
             {R"("accessedAttributes":{"read":["med"],"write":["community","med"]},)",
              "@writes(community, med)\n"},
             {R"("features":["b","a"],)", "@features(\"a\", \"b\")\n"},
             {R"("argumentsExpected":true,)", "@arguments(true)\n"},
             {R"("metadata":{"commListsUsed":{"L":1}},)", ""},
             {R"("metadata":{"commListsUsed":{"L":1,"M":3}},)",
              "@slots(community_list L 1, community_list M 3)\n"},
             {R"("metadata":{"commListsUsed":{"L":1},"V6PrefixListsUsed":{"x y":2}},)",
              "@slots(community_list L 1, prefix_list \"x y\" v6 2)\n"},
         }) {
        // The assignment replaces what it does not read.
        String const text = expectRoundTrip(
            read(R"({"qcf":"aet/1","functions":[{"name":"f",)" + String(each.members) +
                 R"("body":{"class":"Block","stmts":[)" + is("med", "1") +
                 R"(,{"class":"IntSetAssignCommList","lhs":"community","listName":"L"}]}}]})"));
        EXPECT_EQ(text.substr(0, text.find("function")), each.text);
    }
}

TEST(Printer, WritesSlotsThatCountingWouldNotGive) {
    auto const use = [](char const * name, char const * slot) {
        return String(R"({"class":"IntMatchTagSet","lhs":"igp.tag","tagSetName":")") + name +
               R"(","index":)" + slot + "}";
    };
    struct Case {
        std::vector<String> uses;
        char const * text;
    };
    for (Case const & each : std::vector<Case>{
             {{use("A", "1"), use("B", "2"), use("A", "1")}, "A B A"},
             {{use("A", "2"), use("B", "1")}, "A@2 B"},
             {{use("A", "7"), use("B", "1"), use("A", "7")}, "A@7 B A@7"},
             // One that counting gives only past the other.
             {{use("A", "2"), use("B", "3")}, "A@2 B@3"},
             {{use("A", "2"), use("B", "2")}, "A B@2"},
         }) {
        String all;
        for (String const & one : each.uses) {
            all += (all.empty() ? "" : ",") + one;
        }
        String found;
        String const text = expectRoundTrip(read(documentOf(all)));
        for (std::size_t at = text.find("matches "); at != String::npos;
             at = text.find("matches ", at + 1)) {
            std::size_t const begin = at + String("matches ").size();
            found +=
                (found.empty() ? "" : " ") + text.substr(begin, text.find('\n', begin) - begin);
        }
        EXPECT_EQ(found, each.text);
    }
}

TEST(Printer, PrintsOneFunctionAsItStandsInTheWholeText) {
    auto const callee = function({accepts()}, false, "g");
    auto const program = programOf({callee, function({call(callee)})});
    String const whole = printPolicy(program);
    EXPECT_EQ(printPolicy(program, *program.functions[0]) + "\n" +
                  printPolicy(program, *program.functions[1]),
              whole);
}

// Deep trees and long chains: neither the stack nor time may grow beyond them.
TEST(Printer, PrintsDeepAndLongTrees) {
    auto const nested = [](U32 levels) {
        PtrConst<Expression> deep = always(QcfTrue());
        for (U32 level = 0; level < levels; ++level) {
            deep = make<NotExpression>(deep);
        }
        return deep;
    };
    std::vector<U64> many(50'000);
    std::iota(many.begin(), many.end(), 1);
    Expressions statements(50'000, always(QcfTrue()));
    statements.push_back(nested(500));
    statements.push_back(make<AsPathAssign>(make<Attribute::AsPath>(), intList(many)));
    statements.push_back(logical("or", Expressions(50'000, always(QcfTrue()))));
    expectRoundTrip(programOf({function(statements)}));
    // Deeper than texts may be read.
    auto const deepest = programOf({function({nested(maximumTreeDepth - 8)})});
    expectWellFormed(deepest, printPolicy(deepest));
}

// Values stand as arguments that nobody reads. One that would be handed on by reference must not
// depend on the caller's own arguments, so that its text is not read back.
TEST(Printer, PrintsEveryClassByItsSpellingOrItsName) {
    auto const takesAny = function({accepts()}, false, "any");
    for (U32 seed = 0; seed < 10; ++seed) {
        SCOPED_TRACE(seed);
        auto const all = read(RandomDocument(seed).everyClass());
        for (auto const & node : all.nodes) {
            NodeClass const & nodeClass = node->typeData();
            bool const isValue = nodeClass.isKind(NodeKind::storageType);
            if (!isValue && !nodeClass.isKind(NodeKind::expression)) {
                continue; // Links and operators stand in what has them.
            }
            auto const statement = isValue ? call(takesAny, {ptrCast<StorageType const>(node)})
                                           : ptrCast<Expression const>(node);
            auto const program = programOf({takesAny, function({statement})});
            bool const isOfFrame = isValue && nodeClass.facts.argument == ArgumentKind::node &&
                                   node->treeFacts().looksIntoFrame;
            String const text = printPolicy(program);
            isOfFrame ? expectWellFormed(program, text) : void(expectRoundTrip(program));
            bool const isRaw = text.find("@" + String(nodeClass.name) + "(") != String::npos;
            auto const words = nodeClass.facts.words.substr(0, nodeClass.facts.words.find(' '));
            bool const isAttribute = nodeClass.attribute != nullptr;
            String const spelling(isAttribute ? nodeClass.attribute->languageName : words);
            EXPECT_TRUE(isRaw || text.find(spelling) != String::npos) << nodeClass.name << text;
            if (testing::Test::HasFailure()) {
                FAIL() << text;
            }
        }
    }
}

TEST(Printer, PrintsTheExamples) {
    for (char const * name : {"accept", "builtins", "fabric", "import-filter", "prefer-customers",
                              "route-server-export", "transit-import"}) {
        SCOPED_TRACE(name);
        auto const program =
            Documents::readProgramFile(String(QCF_SOURCE_DIR) + "/examples/" + name + ".json");
        String const text = expectRoundTrip(program);
        EXPECT_THAT(text, Not(HasSubstr("@")));
    }
}

TEST(Printer, PrintsRandomDocuments) {
    for (U32 seed = 0; seed < 2'000; ++seed) {
        SCOPED_TRACE(seed);
        RandomDocument::Options const options{.references = seed % 2 == 1, .calls = seed % 4 < 2};
        String const text =
            expectRoundTrip(read(RandomDocument(seed, options).functions(1 + seed % 4)));
        EXPECT_THAT(text, HasSubstr("function main() {\n"));
        EXPECT_THAT(text, Not(HasSubstr("@Block(")));
        if (testing::Test::HasFailure()) {
            FAIL() << text;
        }
    }
}

TEST(Printer, KeepsTheKeysOfFunctionsThatReadingWouldNotDerive) {
    String const text = "@key(9)\nfunction f() {\n  return med is 5\n}\n\n"
                        "function g() {\n  return f()\n}\n\n"
                        "@key(100)\nfunction h() {\n  return false\n}\n";
    auto const policy = readBack(text);
    ASSERT_TRUE(policy);
    EXPECT_EQ(printPolicy(policy->program()), text);
    EXPECT_EQ(policy->program().find("h")->aetNodeKey(), 100U);
}

// The examples of statements and conditions stand in a body as they are printed.
TEST(NodeText, ExamplesOfExpressionsReadBackAsTheirClass) {
    for (NodeClass const & nodeClass : nodeClasses()) {
        auto const example = Documents::exampleNode(nodeClass);
        String const text = printNode(*example);
        EXPECT_FALSE(text.empty()) << nodeClass.name;
        if (!nodeClass.isKind(NodeKind::expression) || is<Function>(*example)) {
            continue;
        }
        bool const isBuiltIn = text.starts_with("builtin ");
        auto const policy = readBack("function example(...) { return true }\nfunction f(" +
                                     String(isBuiltIn ? "..." : "") + ") { " + text + " }\n");
        ASSERT_TRUE(policy) << nodeClass.name;
        auto const body = policy->program().find("f")->body();
        EXPECT_EQ(&body->stmts()->entry()->typeData(), &nodeClass) << text;
    }
}

} // namespace Qcf::Text::test
