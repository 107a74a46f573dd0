#include "tests/support/RecordingContext.h"
#include "tests/support/Trees.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

String dump(Expression const & node, U32 indent = 0) {
    auto const out = makePtr<DumpContext>();
    node.dumpState(out, indent);
    return out->text();
}

String address(void const * object) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", object);
    return text;
}

PtrConst<Expression> named(char const * name, bool sane = true) {
    auto const node = make<Scripted>(EvalResult(), sane);
    node->name = name;
    return node;
}

/// Traces of the engine while it lives.
class Traces {
public:
    explicit Traces(int level) {
        TraceFacility::sinkIs([this](int l, String const & text) {
            lines.push_back(std::to_string(l) + " " + text);
        });
        TraceFacility::find("QcfEval")->levelIs(level);
    }
    Traces(Traces const &) = delete;
    Traces & operator=(Traces const &) = delete;
    ~Traces() {
        TraceFacility::find("QcfEval")->levelIs(0);
        TraceFacility::sinkIs({});
    }
    std::vector<String> lines;
};

} // namespace

TEST(Dumps, ControlFlow) {
    auto const a = named("a");
    auto const b = named("b");
    EXPECT_EQ(dump(*logical("and", {a, b}), 4), "    ( a and b )");
    EXPECT_EQ(dump(*logical("??", {a, b, a})), "( a ?? b ?? a )");
    EXPECT_EQ(dump(*make<NotExpression>(a), 2), "  ( not a )");
    EXPECT_EQ(dump(*returns(logical("or", {a, b}))), "return ( a or b )");
    EXPECT_EQ(dump(*make<ExitExpression>(a), 1), " exit a");
    EXPECT_EQ(dump(*always(QcfUnknown()), 3), "   unknown");
    EXPECT_EQ(dump(*block({a, b})), "  a\n  b\n");
    EXPECT_EQ(dump(*block({a}), 2), "    a  \n");
    EXPECT_EQ(dump(*make<IfExpression>(a, block({b}), nullptr)), "if a {\n    b  \n}");
    EXPECT_EQ(dump(*make<IfExpression>(a, block({b}), block({a})), 2),
              "  if a {\n      b    \n  } else {\n      a    \n  }");
    Ptr<Function> const f =
        make<Function>("f", Qcf::FunctionMetadata{}, Routing::Policy::RouteMapFeatures{"y", "x"},
                       AccessibleAttributes{}, false, block({a}));
    EXPECT_EQ(dump(*f), "QCF Function f, features=<x,y>\nfunction f@" + address(f.get()) +
                            "() {\n    a  \n}\n");
    EXPECT_EQ(dump(*f, 1), " QCF Function f, features=<x,y>\n function f@" + address(f.get()) +
                               "() {\n     a   \n }\n");
    auto const callee = address(f.get());
    EXPECT_EQ(dump(*call(f)), "f@" + callee + "()");
    EXPECT_EQ(dump(*call(f, {number(1), make<IntVariable>("v", U8{65})}), 2),
              "  f@" + callee + "(1, v[index:A])");
}

TEST(DumpsDeathTest, ChainsThatDoNotMatch) {
    auto const a = named("a");
    auto const operands = [&](std::size_t n) { return chain<ExpressionList>(Expressions(n, a)); };
    auto const operators = [](std::size_t n) {
        return chain<LogicalOperatorList>(
            std::vector<PtrConst<LogicalOperator>>(n, make<AndOperator>()));
    };
    char const * const mismatch = "assertion failed: nullptr == expr && nullptr == op \\(";
    EXPECT_DEATH(dump(*make<LogicalOperatorExpression>(operands(2), operators(0))),
                 "nullptr != op && \"There MUST be at least one operator\"");
    for (auto const & [n, m] : {std::pair<std::size_t, std::size_t>{1, 1}, {3, 1}, {2, 2}}) {
        EXPECT_DEATH(dump(*make<LogicalOperatorExpression>(operands(n), operators(m))), mismatch);
    }
}

TEST(DumpsDeathTest, ChainsWithAnAbsentEntry) {
    char const * const text = "assertion failed: nullptr != entry\\(\\)";
    EXPECT_DEATH(make<IntLinkedList>(nullptr, nullptr)->toStrep(), text);
    EXPECT_DEATH(make<CommunityLinkedList>(nullptr, nullptr)->toStrep(), text);
    EXPECT_DEATH(make<FunctionArgumentList>(nullptr, nullptr)->toStrep(), text);
    auto const head = makePtr<IntLinkedList>(
        1U, number(1), constCast(PtrConst<IntLinkedList>(make<IntLinkedList>(nullptr, nullptr))));
    EXPECT_DEATH(make<IntSetImmediate>(head, false)->toStrep(), text);
}

TEST(Dumps, Operators) {
    auto const med = make<Attribute::Med>();
    auto const five = number(5, true);
    auto const community = make<Attribute::Community>();
    auto const ext = make<Attribute::ExtCommunity>();
    auto const prefix = make<Attribute::IpPrefix>();
    auto const list = make<PrefixListImmediate>("P", U16{1}, false);
    auto const set = intSet({1, 2});
    std::pair<PtrConst<Expression>, char const *> const cases[] = {
        {make<IntIs>(med, five), "med Is5"},
        {make<IntLessThanEq>(med, five), "med LessThanEq5"},
        {make<IntAssign>(med, five), "med Assign5"},
        {make<IntMultEq>(med, five), "med MultEq5"},
        {make<BandwidthGreaterThan>(make<Attribute::AggregateLinkBandwidth>(),
                                    make<BandwidthImmediate>(2.5F)),
         "ecmp.aggregate_link_bandwidth GreaterThan2.5"},
        {make<IntInImmediateSet>(med, set), "med InImmediateSet{ 1, 2 }"},
        {make<IntMatchTagSet>(med, "T", U16{1}), "med MatchTagSetT"},
        {make<IntSetAddImmediate>(community, set), "community AddImmediate{ 1, 2 }"},
        {make<IntSetIsEmpty>(community), "community IsEmpty"},
        {make<IntSetRetainCommList>(community, "CL", U16{1}), "community RetainCommListCL"},
        {make<CommunitySetMatchExactLargeCommList>(ext, "CL", U16{1}),
         "ext_community MatchExactLargeCommListCL"},
        {make<ExtCommunitySetAddImmediate>(ext, communitySet({{1, 2}})),
         "ext_community AddImmediate{ 0:1:2 }"},
        {make<CommunityValueIn>(make<Attribute::AdminAs>(), ext),
         "_internal.admin_as Inext_community"},
        {make<IpAddressIsAddrZero>(make<Attribute::NextHop>()), "next_hop IsAddrZero"},
        {make<IpPrefixMatchCoveredPrefixList>(prefix, list), "prefix MatchCoveredPrefixListv4 P"},
        {make<EsiIs>(make<Attribute::EvpnMacIpRouteEsi>(), make<EsiImmediate>(std::nullopt)),
         "evpn.mac_ip_route.esi Is"},
        {make<SetNextHopSelfImplExpr>(), " SetNextHopSelfImplExpr"},
        {make<AsPathMatchAsPathAccessList>(make<Attribute::AsPath>(), "A", U16{1}),
         "as_path MatchAsPathAccessListA"},
    };
    for (auto const & [node, expected] : cases) {
        EXPECT_EQ(dump(*node), expected);
        EXPECT_EQ(dump(*node, 3), String("   ") + expected);
    }
    auto const ranges = make<IntInImmediateSetWithRanges>(med, set, intList({1}), intList({2}));
    EXPECT_EQ(dump(*ranges), " med InImmediateSetWithRanges\nsingleton values: { 1, 2 }\n"
                             "lower bound range values: [ 1 ]\nupper bound range values: [ 2 ]\n");
    EXPECT_EQ(dump(*make<IntInImmediateSetWithRanges>(med, nullptr, nullptr, nullptr), 2),
              "   med InImmediateSetWithRanges\n  singleton values: \n"
              "  lower bound range values: \n  upper bound range values: \n");
}

TEST(Sanity, StatementsUntilTheFirstInsaneOne) {
    Traces const traces(2);
    auto const sane = [](char const * name) { return named(name); };
    auto const bad = named("bad", false);
    auto const after = make<Scripted>(EvalResult());
    for (PtrConst<Expression> const & node :
         {PtrConst<Expression>(block({bad, after})), PtrConst<Expression>(function({bad, after})),
          logical("or", {bad, after})}) {
        EXPECT_FALSE(node->verifySanity({})) << node->typeData().name;
        EXPECT_EQ(after->checks, 0U);
    }
    EXPECT_TRUE(block({sane("a"), sane("b")})->verifySanity({}));
    EXPECT_TRUE(make<Block>(nullptr)->verifySanity({}));
    EXPECT_TRUE(function({})->verifySanity({}));
    EXPECT_TRUE(call(function({bad}))->verifySanity({})); // the callee is checked by itself
    EXPECT_EQ(traces.lines.size(), 0U);
}

TEST(Sanity, TracesWhatItFound) {
    Traces const traces(2);
    auto const good = named("good");
    auto const bad = named("bad", false);
    for (bool const sane : {true, false}) {
        auto const x = sane ? good : bad;
        EXPECT_EQ(make<NotExpression>(x)->verifySanity({}), sane);
        EXPECT_EQ(returns(x)->verifySanity({}), sane);
        EXPECT_EQ(make<ExitExpression>(x)->verifySanity({}), sane);
    }
    EXPECT_FALSE(make<IfExpression>(bad, block({good}), nullptr)->verifySanity({}));
    EXPECT_FALSE(make<IfExpression>(good, block({bad}), bad)->verifySanity({}));
    EXPECT_TRUE(make<IfExpression>(good, block({}), block({good}))->verifySanity({}));
    EXPECT_EQ(traces.lines,
              (std::vector<String>{"2 NotExpression: exprSane=1", "2 ReturnExpression: exprSane=1",
                                   "2 ExitExpression: exprSane=1", "2 NotExpression: exprSane=0",
                                   "2 ReturnExpression: exprSane=0", "2 ExitExpression: exprSane=0",
                                   "2 IfExpression: conditionSane=0 thenSane=1 elseSane=1",
                                   "2 IfExpression: conditionSane=1 thenSane=0 elseSane=0",
                                   "2 IfExpression: conditionSane=1 thenSane=1 elseSane=1"}));
}

TEST(Traces, OfAnEvaluation) {
    auto const context = makePtr<RecordingContext>();
    auto const callee = function({make<ExitExpression>(always(QcfFalse()))}, false, "g");
    auto const f = function(
        {make<IfExpression>(always(QcfUnknown()), block({}), nullptr), call(callee), accepts()});
    {
        Traces const traces(1);
        f->eval(context);
        EXPECT_EQ(traces.lines,
                  (std::vector<String>{"1 Evaluating function f",
                                       "1 Evaluating IfExpression, condition evaluated to unknown",
                                       "1 Calling function g", "1 Evaluating function g",
                                       "1 ExitExpression returning false"}));
        auto const returning = function({accepts()});
        returning->eval(context);
        EXPECT_EQ(traces.lines.back(), "1 ReturnExpression returning true");
    }
    Traces const off(0);
    f->eval(context);
    EXPECT_TRUE(off.lines.empty());
}
