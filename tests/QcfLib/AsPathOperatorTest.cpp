#include "tests/support/RecordingContext.h"
#include "tests/support/Trees.h"

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

PtrConst<AsPathModifiable> asPath() { return make<Attribute::AsPath>(); }

Ptr<RecordingContext> route(char const * path) {
    auto context = makePtr<RecordingContext>();
    context->asPath = Routing::Bgp::AsPath(*Routing::Bgp::parseAsPath(path));
    return context;
}

PtrConst<Expression> assign(std::vector<U64> const & asns) {
    return make<AsPathAssign>(asPath(), intList(asns));
}
PtrConst<Expression> prepend(std::vector<U64> const & asns) {
    return make<AsPathPrepend>(asPath(), intList(asns));
}

/// A call of the built-in function with this body.
PtrConst<Expression> builtIn(PtrConst<Expression> body,
                             std::vector<PtrConst<StorageType>> const & values) {
    return call(function({std::move(body)}, true), values);
}
PtrConst<Expression> remove(std::vector<PtrConst<StorageType>> const & values) {
    return builtIn(make<AsPathRemoveImplExpr>(), values);
}
PtrConst<Expression> replace(std::vector<PtrConst<StorageType>> const & values) {
    return builtIn(make<AsPathReplaceImplExpr>(), values);
}

/// The path after the steps, as it was written back; "unchanged" when it was not.
String after(char const * path, Expressions steps) {
    auto const context = route(path);
    steps.push_back(accepts());
    auto const f = function(steps);
    EXPECT_EQ(textOf(f->eval(context)), "true");
    String const first = context->calls.empty() ? "" : context->calls.back();
    // The next route starts anew, and the one that came is untouched.
    context->reset();
    context->calls.clear();
    f->eval(context);
    EXPECT_EQ(context->calls.empty() ? "" : context->calls.back(), first);
    EXPECT_EQ(context->asPath.toString(), path);
    EXPECT_EQ(make<Attribute::AsPathInput>()->getVal(context)->toString(), path);
    bool const written = first.starts_with("asPathIs");
    return written ? first.substr(std::min<std::size_t>(9, first.size())) : "unchanged";
}

} // namespace

TEST(AsPathOperators, ChangeThePath) {
    auto const one = intSet({2});
    auto const lower = intList({10, 100});
    auto const upper = intList({20, 200});
    struct Case {
        char const * path;
        Expressions steps;
        char const * expected;
    } const cases[] = {
        {"1 2", {assign({7, 8, 7})}, "7 8 7"},
        {"1 2 {3,4}", {assign({})}, ""},
        {"1 2", {prepend({7, 8})}, "7 8 1 2"},
        {"", {prepend({7})}, "7"},
        {"{3,4}", {prepend({7})}, "7 {3,4}"},
        {"1 2", {prepend({})}, "1 2"},
        {"1", {prepend({2}), prepend({3})}, "3 2 1"},
        {"1", {assign({5}), prepend({4})}, "4 5"},
        {"1", {prepend({4}), assign({5})}, "5"},
        {"1 2 15 {2,3} {2} 150", {remove({one, lower, upper})}, "1 {3}"},
        {"1 2 15", {remove({one})}, "1 15"},
        {"1 2 15 99", {remove({intSet({}), lower, upper})}, "1 2 99"},
        {"2 2", {remove({one})}, ""},
        {"1 2 15 {2,3}", {replace({one, lower, upper, number(9)})}, "1 9 9 {9,3}"},
        {"1 2", {replace({one, number(4294967295)})}, "1 4294967295"},
        {"1 2", {prepend({2}), remove({one}), prepend({6})}, "6 1"},
        {"1 2", {make<IntIs>(make<Attribute::AsPathLength>(), number(2))}, "unchanged"},
    };
    for (auto const & c : cases) {
        EXPECT_EQ(after(c.path, c.steps), c.expected) << c.path;
    }
}

TEST(AsPathOperators, WorkOnAPathThatWasStoredAsNone) {
    for (auto const & [step, expected] :
         {std::pair{prepend({7}), "7"}, {assign({8}), "8"}, {remove({intSet({1})}), ""}}) {
        auto const context = route("1 2");
        make<Attribute::AsPath>()->setVal(nullptr, context);
        step->eval(context);
        ASSERT_NE(context->attributeContentConst().asPath, nullptr);
        EXPECT_EQ(context->attributeContentConst().asPath->toString(), expected);
        EXPECT_EQ(make<Attribute::AsPathInput>()->getVal(context)->toString(), "1 2");
    }
}

TEST(AsPathOperators, MatchAnAccessListUnderTheNodesKey) {
    auto const matchers = makePtr<Qcf::ExternalMatchersBase>();
    matchers->asPathLists.entryIs(1, makePtr<Routing::RouteMap::AsPathListStatus>());
    auto const context = makePtr<RecordingContext>(matchers);
    context->asPath = Routing::Bgp::AsPath(*Routing::Bgp::parseAsPath("1 {2,3}"));
    for (bool const answer : {false, true}) {
        context->reset();
        context->calls.clear();
        context->matchAnswer = answer;
        auto const node = makePtr<AsPathMatchAsPathAccessList>(U64{77}, asPath(), "A", U16{1});
        EXPECT_EQ(node->eval(context), EvalResult::fromBool(answer));
        makePtr<AsPathMatchAsPathAccessList>(U64{78}, asPath(), "A", U16{2})->eval(context);
        EXPECT_EQ(context->takeCalls(),
                  "asPathInputPopulate; matchAsPathAccessList 1 {2,3} 77 list; "
                  "matchAsPathAccessList 1 {2,3} 78 null");
    }
}

TEST(AsPathOperatorsDeathTest, MalformedCallsEndTheProcess) {
    auto const context = route("1 2");
    EXPECT_DEATH(replace({intSet({1})})->eval(context), "nullptr != intTypeArgContainer");
    EXPECT_DEATH(remove({intSet({1}), intList({1}), intList({})})->eval(context),
                 "\"If one range bound is null then both must be null\"");
    EXPECT_DEATH(remove({number(1)})->eval(context), "nullptr != aetNodePtrArgContainer");
    EXPECT_DEATH(remove({make<Attribute::Community>()})->eval(context),
                 "node arguments are an integer set and two integer lists");
    EXPECT_DEATH(replace({intSet({1}), number(4294967296)})->eval(context),
                 "argVal <= std::numeric_limits< IntType >::max\\(\\)");
}

TEST(BuiltIns, OriginValidation) {
    auto const context = makePtr<RecordingContext>();
    auto const body = make<MatchOriginAsValidityImplExpr>();
    for (bool const answer : {false, true}) {
        context->matchAnswer = answer;
        auto const f = function({returns(builtIn(body, {number(3), number(4294967295)}))});
        EXPECT_EQ(textOf(f->eval(context)), answer ? "true" : "false");
        EXPECT_EQ(context->takeCalls(), "matchRoaTable 3 4294967295");
    }
    auto const table = make<RoaTableImmediate>(U64{7}, "r");
    EXPECT_EQ(table->toStrep(), "roa_table r");
    builtIn(body, {table, number(0)})->eval(context);
    EXPECT_EQ(context->takeCalls(), "matchRoaTable 7 0");
    EXPECT_THROW(builtIn(body, {number(1)})->eval(context), std::out_of_range);
    EXPECT_EQ(context->functionCallDepth(), 0U);
    EXPECT_DEATH(builtIn(body, {number(1, true), number(0)})->eval(context),
                 "assertion failed: argVal >= std::numeric_limits< IntType >::min\\(\\) \\(");
    EXPECT_DEATH(builtIn(body, {number(1), number(4294967296)})->eval(context),
                 "assertion failed: argVal <= std::numeric_limits< IntType >::max\\(\\) \\(");
}

TEST(BuiltIns, NextHopSelfAndOverlayIndex) {
    auto const context = makePtr<RecordingContext>();
    auto const self = builtIn(make<SetNextHopSelfImplExpr>(), {});
    auto const overlay = builtIn(make<EvpnIpPrefixRouteSetOverlayIndexImplExpr>(), {});
    for (bool const yes : {false, true}) {
        context->reset();
        context->nextHop = IpGenAddr::v4(1);
        context->outbound = yes;
        context->matchAnswer = yes;
        EXPECT_EQ(textOf(function({returns(self)})->eval(context)), yes ? "true" : "false");
        EXPECT_EQ(context->nextHopSetToSelf(), yes);
        EXPECT_EQ(context->takeCalls(), yes ? "isBgpOutbound; nextHopIs" : "isBgpOutbound");
        EXPECT_EQ(textOf(function({returns(overlay)})->eval(context)), yes ? "true" : "false");
        context->calls.clear();
    }
    auto const bare = makePtr<EvalContext>(nullptr, nullptr, nullptr);
    EXPECT_EQ(textOf(make<SetNextHopSelfImplExpr>()->eval(bare)), "false/returnToCaller");
    EXPECT_EQ(bare->modifiedFlags(), 0U);
}

TEST(BuiltIns, AssignmentsOfSingleValues) {
    auto const context = makePtr<RecordingContext>();
    context->nextHop = IpGenAddr::v4(1);
    auto const v6 = make<IpAddressImmediate>(*IpGenAddr::parse("2001:db8::1"));
    Routing::Rib::ResolutionRibProfileConfig ribs(false);
    ribs.entryIs(1, {"a-name-too-long-to-be-held-in-place", 3});
    auto const f = function({make<IpAddressAssign>(make<Attribute::NextHop>(), v6),
                             make<ResolutionRibsAssign>(make<Attribute::ResolutionRibs>(),
                                                        make<ResolutionRibsImmediate>(ribs)),
                             accepts()});
    f->eval(context);
    EXPECT_EQ(context->takeCalls(), "nextHopIs 2001:db8::1; resolutionRibsIs " + ribs.toString());
    EXPECT_EQ(make<Attribute::ResolutionRibs>()->getVal(context), ribs);
}
