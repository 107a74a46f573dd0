#include "QcfLib/QcfAllAetEntities.h"
#include "tests/support/ListContext.h"
#include "tests/support/Trees.h"

#include <limits>
#include <sstream>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

using Values = std::vector<PtrConst<StorageType>>;

PtrConst<IntVariable> intArgument(U8 index) { return make<IntVariable>("i", index); }

PtrConst<Expression> assignMed(PtrConst<Int> value) {
    return make<IntAssign>(make<Attribute::Med>(), std::move(value));
}

/// Runs a call of a function with this body and gives the calls of the agent.
String run(Ptr<RecordingContext> const & context, Expressions const & body, Values const & values) {
    context->reset();
    auto const callee = function(body, true, "callee");
    function({call(callee, values), accepts()})->eval(context);
    return context->takeCalls();
}

} // namespace

TEST(Calls, ArgumentsAreAddressedByTypeAndIndex) {
    auto const context = makePtr<RecordingContext>();
    context->med = 77;
    Values const values = {number(10),
                           make<BandwidthImmediate>(2.5F),
                           number(20),
                           make<TriStateBoolImmediate>(QcfUnknown()),
                           make<Attribute::MedInput>(),
                           make<BandwidthImmediate>(3.5F)};
    auto const isUnknown = make<TriStateBoolIs>(make<TriStateBoolVariable>("t", U8{0}),
                                                make<TriStateBoolImmediate>(QcfUnknown()));
    auto const isBandwidth =
        make<BandwidthIs>(make<BandwidthVariable>("b", U8{1}), make<BandwidthImmediate>(3.5F));
    auto const both = logical("and", {isUnknown, isBandwidth});
    auto const body = [&](U8 index) {
        return Expressions{
            make<IfExpression>(both, block({assignMed(intArgument(index))}), nullptr)};
    };
    EXPECT_EQ(run(context, body(0), values), "medInput; medIs 10");
    EXPECT_EQ(run(context, body(1), values), "medInput; medIs 20");
    EXPECT_EQ(run(context, body(2), values), "medInput; medIs 77");
}

TEST(Calls, SignsAndWideIntegers) {
    auto const context = makePtr<RecordingContext>();
    auto const max = std::numeric_limits<U64>::max();
    auto const assignAigp = make<IntAssign>(make<Attribute::AigpMetric>(), intArgument(0));
    EXPECT_EQ(run(context, {assignAigp}, {number(max)}), "aigpMetricIs 18446744073709551614");
    EXPECT_EQ(run(context, {assignAigp}, {number(max, true)}), "aigpMetricIs 0");
    // A negative argument on the left side of a comparison counts by its magnitude.
    auto const isThree = make<IntIs>(intArgument(0), number(3));
    auto const body =
        Expressions{make<IfExpression>(isThree, block({assignMed(number(1))}), nullptr)};
    EXPECT_EQ(run(context, body, {number(3, true)}), "medIs 1");

    StackFrameData_ frame;
    frame.pushIntTypeArgToStack(context, *number(0, true));
    frame.pushIntTypeArgToStack(context, *number(max, true));
    auto const & ints = frame.intTypeArgContainer()->values;
    EXPECT_FALSE(ints[0] < 0);
    EXPECT_EQ(ints[1], -S128(max));
}

TEST(Calls, ArgumentsAreReadInTheCallersFrame) {
    auto const context = makePtr<RecordingContext>();
    // f(7) calls g(1, i0), which assigns its second argument.
    auto const g = function({assignMed(intArgument(1))}, true, "g");
    EXPECT_EQ(run(context, {call(g, {number(1), intArgument(0)}), assignMed(intArgument(0))},
                  {number(7)}),
              "medIs 7");
    EXPECT_EQ(run(context, {call(g, {number(1), intArgument(1)})}, {number(7), number(8)}),
              "medIs 8");
}

TEST(Calls, FramesHoldOnlyWhatWasPushed) {
    auto const context = makePtr<RecordingContext>();
    StackFrameData_ frame;
    EXPECT_FALSE(frame);
    EXPECT_EQ(frame, StackFrameData_());
    frame.pushIntTypeArgToStack(context, *number(1));
    EXPECT_TRUE(frame);
    EXPECT_TRUE(frame.intTypeArgContainer());
    EXPECT_FALSE(frame.bandwidthTypeArgContainer());
    EXPECT_FALSE(frame.aetNodePtrArgContainer());
    EXPECT_FALSE(frame.prefixListTypeArgContainer());
    EXPECT_FALSE(frame.triStateBoolTypeArgContainer());
    StackFrameData_ other;
    other.pushIntTypeArgToStack(context, *number(1));
    EXPECT_EQ(frame, other);
    other.pushIntTypeArgToStack(context, *number(2, true));
    EXPECT_NE(frame, other);
    // Sets go by reference, and nothing is evaluated.
    auto const community = make<Attribute::Community>();
    community->pushFuncArgToStack(context, &frame);
    EXPECT_EQ(frame.aetNodePtrArgContainer()->values[0], community.get());
    EXPECT_EQ(context->takeCalls(), "");
    // More than what is held in place.
    for (U64 i = 0; i < 100; ++i) {
        other.pushIntTypeArgToStack(context, *number(i));
    }
    EXPECT_EQ(other.intTypeArgContainer()->values[101], 99);
    EXPECT_EQ(FunctionArgumentList::maximumFunctionArgumentCount(), 16U);
}

TEST(Calls, FramesReadBackFromTheirText) {
    auto const context = makePtr<RecordingContext>();
    StackFrameData_ frame;
    for (auto const & value : {number(0), number(~U64{0}, true), number(7)}) {
        frame.pushIntTypeArgToStack(context, *value);
    }
    for (F32 const value : {0.1F, 8000.0F, 3.4e38F, 1e-40F}) {
        frame.pushBandwidthTypeArgToStack(context, *make<BandwidthImmediate>(value));
    }
    for (auto const value : {QcfUnknown(), QcfFalse(), QcfTrue()}) {
        frame.pushTriStateBoolTypeArgToStack(context, *make<TriStateBoolImmediate>(value));
    }
    std::ostringstream text;
    text << frame;
    EXPECT_EQ(strepToStackFrameData(text.str()), frame) << text.str();
    EXPECT_FALSE(strepToStackFrameData("{}"));
}

TEST(Calls, FramesReadBackWithContainersThatHoldNothing) {
    for (char const * const text :
         {"{ints:}", "{bandwidths:; triStateBools:}", "{aetNodePtrs:}", "{ints: -0; prefixLists:}",
          "{prefixLists: null,null}", "{bandwidths: inf,-inf,nan,-0}"}) {
        auto const frame = strepToStackFrameData(text);
        EXPECT_TRUE(frame) << text;
        EXPECT_EQ(frame, frame) << text;
        std::ostringstream again;
        again << frame;
        EXPECT_EQ(strepToStackFrameData(again.str()), frame) << again.str();
        EXPECT_EQ(again.str(), text == std::string_view("{ints: -0; prefixLists:}")
                                   ? "{ints: 0; prefixLists:}"
                                   : text);
    }
    EXPECT_NE(strepToStackFrameData("{ints:}"), strepToStackFrameData("{}"));
    EXPECT_NE(strepToStackFrameData("{bandwidths: -0}"), strepToStackFrameData("{bandwidths: 0}"));
}

TEST(Calls, FramesReadReferencesBackFromAStore) {
    auto const store = Qcf::allAetEntitiesFactory();
    auto const community = store->communityCollIs(12);
    auto const number = store->intImmediateCollIs(13, 5, false);
    store->blockCollIs(14, nullptr);
    StackFrameData_ frame;
    frame.pushAetNodePtrArgToStack(*community);
    frame.pushAetNodePtrArgToStack(*number);
    std::ostringstream text;
    text << frame;
    EXPECT_EQ(text.str(), "{aetNodePtrs: Community#12,IntImmediate#13}");
    EXPECT_EQ(strepToStackFrameData(text.str(), store.get()), frame);
    for (char const * const wrong :
         {"{aetNodePtrs: Community#13}", "{aetNodePtrs: Block#14}", "{aetNodePtrs: Community}",
          "{aetNodePtrs: Community#}", "{aetNodePtrs: #12}", "{aetNodePtrs: Community#12x}",
          "{aetNodePtrs: Nothing#12}", "{aetNodePtrs: }"}) {
        EXPECT_THROW(strepToStackFrameData(wrong, store.get()), ParseError) << wrong;
    }
}

TEST(Calls, WhatNoTextBringsBackIsRefused) {
    auto const context = makePtr<RecordingContext>(listsOfAllKinds());
    StackFrameData_ frame;
    frame.pushPrefixListTypeArgToStack(context, *make<PrefixListImmediate>("P", U16{1}, true));
    frame.pushPrefixListTypeArgToStack(context, *make<PrefixListImmediate>("P", U16{1}, false));
    frame.pushPrefixListTypeArgToStack(context, *make<PrefixListImmediate>("P", U16{9}, true));
    frame.logHeadIs(Qcf::Debug::evaluationLogFactory(5, EvalResult(), nullptr));
    std::ostringstream text;
    text << frame;
    EXPECT_EQ(text.str(), "{prefixLists: v4,v6,null; log: 5}");
    struct Case {
        char const * text;
        char const * message;
    };
    Case const cases[] = {
        {"{prefixLists: null,v4}",
         "wants null: a prefix list is lent for one evaluation, found v4"},
        {"{ints: 1; log: 5}",
         "wants arguments alone: a log belongs to one evaluation, found log: 5}"},
        {"{aetNodePtrs: Community#12}",
         "wants no reference to a node where no store is given, found Community#12"},
        {"{ints: 1; ints: 2}", "wants ints, bandwidths, triStateBools, prefixLists or aetNodePtrs, "
                               "each once, found ints: 2}"},
        {"{triStateBools: maybe}", "wants true, false or unknown, found maybe"},
        {"{ints: 340282366920938463463374607431768211456}",
         "wants an integer of 128 bits, found 340282366920938463463374607431768211456"},
    };
    for (Case const & c : cases) {
        try {
            strepToStackFrameData(c.text);
            ADD_FAILURE() << c.text;
        } catch (ParseError const & error) {
            EXPECT_STREQ(error.what(), c.message);
        }
    }
    for (char const * const wrong : {"", "{", "{ints}", "{ints: }", "{ints: 1", "{ints: x}",
                                     "{ints: 1}}", "{bandwidths: 1,}", "{ints:1}", "{ints:; }"}) {
        EXPECT_THROW(strepToStackFrameData(wrong), ParseError) << wrong;
    }
}

TEST(Calls, LogOfACalleeIsOneEntryOfItsCaller) {
    auto const context = makePtr<RecordingContext>();
    auto const inner = function({returns(always(QcfFalse()))});
    U64 const before = nextKey();
    auto const outer = function({call(inner), call(inner), accepts()});
    U64 const calledAt[] = {before + 1, before + 2};
    context->shouldLogEvalIs(true);
    outer->eval(context);
    auto const log = context->evaluationLog();
    ASSERT_TRUE(log);
    EXPECT_EQ(log->aetNodeKey(), calledAt[0]);
    String const callee =
        logText(static_cast<Qcf::Debug::EvaluationLog const *>(log->functionCallLog().get()));
    EXPECT_NE(callee.find("false/returnToCaller"), String::npos);
    ASSERT_TRUE(log->nextLog());
    EXPECT_EQ(log->nextLog()->aetNodeKey(), calledAt[1]);
    EXPECT_EQ(callee, logText(static_cast<Qcf::Debug::EvaluationLog const *>(
                          log->nextLog()->functionCallLog().get())));
}

TEST(Calls, AnExitLeavesAllCallersAndRestoresTheirFrames) {
    auto const context = makePtr<RecordingContext>();
    auto const never = scripted(QcfTrue());
    auto inner = function({make<ExitExpression>(always(QcfFalse())), never});
    for (int depth = 0; depth < 20; ++depth) {
        inner = function({call(inner), never});
    }
    EXPECT_EQ(textOf(inner->eval(context)), "false/exitToPoa");
    EXPECT_EQ(never->evaluations, 0U);
    EXPECT_EQ(context->functionCallDepth(), 0U);
    EXPECT_FALSE(*context->stackFrameDataRawPtr());
}

TEST(Calls, AnExceptionRestoresFrameAndDepth) {
    auto const context = makePtr<RecordingContext>();
    auto const readsMed = make<IntIs>(make<Attribute::Med>(), intArgument(0));
    auto f = function({readsMed}, true);
    for (int depth = 0; depth < 3; ++depth) {
        f = function({call(f, {number(1)})}, true);
    }
    auto const outermost = function({call(f, {number(1)}), accepts()});
    auto const argumentThrows = function({call(f, {make<Attribute::Med>()}), accepts()});
    for (auto const & function : {outermost, argumentThrows}) {
        for (bool const logging : {false, true}) {
            context->reset();
            context->shouldLogEvalIs(logging);
            context->throwAt = "medInput";
            EXPECT_THROW(function->eval(context), std::runtime_error);
            EXPECT_EQ(context->functionCallDepth(), 0U);
            context->throwAt = "";
            EXPECT_EQ(textOf(function->eval(context)), "true");
            context->reset();
            EXPECT_EQ(textOf(function->eval(context)), "true");
        }
    }
}

TEST(CallsDeathTest, MissingArgumentsEndTheProcess) {
    auto const context = makePtr<RecordingContext>();
    auto const one =
        Values{number(1), make<BandwidthImmediate>(1.0F), make<TriStateBoolImmediate>(QcfTrue()),
               make<PrefixListImmediate>("P", U16{1}, true)};
    struct Case {
        PtrConst<Expression> reads;
        char const * text;
    } const cases[] = {
        {assignMed(intArgument(1)),
         "nullptr != intTypeArgValues && argVectorIndex\\(\\) < intTypeArgValues->size\\(\\)"},
        {make<BandwidthIs>(make<BandwidthVariable>("b", U8{1}), make<BandwidthImmediate>(0.0F)),
         "nullptr != bandwidthTypeArgValues && "
         "argVectorIndex\\(\\) < bandwidthTypeArgValues->size\\(\\)"},
        {make<TriStateBoolExpression>(make<TriStateBoolVariable>("t", U8{1})),
         "nullptr != triStateBoolTypeArgValues && "
         "argVectorIndex\\(\\) < triStateBoolTypeArgValues->size\\(\\)"},
        {make<IpPrefixMatchPrefixList>(make<Attribute::IpPrefix>(),
                                       make<PrefixListVariable>("p", U8{1})),
         "nullptr != prefixListTypeArgValues && "
         "argVectorIndex\\(\\) < prefixListTypeArgValues->size\\(\\)"},
    };
    for (auto const & c : cases) {
        EXPECT_DEATH(run(context, {c.reads}, one), String("assertion failed: ") + c.text + " \\(");
    }
    EXPECT_DEATH(run(context, {assignMed(intArgument(0))}, {}),
                 "assertion failed: nullptr != intTypeArgContainer \\(");
}

TEST(CallsDeathTest, AReferenceMustNotDependOnTheFrame) {
    auto const context = makePtr<RecordingContext>();
    auto const elements =
        chain<IntLinkedList>(std::vector<PtrConst<Int>>{number(1), intArgument(0)});
    PtrConst<IntSetImmediate> const set = make<IntSetImmediate>(elements, false);
    EXPECT_TRUE(set->valueDependsOnStackFrameData());
    auto const bandwidth =
        make<BandwidthToCommunityValue>(make<BandwidthVariable>("b", U8{0}), U8{0});
    auto const dynamic = make<CommunityValueDynamic>(
        make<CommunityValueImmediate>(Acl::CommunityValue()), bandwidth, Acl::CommunityValue());
    auto const list = make<CommunitySetImmediate>(
        chain<CommunityLinkedList>(std::vector<PtrConst<CommunityValue>>{dynamic}), false);
    auto const linkBandwidth = make<ExtCommSetToLinkBandwidthExtCommValue>(list);
    for (PtrConst<StorageType> const & value :
         Values{set, bandwidth, dynamic, list, linkBandwidth}) {
        EXPECT_TRUE(value->valueDependsOnStackFrameData()) << value->typeData().name;
        EXPECT_DEATH(run(context, {}, {value}),
                     "assertion failed: !valueDependsOnStackFrameData\\(\\) \\(");
    }
    EXPECT_FALSE(intSet({1})->valueDependsOnStackFrameData());
    EXPECT_FALSE(make<Attribute::Med>()->valueDependsOnStackFrameData());
}
