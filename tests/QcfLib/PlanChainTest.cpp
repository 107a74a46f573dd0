#include "tests/support/Plans.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

/// Random functions over few attributes and few values, so that their tests often hold: chains of
/// clauses that share tests, and calls of functions with arguments.
class Functions {
public:
    explicit Functions(U32 seed) : random_(seed) {}

    PtrConst<Function> withChain() {
        return function({chainOf(sizes_[below(std::size(sizes_))]), accepts()});
    }
    PtrConst<Function> withCalls() {
        auto const inner = callee({});
        auto const middle = callee(inner);
        return function(
            {callOf(middle),
             make<IfExpression>(callOf(inner), block({assigned()}),
                                make<IfExpression>(callOf(middle), block({assigned()}), nullptr)),
             make<ReturnExpression>(callOf(middle))});
    }
    void fill(RecordingContext & route) {
        route.med = value();
        route.tag = value();
        route.community.clear();
        route.extCommunity.clear();
        for (U64 count = below(4); count > 0; --count) {
            route.community.push_back(value());
            route.extCommunity.emplace_back(value(), 0);
        }
        makeSet(route.community);
        makeSet(route.extCommunity);
    }

private:
    template <typename Values>
    static void makeSet(Values & values) {
        std::sort(values.begin(), values.end());
        values.erase(std::unique(values.begin(), values.end()), values.end());
    }
    U64 below(U64 limit) { return random_() % limit; }
    U64 value() { return below(10); }
    bool oneIn(U64 count) { return below(count) == 0; }

    /// A constant, sometimes negative or beyond the attribute; or an argument, where there are any.
    PtrConst<Int> constant() {
        if (arguments_ != 0 && oneIn(2)) {
            return make<IntVariable>("i", static_cast<U8>(below(arguments_)));
        }
        return oneIn(12) ? number(value(), true) : number(oneIn(12) ? ~U64{0} : value());
    }
    PtrConst<Int> integer() {
        if (oneIn(2)) {
            return med_;
        }
        return oneIn(2) ? PtrConst<Int>(make<Attribute::Med>()) : make<Attribute::Tag>();
    }
    std::vector<U64> values() {
        std::vector<U64> values;
        for (U64 count = below(4); count > 0; --count) {
            values.push_back(value());
        }
        return values;
    }
    PtrConst<Expression> comparison() {
        switch (below(5)) {
        case 0:
            return make<IntIs>(integer(), constant());
        case 1:
            return make<IntLessThan>(integer(), constant());
        case 2:
            return make<IntLessThanEq>(integer(), constant());
        case 3:
            return make<IntGreaterThan>(integer(), constant());
        default:
            return make<IntGreaterThanEq>(integer(), constant());
        }
    }
    PtrConst<Expression> test() {
        switch (below(8)) {
        case 0:
            return make<IntInImmediateSet>(integer(), intSet(values(), !oneIn(8)));
        case 1:
        case 2:
            return make<IntSetHasAnyImmediate>(make<Attribute::Community>(), intSet(values()));
        case 3: {
            std::vector<Acl::CommunityValue> communities;
            for (U64 const value : values()) {
                communities.emplace_back(value, 0);
            }
            return make<CommunitySetHasAnyImmediate>(make<Attribute::ExtCommunity>(),
                                                     communitySet(communities));
        }
        case 4:
            return make<IntSetHasAllImmediate>(make<Attribute::Community>(), intSet(values()));
        default:
            return comparison();
        }
    }
    PtrConst<Expression> condition() {
        static constexpr char const * operators[] = {"and", "and", "and", "or", "??"};
        if (oneIn(12)) {
            return make<NotExpression>(test());
        }
        if (oneIn(40)) {
            return oneIn(2) ? always(QcfUnknown()) : logical("and", {});
        }
        if (!oneIn(2)) {
            return test();
        }
        Expressions operands{test(), oneIn(8) ? condition() : test()};
        if (oneIn(3)) {
            operands.push_back(test());
        }
        return logical(operators[below(std::size(operators))], operands);
    }
    PtrConst<Expression> assigned() {
        if (arguments_ != 0 && oneIn(2)) {
            return make<IntPlusEq>(make<Attribute::Med>(), constant());
        }
        return make<IntAssign>(make<Attribute::LocalPref>(), number(below(1000)));
    }
    PtrConst<Expression> chainOf(U64 clauses) {
        PtrConst<Expression> chain;
        if (oneIn(2)) {
            chain = block({assigned()});
        }
        for (; clauses > 0; --clauses) {
            // Now and then a condition that changes what the others read.
            bool const changes = arguments_ == 0 && oneIn(200);
            auto const asks = changes ? call(function({assigned(), returns(test())})) : condition();
            chain = make<IfExpression>(asks, block({assigned()}), chain);
        }
        return chain;
    }
    /// A function of two integers that may call another with them.
    PtrConst<Function> callee(PtrConst<Function> const & inner) {
        arguments_ = 2;
        Expressions statements{chainOf(1 + below(5)), assigned()};
        if (inner) {
            statements.push_back(callOf(inner));
            statements.push_back(
                make<IfExpression>(condition(), block({make<ExitExpression>(test())}), nullptr));
        }
        if (!oneIn(4)) {
            statements.push_back(returns(oneIn(3) ? always(QcfUnknown()) : condition()));
        }
        arguments_ = 0;
        return function(statements, true);
    }
    PtrConst<Expression> callOf(PtrConst<Function> const & callee) {
        auto const argument = [this] {
            return oneIn(6) ? PtrConst<StorageType>(make<Attribute::Tag>())
                            : PtrConst<StorageType>(constant());
        };
        return call(callee, {argument(), argument()});
    }

    static constexpr U64 sizes_[] = {2, 3, 4, 12, 40, 63, 64, 65, 130};
    std::mt19937 random_;
    PtrConst<Attribute::Med> med_ = make<Attribute::Med>();
    U64 arguments_ = 0; ///< of the function that is being made
};

/// The outcome, and which accessors were called at all.
String everything(Function const & function, Ptr<RecordingContext> const & context) {
    String text = outcome(function, context);
    std::sort(context->calls.begin(), context->calls.end());
    context->calls.erase(std::unique(context->calls.begin(), context->calls.end()),
                         context->calls.end());
    for (String const & call : context->calls) {
        text += "\n" + call;
    }
    return text;
}

void expectAgreement(PtrConst<Function> const & function, Functions & functions,
                     String const & what) {
    auto const context = makePtr<RecordingContext>();
    for (int route = 0; route < 20; ++route) {
        functions.fill(*context);
        String texts[2];
        for (bool const plans : {false, true}) {
            PlansEnabled const on(plans);
            texts[static_cast<int>(plans)] = everything(*function, context);
        }
        ASSERT_EQ(texts[1], texts[0]) << what << ", route " << route;
    }
}

} // namespace

TEST(PlanChains, ClausesThatShareTestsAgreeWithTheTree) {
    for (U32 seed = 0; seed < 4000; ++seed) {
        Functions functions(seed);
        expectAgreement(functions.withChain(), functions, "seed " + std::to_string(seed));
    }
}

TEST(PlanChains, CalleesInPlaceAgreeWithTheTree) {
    for (U32 seed = 0; seed < 4000; ++seed) {
        Functions functions(seed);
        expectAgreement(functions.withCalls(), functions, "seed " + std::to_string(seed));
    }
}

// Calls of calls would double at every level: a plan takes in so many nodes and no more.
TEST(PlanChains, PlansOfCallsOfCallsStaySmall) {
    PlansEnabled const on(true);
    auto const context = makePtr<RecordingContext>();
    auto callee = function({make<IntPlusEq>(make<Attribute::Med>(), number(1))});
    for (int level = 0; level < 12; ++level) {
        callee = function({call(callee), call(callee)});
    }
    auto const outermost = function({call(callee), accepts()});
    EXPECT_EQ(outcome(*outermost, context), "true; medIs 4096");
    EXPECT_LT(Plan(*outermost).stepCount(), 5000U);
}

// What a tree shares, a plan would lower at every place: it stays within a few steps a node.
TEST(PlanChains, PlansOfSharedAndOfDeepTreesStaySmall) {
    auto const context = makePtr<RecordingContext>();
    auto const step = PtrConst<Expression>(make<IntPlusEq>(make<Attribute::Med>(), number(1)));
    auto statements = block({step, step});
    PtrConst<Expression> condition = make<IntIs>(make<Attribute::Med>(), number(1000));
    for (int level = 0; level < 12; ++level) {
        statements = block({statements, statements});
        condition = logical("or", {condition, condition});
    }
    PtrConst<Expression> nested = make<IntAssign>(make<Attribute::LocalPref>(), number(7));
    for (int level = 0; level < 300; ++level) {
        nested = make<IfExpression>(always(QcfTrue()), block({step, nested}), nullptr);
    }
    std::vector<PtrConst<Expression>> additions;
    std::vector<U64> added;
    for (U64 value = 1; value <= 40; ++value) {
        additions.push_back(
            make<IntSetAddImmediate>(make<Attribute::Community>(), intSet({value})));
        added.push_back(value);
    }
    auto const shared =
        function({statements, make<IfExpression>(condition, statements, nullptr), accepts()});
    auto const deep = function({nested, block(additions), accepts()});
    EXPECT_LT(Plan(*shared).stepCount(), 1000U);
    for (bool const plans : {false, true}) {
        PlansEnabled const on(plans);
        EXPECT_EQ(outcome(*shared, context), "true; medIs 8192") << plans;
        String const text = outcome(*deep, context);
        EXPECT_TRUE(text.starts_with("true; communityIs 1,2,3,")) << plans << text;
        EXPECT_TRUE(text.ends_with("; localPrefIs 7; medIs 300")) << plans << text;
    }
}

/// An agent that answers whatever it likes.
class AnsweringContext final : public RecordingContext {
public:
    EvalResult setOverlayIndex() override { return answer; }

    EvalResult answer;
};

// A built-in function returns by what the agent answers, or does not return.
TEST(PlanChains, WhatReturnsFromACalleeInPlaceReturnsToTheCall) {
    auto const context = makePtr<AnsweringContext>();
    auto const callee = function({make<EvpnIpPrefixRouteSetOverlayIndexImplExpr>(),
                                  make<IntAssign>(make<Attribute::Med>(), number(1))});
    auto const taken = block({make<IntAssign>(make<Attribute::Tag>(), number(5))});
    auto const f = function({call(callee), make<IfExpression>(call(callee), taken, taken),
                             make<IntPlusEq>(make<Attribute::LocalPref>(), number(3)), accepts()});
    for (auto const value : {QcfUnknown(), QcfFalse(), QcfTrue()}) {
        for (auto const termination :
             {TerminationFlag::noTermination, TerminationFlag::returnToCaller,
              TerminationFlag::exitToPoa}) {
            context->answer = EvalResult(value, termination);
            for (auto const & asked : {f, callee}) {
                String texts[2];
                for (bool const plans : {false, true}) {
                    PlansEnabled const on(plans);
                    texts[static_cast<int>(plans)] = outcome(*asked, context);
                }
                EXPECT_EQ(texts[1], texts[0]) << textOf(context->answer);
            }
        }
    }
    EXPECT_TRUE(f->planFor(*f).nodesWithoutStep().empty());
    EXPECT_TRUE(callee->planFor(*callee).nodesWithoutStep().empty());
}
