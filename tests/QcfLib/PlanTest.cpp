#include "QcfLib/Plan.h"

#include "tests/support/RecordingContext.h"
#include "tests/support/Trees.h"

#include <random>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

/// Switches plans for the time of a test.
class PlansEnabled {
public:
    explicit PlansEnabled(bool enabled) : before_(Plan::enabled()) { Plan::enabledIs(enabled); }
    PlansEnabled(PlansEnabled const &) = delete;
    PlansEnabled & operator=(PlansEnabled const &) = delete;
    ~PlansEnabled() { Plan::enabledIs(before_); }

private:
    bool before_;
};

/// Policies and routes from few values, so that tests hit and miss alike.
class Random {
public:
    explicit Random(U64 seed) : generator_(seed) {}

    Ptr<Function> policy() {
        Expressions statements;
        for (U64 i = 0; i < 1 + below(4); ++i) {
            statements.push_back(statement(3));
        }
        statements.push_back(returns(condition(2)));
        return function(statements);
    }

    void route(RecordingContext & context) {
        context.med = below(4);
        context.localPref = below(4);
        context.weight = below(4);
        context.community = values(6);
        context.largeCommunity.clear();
        for (U64 const value : values(6)) {
            context.largeCommunity.emplace_back(value, 1);
        }
    }

private:
    U64 below(U64 limit) { return generator_() % limit; }

    std::vector<U64> values(U64 limit) {
        std::vector<U64> some;
        for (U64 i = 0; i < limit; ++i) {
            if (below(3) == 0) {
                some.push_back(i);
            }
        }
        return some;
    }
    PtrConst<IntSetImmediate> constants() { return intSet(values(6), below(4) != 0); }
    PtrConst<CommunitySetImmediate> communities() {
        std::vector<Acl::CommunityValue> some;
        for (U64 const value : values(6)) {
            some.emplace_back(value, 1);
        }
        return communitySet(some, below(4) != 0);
    }

    PtrConst<IntModifiable> integer() {
        switch (below(3)) {
        case 0:
            return make<Attribute::Med>();
        case 1:
            return make<Attribute::LocalPref>();
        default:
            return make<Attribute::Weight>();
        }
    }
    PtrConst<Int> operand() {
        return below(4) == 0 ? PtrConst<Int>(integer()) : number(below(4), below(6) == 0);
    }

    PtrConst<Expression> predicate() {
        switch (below(12)) {
        case 0:
            return make<IntIs>(integer(), operand());
        case 1:
            return make<IntLessThan>(integer(), operand());
        case 2:
            return make<IntLessThanEq>(integer(), operand());
        case 3:
            return make<IntGreaterThan>(integer(), operand());
        case 4:
            return make<IntGreaterThanEq>(integer(), operand());
        case 5:
        case 6:
            return make<IntInImmediateSet>(integer(), constants());
        case 7:
        case 8:
            return make<IntSetHasAnyImmediate>(make<Attribute::Community>(), constants());
        case 9:
            return make<CommunitySetHasAnyImmediate>(make<Attribute::LargeCommunity>(),
                                                     communities());
        case 10:
            return make<IntSetHasAllImmediate>(make<Attribute::Community>(), constants());
        default:
            return always(static_cast<TriStateBoolValue>(below(3)));
        }
    }
    PtrConst<Expression> condition(int depth) {
        if (depth == 0 || below(3) == 0) {
            return below(12) == 0 ? change() : predicate();
        }
        if (below(4) == 0) {
            return make<NotExpression>(condition(depth - 1));
        }
        static char const * const operators[] = {"and", "or", "??"};
        Expressions operands;
        for (U64 i = 0; i < 2 + below(2); ++i) {
            operands.push_back(condition(depth - 1));
        }
        return logical(operators[below(3)], operands);
    }

    PtrConst<Expression> change() {
        auto const community = make<Attribute::Community>();
        auto const large = make<Attribute::LargeCommunity>();
        switch (below(10)) {
        case 0:
            return make<IntAssign>(integer(), operand());
        case 1:
            return make<IntPlusEq>(integer(), operand());
        case 2:
            return make<IntMinusEq>(integer(), operand());
        case 3:
            return make<IntMultEq>(integer(), operand());
        case 4:
            return make<IntSetAddImmediate>(community, constants());
        case 5:
            return make<IntSetRemoveImmediate>(community, constants());
        case 6:
            return make<IntSetRetainImmediate>(community, constants());
        case 7:
            return make<IntSetAssignImmediate>(community, constants());
        case 8:
            return make<CommunitySetAddImmediate>(large, communities());
        default:
            return make<CommunitySetAssignImmediate>(make<Attribute::ExtCommunity>(), large);
        }
    }

    PtrConst<Expression> statement(int depth) {
        U64 const kind = depth == 0 ? 0 : below(10);
        if (kind < 4) {
            return change();
        }
        if (kind == 4) {
            return below(2) == 0 ? returns(condition(1)) : make<ExitExpression>(condition(1));
        }
        if (kind == 5) {
            return call(function({change(), returns(condition(1))}));
        }
        return ifChain(depth);
    }
    PtrConst<Expression> ifChain(int depth) {
        PtrConst<Expression> otherwise = below(2) == 0 ? block({statement(depth - 1)}) : nullptr;
        for (U64 i = 0; i < 1 + below(6); ++i) {
            auto then = block({statement(depth - 1), statement(depth - 1)});
            otherwise = make<IfExpression>(condition(2), std::move(then), std::move(otherwise));
        }
        return otherwise;
    }

    std::mt19937_64 generator_;
};

/// Result and what was written back.
String outcome(Function const & function, Ptr<RecordingContext> const & context) {
    context->reset();
    context->calls.clear();
    String text = textOf(function.eval(context));
    for (String const & call : context->calls) {
        text += call.find("Is ") != String::npos || call.ends_with("Is") ? "; " + call : "";
    }
    return text;
}

} // namespace

// A plan is another way to the same results and write-backs, with and without a used context.
TEST(Plans, AgreeWithTheirTrees) {
    auto const planned = makePtr<RecordingContext>();
    auto const walked = makePtr<RecordingContext>();
    for (U64 seed = 0; seed < 3000; ++seed) {
        Random random(seed);
        auto const policy = random.policy();
        for (int route = 0; route < 6; ++route) {
            random.route(*planned);
            walked->med = planned->med;
            walked->localPref = planned->localPref;
            walked->weight = planned->weight;
            walked->community = planned->community;
            walked->largeCommunity = planned->largeCommunity;
            String expected;
            {
                PlansEnabled const off(false);
                expected = outcome(*policy, walked);
            }
            PlansEnabled const on(true);
            ASSERT_EQ(outcome(*policy, planned), expected) << "seed " << seed;
        }
    }
}

TEST(Plans, ExceptionsOfAccessorsLeaveThemUsable) {
    PlansEnabled const on(true);
    auto const context = makePtr<RecordingContext>();
    auto const med = make<Attribute::Med>();
    PtrConst<Expression> chain;
    for (U64 i = 0; i < 5; ++i) {
        chain = make<IfExpression>(make<IntInImmediateSet>(med, intSet({i})),
                                   block({make<IntAssign>(med, number(10 + i))}), chain);
    }
    auto const f = function({chain, accepts()});
    context->med = 3;
    EXPECT_EQ(outcome(*f, context), "true; medIs 13");
    context->throwAt = "medInput";
    EXPECT_THROW(outcome(*f, context), std::runtime_error);
    context->throwAt = "";
    context->med = 4;
    EXPECT_EQ(outcome(*f, context), "true; medIs 14");
}

TEST(PlansDeathTest, ReturnHasNoPlaceInAnOperand) {
    PlansEnabled const on(true);
    auto const x = scripted(QcfTrue(), TerminationFlag::returnToCaller);
    PtrConst<Expression> const nodes[] = {make<NotExpression>(x), returns(x),
                                          logical("and", {x, x}),
                                          make<IfExpression>(x, block({}), nullptr)};
    for (auto const & node : nodes) {
        auto const f = function({node});
        EXPECT_DEATH(f->eval(makePtr<RecordingContext>()), "assertion failed: false \\(");
    }
}
