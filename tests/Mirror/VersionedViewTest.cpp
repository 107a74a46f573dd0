#include "Mirror/LocalChannel.h"
#include "Mirror/ProgramPublication.h"
#include "tests/Mirror/MirrorTools.h"

#include <thread>

#include <gtest/gtest.h>

namespace Qcf::Mirror {
namespace {

PtrConst<PolicyVersion> version(U64 number) {
    return makePtr<PolicyVersion>(VersionId{number, std::to_string(number), {}}, FunctionTable(),
                                  U64{0});
}

TEST(VersionedView, aPinKeepsItsVersionAndTheLastOneFreesIt) {
    VersionedView view;
    VersionedView::Reader one(view);
    VersionedView::Reader other(view);
    view.currentIs(version(1));
    {
        auto const first = one.pin();
        {
            auto const second = other.pin();
            view.currentIs(version(2));
            EXPECT_EQ(first->id().number, 1U);
            EXPECT_EQ(second->id().number, 1U);
            EXPECT_EQ(view.retired(), 1U);
        }
        EXPECT_EQ(view.retired(), 1U) << "one still pins it";
        EXPECT_EQ(other.pin()->id().number, 2U);
        view.currentIs(version(3));
        EXPECT_EQ(view.retired(), 1U) << "nobody pinned version 2 any more";
    }
    EXPECT_EQ(view.retired(), 0U);
    EXPECT_EQ(one.pin()->id().number, 3U);
}

TEST(VersionedView, aCountedVersionOutlivesTheView) {
    PtrConst<PolicyVersion> held;
    {
        VersionedView view;
        EXPECT_EQ(view.current()->id().number, 0U);
        view.currentIs(version(1));
        held = view.current();
        view.currentIs(version(2));
    }
    EXPECT_EQ(held->id().number, 1U);
    EXPECT_EQ(held->refCount(), 1U);
}

TEST(VersionedView, misuseIsAsserted) {
    EXPECT_DEATH(
        {
            auto view = std::make_unique<VersionedView>();
            VersionedView::Reader reader(*view);
            view.reset();
        },
        "readers end before their view");
}

/// Evaluates until told to stop; every result must belong to one version, the one that was pinned.
void evaluate(FollowedStore & mirror, std::atomic<bool> const & stop,
              std::atomic<U64> & evaluated) {
    VersionedView::Reader reader(mirror.view());
    auto const context = makePtr<test::TestContext>();
    Ptr<Eval::EvalContextBase> const base = context;
    U64 last = 0;
    U64 routes = 0;
    while (!stop.load(std::memory_order_relaxed)) {
        auto const pinned = reader.pin();
        U64 const number = pinned->id().number;
        ASSERT_GE(number, last);
        last = number;
        context->reset();
        ASSERT_TRUE(pinned->find("f1")->eval(base).isTrue());
        ASSERT_EQ(context->med, context->localPref);
        U64 const first = context->med;
        context->reset();
        ASSERT_TRUE(pinned->find("f0")->eval(base).isTrue());
        ASSERT_EQ(context->med, first) << "functions of two versions";
        ASSERT_EQ(context->med, number);
        ++routes;
    }
    evaluated += routes;
}

TEST(VersionedView, threadsSeeWholeVersionsWhileTheySwitch) {
    auto const status = allFunctionStatusFactory("test");
    FunctionDigests digests;
    LocalChannel channel(status);
    FollowedStore mirror("test");
    U32 marker = 0;
    auto const publish = [&](U64 value) {
        publishProgram(test::policy(test::alike(2, value)), *status, digests, ++marker);
    };
    channel.attach(mirror);
    publish(2); // the empty store is version 1
    std::atomic<bool> stop = false;
    std::atomic<U64> evaluated = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 2; ++i) {
            threads.emplace_back([&] { evaluate(mirror, stop, evaluated); });
        }
        for (U64 value = 3; value <= 1002; ++value) {
            publish(value);
        }
        stop = true;
    }
    EXPECT_GT(evaluated.load(), 0U);
    EXPECT_EQ(mirror.version().number, 1002U);
    EXPECT_EQ(mirror.view().retired(), 0U);
    EXPECT_EQ(test::flatDocument(mirror.status()), test::flatDocument(*status));
}

} // namespace
} // namespace Qcf::Mirror
