#include "QcfLib/Plan.h"
#include "tests/support/AllocationCount.h"
#include "tests/support/Trees.h"

#include <thread>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

/// A route of an agent that allocates nothing itself.
class QuietContext final : public EvalContext {
public:
    QuietContext() : EvalContext(nullptr, nullptr, nullptr) {}

    U64 medInput() const override { return med; }
    void medIs(U64 value) override { written += value; }
    void communityInputPopulate(Ptr<U64SmallVector> const & set) const override {
        for (U64 value = 0; value < communities; ++value) {
            set->insert(value * 2);
        }
    }
    void communityIs(PtrConst<U64SmallVector> const & set) override {
        written += set ? set->count() : 0;
    }
    void extCommunityIs(PtrConst<CommunitySmallVector> const & set) override {
        written += set ? set->count() : 0;
    }

    U64 med = 0;
    U64 communities = 0;
    U64 written = 0;
};

/// Attributes, comparisons, assignments, set operators, calls and literals of all kinds.
Ptr<Function> policy() {
    auto const med = make<Attribute::Med>();
    auto const community = make<Attribute::Community>();
    auto const ext = make<Attribute::ExtCommunity>();
    std::vector<U64> many;
    for (U64 i = 0; i < 300; ++i) {
        many.push_back(i * 5);
    }
    auto const callee = function(
        {make<IntPlusEq>(med, make<IntVariable>("i", U8{0})),
         returns(make<IntInImmediateSet>(med, make<IntSetImmediate>(numbers({1, 7}), false)))},
        true, "callee");
    return function(
        {make<IntSetAddImmediate>(community, intSet({1, 3, 5})),
         make<IntSetRemoveImmediate>(community, intSet({4})),
         make<IntSetRetainImmediate>(community, intSet(many)),
         make<IntSetAssignImmediate>(make<Attribute::IsisLevel>(), intSet({1})),
         make<CommunitySetAssignImmediate>(ext, communitySet({{0x4004000000000001, 0}})),
         make<ExtCommunitySetAddImmediate>(ext, communitySet({{0x4004000000000002, 0}, {1, 0}})),
         make<IfExpression>(logical("and", {make<IntLessThan>(med, number(100)),
                                            make<IntSetHasAnyImmediate>(community, intSet(many)),
                                            make<IntInImmediateSetWithRanges>(
                                                med, intSet({1}), intList({5}), intList({50}))}),
                            block({call(callee, {number(1)})}),
                            block({make<IntAssign>(med, number(9))})),
         make<AsPathPrepend>(make<Attribute::AsPath>(), intList({65001, 65001})), accepts()});
}

U64 evaluate(Function const & function, Ptr<QuietContext> const & context, U64 routes) {
    for (U64 route = 0; route < routes; ++route) {
        context->reset();
        context->med = route % 120;
        context->communities = route % 40;
        function.eval(context);
    }
    return context->written;
}

} // namespace

TEST(Allocations, NonePerRouteAfterTheFirstOnes) {
    auto const f = policy();
    auto const context = makePtr<QuietContext>();
    bool const before = Plan::enabled();
    for (bool const plans : {true, false}) {
        Plan::enabledIs(plans);
        evaluate(*f, context, 500);
        U64 const allocations = Qcf::test::allocationCount();
        evaluate(*f, context, 2000);
        EXPECT_EQ(Qcf::test::allocationCount() - allocations, 0U)
            << (plans ? "by plan" : "by tree");
    }
    Plan::enabledIs(before);
    EXPECT_GT(context->written, 0U);
}

// Several threads, each with its context, over one tree whose constants are not counted. Functions
// are switched, die under the contexts, and are planned by whoever comes first.
TEST(SharedTrees, AreReadByManyThreadsAtOnce) {
    auto expected = makePtr<QuietContext>();
    U64 const wanted = evaluate(*policy(), expected, 300);
    for (int round = 0; round < 5; ++round) {
        auto first = policy();
        auto second = policy();
        U64 results[3] = {};
        std::vector<std::thread> threads;
        for (U64 & result : results) {
            threads.emplace_back([first, second, &result] {
                auto const context = makePtr<QuietContext>();
                evaluate(*second, context, 50);
                context->written = 0;
                result = evaluate(*first, context, 300);
            });
        }
        first = nullptr;
        second = nullptr;
        for (std::thread & thread : threads) {
            thread.join();
        }
        for (U64 const result : results) {
            EXPECT_EQ(result, wanted);
        }
    }
}

TEST(SharedTrees, ConstantsStayWhatTheyAreOverAMillionRoutes) {
    auto const community = make<Attribute::Community>();
    auto const ext = make<Attribute::ExtCommunity>();
    auto const assigned = intSet({2, 4, 6});
    auto const added = intSet({1, 3});
    auto const linkBandwidth = communitySet({{0x4004000000000001, 0}, {7, 0}});
    auto const other = communitySet({{0x4004000000000002, 0}, {1, 0}});
    auto const f = function({make<IntSetAssignImmediate>(community, assigned),
                             make<IntSetAddImmediate>(community, added),
                             make<IntSetRemoveImmediate>(community, intSet({2})),
                             make<CommunitySetAssignImmediate>(ext, linkBandwidth),
                             make<CommunitySetAddImmediate>(ext, other),
                             make<ExtCommunitySetAddImmediate>(ext, other), accepts()});
    auto const constants = [&] {
        return assigned->getVal(nullptr)->toStrep() + " " + added->getVal(nullptr)->toStrep() +
               " " + linkBandwidth->getVal(nullptr)->toStrep() + " " +
               other->getVal(nullptr)->toStrep();
    };
    String const before = constants();
    auto const evaluateHalf = [&] {
        auto const context = makePtr<QuietContext>();
        EXPECT_EQ(evaluate(*f, context, 500'000), 500'000U * (4 + 3));
    };
    std::thread half(evaluateHalf);
    evaluateHalf();
    half.join();
    EXPECT_EQ(constants(), before);
}

TEST(SharedTrees, ChainsDieInWhicheverThreadIsLast) {
    for (int round = 0; round < 50; ++round) {
        PtrConst<IntLinkedList> list = numbers(std::vector<U64>(200, 1));
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([mine = list]() mutable {
                EXPECT_EQ(mine->entry()->typeData().number(),
                          std::size_t{IntImmediate::classNumber});
                auto const tail = PtrConst<IntLinkedList>(mine->next().get());
                mine = nullptr;
                EXPECT_TRUE(tail->next());
            });
        }
        list = nullptr;
        for (std::thread & thread : threads) {
            thread.join();
        }
    }
}

TEST(SharedTrees, PlainCountingFreesAllTheSame) {
    U64 const live = Function::memAllocationTracker().live();
    bool const before = ThreadSafePtrs::enabled();
    ThreadSafePtrs::enabledIs(false);
    {
        auto const f = policy();
        auto const context = makePtr<QuietContext>();
        evaluate(*f, context, 100);
    }
    ThreadSafePtrs::enabledIs(before);
    EXPECT_EQ(Function::memAllocationTracker().live(), live);
}
