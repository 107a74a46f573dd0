#include "tests/support/RecordingContext.h"
#include "tests/support/Trees.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

Ptr<EvalContext> bareContext() { return makePtr<EvalContext>(nullptr, nullptr, nullptr); }

String bareLog(Ptr<EvalContext> const & context) { return logText(context->evaluationLog().get()); }

} // namespace

TEST(Context, FreshAndResetAreAlike) {
    auto const context = bareContext();
    StackFrameData_ callee;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(context->functionCallDepth(), 0U);
        EXPECT_EQ(context->evaluationLog(), nullptr);
        EXPECT_FALSE(context->shouldLogEval());
        EXPECT_FALSE(context->nextHopSetToSelf());
        EXPECT_EQ(context->modifiedFlags(), 0U);
        EXPECT_FALSE(*context->stackFrameDataRawPtr());
        EXPECT_TRUE(context->intSetScratch().empty());
        EXPECT_TRUE(context->communitySetScratch().empty());
        EXPECT_EQ(context->vrfId(), 16777215U);
        EXPECT_FALSE(context->isBgpOutbound());
        EXPECT_EQ(context->localAs(), 0U);
        EXPECT_FALSE(context->peerConfed());
        EXPECT_EQ(textOf(context->setOverlayIndex()), "false/returnToCaller");

        context->shouldLogEvalIs(true);
        context->log(1, EvalResult());
        context->nextHopSetToSelfIs(true);
        context->intSetScratch().push_back(1);
        context->communitySetScratch().emplace_back(1, 1);
        context->modify(ModifiableAttribute::med).med = 1;
        context->stackFrameDataRawPtr()->pushIntTypeArgToStack(context, *number(1));
        context->stackFrameDataFromCallerIs(&callee);
        context->reset();
    }
}

TEST(Context, NullMatchersAreEmptyTables) {
    auto const context = bareContext();
    ASSERT_TRUE(context->externalMatchers());
    EXPECT_EQ(context->externalMatchers()->commLists.size(), 0U);
    EXPECT_EQ(context->externalMatchers()->commLists.at(3), nullptr);
    ASSERT_TRUE(context->externalMatchers()->tagSets.at(3));
    EXPECT_TRUE(context->externalMatchers()->tagSets.at(3)->tags().empty());
    Routing::Policy::Result_ result;
    auto const matchers = makePtr<Qcf::ExternalMatchersBase>();
    auto const policy = makePtr<Routing::Policy::PolicyEvalContext>();
    auto const full = makePtr<EvalContext>(matchers, &result, policy);
    full->reset();
    EXPECT_EQ(full->externalMatchers(), matchers);
    EXPECT_EQ(full->result(), &result);
    EXPECT_EQ(full->policyEvalContext(), policy);
}

TEST(Context, LogKeepsRisingKeysOnly) {
    auto const context = bareContext();
    context->shouldLogEvalIs(true);
    for (U64 const key : {5U, 3U, 7U, 7U, 5U}) {
        context->log(key, EvalResult::fromBool(key == 7));
    }
    context->log(~U64{0}, EvalResult());
    context->log(0, EvalResult());
    EXPECT_EQ(bareLog(context), "5:false 7:true 18446744073709551615:unknown");
    context->reset();
    context->shouldLogEvalIs(true);
    context->log(0, EvalResult());
    EXPECT_EQ(bareLog(context), "0:unknown");
}

TEST(Context, EachFrameHasItsLog) {
    auto const context = bareContext();
    context->shouldLogEvalIs(true);
    context->log(1, EvalResult());
    StackFrameData_ callee;
    StackFrameData_ * const caller = context->stackFrameDataRawPtr();
    context->stackFrameDataIs(&callee);
    context->functionCallDepthInc(1);
    EXPECT_EQ(context->evaluationLog(), nullptr);
    context->log(1, EvalResult::fromBool(true));
    EXPECT_EQ(bareLog(context), "1:true");
    EXPECT_EQ(logText(caller->logHead().get()), "1:unknown");
    context->functionCallDepthDec(1);
    context->stackFrameDataIs(caller);
    context->logFunctionCall(2, EvalResult(), callee.logHead());
    EXPECT_EQ(bareLog(context), "1:unknown 2:unknown[1:true]");
}

TEST(ContextDeathTest, MisuseEndsTheProcess) {
    struct Case {
        char const * text;
        void (*misuse)(Ptr<EvalContext> const &);
    };
    static StackFrameData_ frame;
    Case const cases[] = {
        {"shouldLogEval()", [](auto const & c) { c->log(1, EvalResult()); }},
        {"functionCallDepth()",
         [](auto const & c) {
             c->stackFrameDataIs(&frame);
             c->stackFrameDataRawPtr();
         }},
        {"!functionCallDepth()",
         [](auto const & c) {
             c->functionCallDepthInc(1);
             c->stackFrameDataRawPtrConst();
         }},
        {"!functionCallDepth()",
         [](auto const & c) {
             StackFrameData_ * const top = c->stackFrameDataRawPtr();
             c->functionCallDepthInc(1);
             c->stackFrameDataIs(top);
         }},
        {"functionCallDepth_ == 0",
         [](auto const & c) {
             c->functionCallDepthInc(1);
             c->reset();
         }},
        {"functionCallDepth_ == 0",
         [](auto const & c) {
             c->functionCallDepthInc(1);
             c->flushModifiedAttributes();
         }},
        {"nullptr == stackFrameData->logCurrent()",
         [](auto const & c) {
             c->shouldLogEvalIs(true);
             c->stackFrameDataRawPtr()->logCurrentIs(
                 Qcf::Debug::evaluationLogFactory(1, EvalResult(), nullptr));
             c->log(2, EvalResult());
         }},
        {"nullptr != aetNodePtrArgContainer", [](auto const & c) { c->aetNodePtrArgValues(); }},
        {"nullptr != bandwidthTypeArgContainer",
         [](auto const & c) { c->bandwidthTypeArgValues(); }},
        {"nullptr != intTypeArgContainer", [](auto const & c) { c->intTypeArgValues(); }},
        {"nullptr != prefixListTypeArgContainer",
         [](auto const & c) { c->prefixListTypeArgValues(); }},
        {"nullptr != triStateBoolTypeArgContainer",
         [](auto const & c) { c->triStateBoolTypeArgValues(); }},
        {"nullptr != cache",
         [](auto const & c) {
             c->cacheDel();
             c->reset();
         }},
        {"nullptr != cache",
         [](auto const & c) {
             c->cacheDel();
             make<Attribute::CommunityCount>()->getVal(c);
         }},
        {"nullptr != attributeContent",
         [](auto const & c) {
             c->attributeContentDel();
             make<Attribute::Med>()->setVal(5, c);
         }},
        {"nullptr != attributeContent",
         [](auto const & c) {
             make<Attribute::Med>()->setVal(5, c);
             c->attributeContentDel();
             make<Attribute::Med>()->getVal(c);
         }},
    };
    for (Case const & c : cases) {
        auto const text = testing::HasSubstr(String("assertion failed: ") + c.text + " (");
        EXPECT_DEATH(c.misuse(bareContext()), text) << c.text;
    }
}

// A stored set may be a constant of the function that stored it, which is not counted by route.
TEST(Context, KeepsFunctionsWhoseConstantsItHolds) {
    auto const assigning = [](std::vector<U64> const & values) {
        return function(
            {make<IntSetAssignImmediate>(make<Attribute::Community>(), intSet(values)), accepts()});
    };
    auto const context = makePtr<RecordingContext>();
    auto const countOf = [&] { return make<Attribute::CommunityCount>()->getVal(context); };
    U64 const live = Function::memAllocationTracker().live();
    for (bool const resetBetween : {false, true}) {
        {
            auto const first = assigning({1, 2, 3});
            first->eval(context);
        }
        EXPECT_EQ(countOf(), 3U);
        if (resetBetween) {
            context->reset();
            EXPECT_EQ(countOf(), 0U);
        }
        assigning({4})->eval(context);
        EXPECT_EQ(countOf(), 1U);
        function({})->eval(context);
        EXPECT_EQ(countOf(), 1U);
        context->reset();
        EXPECT_LE(Function::memAllocationTracker().live(), live + 1);
    }
    EXPECT_EQ(context->takeCalls(), "communityIs 1,2,3; communityIs 4; "
                                    "communityIs 1,2,3; communityInputPopulate; communityIs 4");
}

TEST(Context, DiesBeforeTheFunctionItKept) {
    U64 const live = Function::memAllocationTracker().live();
    {
        auto const context = bareContext();
        function({make<IntSetAssignImmediate>(make<Attribute::Community>(), intSet({1})),
                  make<CommunitySetAssignImmediate>(make<Attribute::ExtCommunity>(),
                                                    communitySet({Acl::CommunityValue(1, 0)})),
                  accepts()})
            ->eval(context);
        EXPECT_EQ(Function::memAllocationTracker().live(), live + 1);
    }
    EXPECT_EQ(Function::memAllocationTracker().live(), live);
}
