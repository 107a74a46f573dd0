#include "tests/support/Plans.h"

#include <chrono>

#include <gtest/gtest.h>

using namespace Qcf;
using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

// Trees that creators built: as deep as memory holds them, and shared as often as they like.

namespace {

enum class Kind : U8 { negation, block, branch, conjunction };

PtrConst<Expression> upon(Kind kind, PtrConst<Expression> const & below) {
    switch (kind) {
    case Kind::negation:
        return make<NotExpression>(below);
    case Kind::block:
        return block({below});
    case Kind::branch:
        return make<IfExpression>(always(QcfFalse()), block({}), below);
    case Kind::conjunction:
        break;
    }
    return logical("and", {below, always(QcfTrue())});
}

Ptr<Function> tower(Kind kind, U32 levels) {
    PtrConst<Expression> node = always(QcfFalse());
    for (U32 i = 0; i < levels; ++i) {
        node = upon(kind, node);
    }
    return function({node});
}

/// A `width`-fold `and` of one node, `levels` times over, as the first condition of a chain.
Ptr<Function> sharedConditions(U32 width, U32 levels) {
    auto const med = make<Attribute::Med>();
    PtrConst<Expression> condition = make<IntIs>(med, number(1));
    for (U32 i = 0; i < levels; ++i) {
        condition = logical("and", Expressions(width, condition));
    }
    PtrConst<Expression> chain;
    for (U64 i = 3; i > 0; --i) {
        auto const test = i == 1 ? condition : PtrConst<Expression>(make<IntIs>(med, number(i)));
        chain = make<IfExpression>(test, block({make<IntAssign>(med, number(10 + i))}), chain);
    }
    return function({chain, accepts()});
}

U32 constexpr farTooDeep = 500'000;

} // namespace

TEST(DeepTrees, KnowTheirDepthAndDieWithoutRecursion) {
    for (Kind const kind : {Kind::negation, Kind::block, Kind::branch, Kind::conjunction}) {
        auto const f = tower(kind, 100);
        // The body's block, and the predicate with its constant at the bottom.
        EXPECT_EQ(f->treeDepth(), 103U);
        EXPECT_EQ(tower(kind, farTooDeep)->treeDepth(), 65'535U); // as large as the number gets
    }
    auto const callee = tower(Kind::negation, 10);
    EXPECT_EQ(function({call(callee)})->treeDepth(), callee->treeDepth() + 2);
    Expressions const many(farTooDeep, always(QcfTrue()));
    EXPECT_EQ(function(many)->treeDepth(), 3U); // links are no levels
}

TEST(DeepTrees, AreEvaluatedAsDeepAsTheStackAllows) {
    auto const context = makePtr<RecordingContext>();
    for (Kind const kind : {Kind::negation, Kind::block, Kind::branch, Kind::conjunction}) {
        auto const f = tower(kind, deepestWalkedTree - 3);
        for (bool const plans : {true, false}) {
            PlansEnabled const on(plans);
            EXPECT_EQ(outcome(*f, context), "unknown");
            context->reset();
            context->shouldLogEvalIs(true);
            EXPECT_EQ(textOf(f->eval(context)), "unknown");
        }
    }
}

TEST(DeepTreesDeathTest, AreNotWalkedBelowThat) {
    char const * const text = "assertion failed: treeDepth\\(\\) <= deepestWalkedTree";
    auto const context = makePtr<RecordingContext>();
    for (U32 const levels : {deepestWalkedTree - 2, farTooDeep}) {
        auto const f = tower(Kind::negation, levels);
        auto const & top = *f->body()->stmts()->entry();
        for (bool const plans : {true, false}) {
            PlansEnabled const on(plans);
            EXPECT_DEATH(f->eval(context), text);
        }
        if (levels == farTooDeep) {
            EXPECT_DEATH(top.eval(context), text);
            EXPECT_DEATH(f->hash(0), text);
            EXPECT_DEATH(f->verifySanity({}), text);
            EXPECT_DEATH(f->dumpState(makePtr<DumpContext>(), 0), text);
            EXPECT_DEATH(f->compare(tower(Kind::negation, levels)), text);
        }
    }
}

// Lowering takes time and memory by the nodes that there are, not by the places where they stand.
TEST(DeepTrees, SharedConditionsAreLoweredInProportion) {
    PlansEnabled const on(true);
    auto const context = makePtr<RecordingContext>();
    for (U32 const levels : {8U, 12U, 50U, 400U}) {
        auto const f = sharedConditions(4, levels);
        std::size_t const nodes = 200 + 13 * levels;
        EXPECT_LT(f->planFor(*f).stepCount(), 4 * nodes) << levels;
        // The first operand decides, so that the walk takes nothing.
        for (U64 const med : {2U, 3U, 4U}) {
            context->med = med;
            String const expected = med == 4 ? "true" : "true; medIs " + std::to_string(10 + med);
            EXPECT_EQ(outcome(*f, context), expected) << levels;
        }
    }
}

// So do the other looks at a tree.
TEST(DeepTrees, SharedNodesAreLookedAtOnce) {
    for (U32 const levels : {8U, 50U, 400U}) {
        auto const f = sharedConditions(4, levels);
        auto const same = sharedConditions(4, levels);
        EXPECT_EQ(f->body()->hash(7), same->body()->hash(7));
        EXPECT_TRUE(f->compare(same));
        EXPECT_FALSE(f->compare(sharedConditions(4, levels + 1)));
        EXPECT_TRUE(f->verifySanity({}));
        EXPECT_EQ(f->treeFacts().size == ~U32{0}, levels > 12);
    }
}

TEST(DeepTrees, SharedListsAreLoweredInProportion) {
    PlansEnabled const on(true);
    auto const med = make<Attribute::Med>();
    Expressions inner(20'000, make<IntPlusEq>(med, number(1)));
    auto const shared = block(inner);
    auto const f = function(Expressions(20'000, shared));
    auto const start = std::chrono::steady_clock::now();
    EXPECT_LT(f->planFor(*f).stepCount(), 400'000U);
    // Four hundred million links would take seconds.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    // One large set in many clauses is not copied into a table for each.
    std::vector<U64> values(50'000);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = 2 * i;
    }
    auto const constants = intSet(values);
    PtrConst<Expression> chain;
    for (U64 i = 0; i < 2'000; ++i) {
        auto const test = make<IntInImmediateSet>(med, constants);
        chain = make<IfExpression>(test, block({make<IntAssign>(med, number(i))}), chain);
    }
    auto const context = makePtr<RecordingContext>();
    context->med = 4;
    EXPECT_EQ(outcome(*function({chain, accepts()}), context), "true; medIs 1999");
}
