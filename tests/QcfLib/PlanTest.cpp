#include "tests/support/Plans.h"
#include "tests/support/Trees.h"

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
