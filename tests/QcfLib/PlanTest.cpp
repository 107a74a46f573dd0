#include "tests/support/Plans.h"
#include "tests/support/Trees.h"

#include <regex>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

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

// Changes that stand together are made in one pass, if they are changes of one set.
TEST(Plans, ChangesOfTwoSetsStayApart) {
    auto const context = makePtr<RecordingContext>();
    auto const community = make<Attribute::Community>();
    auto const levels = make<Attribute::IsisLevel>();
    auto const f = function({make<IntSetRemoveImmediate>(community, intSet({1})),
                             make<IntSetAddImmediate>(levels, intSet({2})),
                             make<IntSetAddImmediate>(community, intSet({7})), accepts()});
    context->community = {1, 5};
    context->isisLevel = {1};
    for (bool const plans : {false, true}) {
        PlansEnabled const on(plans);
        EXPECT_EQ(outcome(*f, context), "true; communityIs 5,7; isisLevelIs 1,2") << plans;
    }
}

/// The plan as text, with the classes of nodes and without their keys.
static String dumpOf(Function const & function) {
    auto const out = makePtr<DumpContext>();
    function.planFor(function).dump(out);
    return std::regex_replace(out->text(), std::regex("#[0-9]+"), "");
}

TEST(Plans, AreShownWithTheNodesThatStepsStandFor) {
    auto const med = make<Attribute::Med>();
    auto const community = make<Attribute::Community>();
    PtrConst<Expression> chain = make<IntMultEq>(med, med);
    for (U64 i = 0; i < 3; ++i) {
        chain = make<IfExpression>(
            logical("and", {make<IntIs>(med, number(i)), make<IntSetIsEmpty>(community)}),
            block({make<IntAssign>(med, number(10 + i))}), chain);
    }
    auto const set = function(
        {make<IntSetAddImmediate>(community, intSet({7})),
         make<IntSetRemoveImmediate>(community, intSet({1, 2})),
         make<IfExpression>(make<IntLessThanEq>(med, number(9)), block({accepts()}), nullptr)});
    auto const inlined = call(function({make<IntPlusEq>(med, make<IntVariable>("i", U8{0}))}, true),
                              {number(3, true)});
    struct Case {
        PtrConst<Function> function;
        char const * text;
    };
    Case const cases[] = {
        {function({accepts()}), "plan of 0 steps: returns true\n"},
        {function({inlined}), "plan of 1 steps\n"
                              "    1 compute integer: med, by -3 [IntPlusEq]\n"
                              "          then: ends unknown\n"},
        {set, "plan of 2 steps\n"
              "    1 change set: community, 2 values out, 1 in "
              "[IntSetAddImmediate IntSetRemoveImmediate]\n"
              "          then: 2\n"
              "    2 integer within: med <= 9 [IntLessThanEq]\n"
              "          true: returns true; false: ends unknown\n"},
        {function({chain}),
         "plan of 8 steps\n"
         "    1 decision table of 3 clauses: med within bounds; a condition of its own; "
         "a condition of its own; a condition of its own [LogicalOperatorExpression "
         "LogicalOperatorExpression LogicalOperatorExpression]\n"
         "          asks: 2; asks: 3; asks: 4; clause 1: 5; clause 2: 6; clause 3: 7; "
         "otherwise: 8\n"
         "    2 operator as condition [IntSetIsEmpty]\n"
         "          true: ends true; false: ends false\n"
         "    3 operator as condition [IntSetIsEmpty]\n"
         "          true: ends true; false: ends false\n"
         "    4 operator as condition [IntSetIsEmpty]\n"
         "          true: ends true; false: ends false\n"
         "    5 store integer: med = 12 [IntAssign]\n"
         "          then: ends unknown\n"
         "    6 store integer: med = 11 [IntAssign]\n"
         "          then: ends unknown\n"
         "    7 store integer: med = 10 [IntAssign]\n"
         "          then: ends unknown\n"
         "    8 operator [IntMultEq]\n"
         "          then: ends unknown\n"},
    };
    for (auto const & c : cases) {
        EXPECT_EQ(dumpOf(*c.function), c.text);
    }
}

// Wherever the malformed part stands, and by plan and tree alike.
TEST(PlansDeathTest, MalformedTreesEndTheProcess) {
    auto const x = scripted(QcfTrue(), TerminationFlag::returnToCaller);
    auto const returned = returns(always(QcfFalse()));
    auto const med = make<Attribute::Med>();
    auto const missing = make<IntVariable>("i", U8{0});
    struct Case {
        PtrConst<Expression> node;
        char const * text;
        U64 routesMed = 0;
    };
    U64 const tooLarge = U64{1} << 32;
    char const * const outOfRange = "assertion failed: val >= min\\(\\) && val <= max\\(\\) \\(";
    char const * const noReturn = "assertion failed: false \\(";
    Case const cases[] = {
        {make<NotExpression>(x), noReturn},
        {returns(x), noReturn},
        {make<ExitExpression>(returned), noReturn},
        {logical("and", {always(QcfTrue()), returned}), noReturn},
        {logical("??", {returned, x}), noReturn},
        {make<IfExpression>(x, block({}), nullptr), noReturn},
        {make<IfExpression>(always(QcfFalse()), block({}),
                            make<IfExpression>(returned, block({}), nullptr)),
         noReturn},
        {make<IntIs>(missing, number(1)), "assertion failed: nullptr != intTypeArgContainer"},
        {make<IntAssign>(med, missing), "assertion failed: nullptr != intTypeArgContainer"},
        {call(function({make<IntPlusEq>(med, make<IntVariable>("i", U8{1}))}), {number(1)}),
         "assertion failed: .*argVectorIndex"},
        {make<IntIs>(med, number(1)), outOfRange, tooLarge},
        {make<IntPlusEq>(med, number(1)), outOfRange, tooLarge},
        {make<IfExpression>(make<IntInImmediateSet>(med, intSet({1, 2})), block({}), nullptr),
         outOfRange, tooLarge},
    };
    for (auto const & c : cases) {
        auto const f = function({c.node});
        for (bool const planned : {true, false}) {
            PlansEnabled const switched(planned);
            auto const context = makePtr<RecordingContext>();
            context->med = c.routesMed;
            EXPECT_DEATH(f->eval(context), c.text)
                << (planned ? "plan of " : "tree of ") << c.node->typeData().name;
        }
    }
}
