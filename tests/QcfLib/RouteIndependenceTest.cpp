#include "tests/support/Plans.h"

#include <algorithm>
#include <numeric>
#include <random>

#include <gtest/gtest.h>

using namespace Qcf;
using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

// What becomes of a route must not depend on the routes before it.

namespace {

Acl::CommunityValue plain(U64 n) { return {(U64{2} << 48) + n, 0}; }
Acl::CommunityValue linkBandwidth(U64 n) { return {(U64{0x4004} << 48) + n, 0}; }

std::vector<Acl::CommunityValue> plains(U64 from, U64 count) {
    std::vector<Acl::CommunityValue> values;
    for (U64 i = 0; i < count; ++i) {
        values.push_back(plain(from + i));
    }
    return values;
}

/// An agent whose list edits gather their result in the scratch buffer, as edits of sets do.
class GatheringContext final : public RecordingContext {
public:
    CommunitySetPtr
    extCommRetainExtCommList(CommunitySetPtr const & set,
                             PtrConst<ExtCommListStatus> const & /*status*/) override {
        auto & scratch = communitySetScratch();
        scratch.assign(set->begin(), set->end());
        auto result = makePtr<CommunitySmallVector>(ModifyFlag::reuseOnWrite);
        for (auto const & value : scratch) {
            result->insert(value);
        }
        return result;
    }
};

/// Routes of few communities are as usual; those of many are edited by a list, in the agent's
/// scratch buffer.
Ptr<Function> policy() {
    auto const set = make<Attribute::ExtCommunity>();
    auto const count = make<Attribute::ExtCommunityCountInput>();
    auto const byList = make<CommunitySetRetainExtCommList>(set, "E", U16{3});
    auto const longList =
        make<IfExpression>(make<IntGreaterThan>(count, number(128)), block({byList}), nullptr);
    // A union beyond the values that a set holds in place makes a new set, which knows no link
    // bandwidth before one is inserted.
    auto const added = make<CommunitySetAddImmediate>(set, communitySet(plains(500, 40)));
    auto const known = make<CommunityValueIs>(make<ExtCommSetToLinkBandwidthExtCommValue>(set),
                                              make<CommunityValueImmediate>(linkBandwidth(1)));
    return function({longList, added, returns(known)});
}

std::vector<Acl::CommunityValue> routeOf(std::size_t number) {
    static constexpr U64 sizes[] = {100, 4, 300, 87, 88, 126};
    auto values = plains(0, sizes[number % std::size(sizes)]);
    values.push_back(linkBandwidth(1));
    return values;
}

std::vector<String> verdicts(Function const & f, std::vector<std::size_t> const & order) {
    auto const context = makePtr<GatheringContext>();
    std::vector<String> all(order.size());
    for (std::size_t const number : order) {
        context->extCommunity = routeOf(number);
        all[number] = outcome(f, context);
    }
    return all;
}

} // namespace

TEST(Routes, AreIndependentOfTheirOrder) {
    auto const f = policy();
    std::vector<std::size_t> order(60);
    std::iota(order.begin(), order.end(), std::size_t{0});
    for (bool const plans : {true, false}) {
        PlansEnabled const on(plans);
        std::vector<String> alone;
        for (std::size_t const number : order) {
            auto const context = makePtr<GatheringContext>();
            context->extCommunity = routeOf(number);
            alone.push_back(outcome(*f, context));
        }
        EXPECT_NE(std::count(alone.begin(), alone.end(), alone[0]), 60);
        std::mt19937 random(1);
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(verdicts(*f, order), alone) << (plans ? "by plan" : "by tree");
            std::shuffle(order.begin(), order.end(), random);
        }
        std::sort(order.begin(), order.end());
    }
}

TEST(Routes, LeaveNoArgumentsBehind) {
    auto const context = makePtr<EvalContext>(nullptr, nullptr, nullptr);
    auto & frame = *context->stackFrameDataRawPtr();
    struct Case {
        char const * name;
        void (*push)(StackFrameData_ &);
    };
    Case const cases[] = {
        {"int", [](StackFrameData_ & f) { f.pushInt(7); }},
        {"bandwidth", [](StackFrameData_ & f) { f.pushBandwidth(7); }},
        {"tristate", [](StackFrameData_ & f) { f.pushTriStateBool(QcfTrue()); }},
        {"node", [](StackFrameData_ & f) { f.pushAetNodePtrArgToStack(*number(1)); }},
    };
    for (auto const & c : cases) {
        c.push(frame);
        EXPECT_TRUE(frame) << c.name;
        context->reset();
        EXPECT_FALSE(frame) << c.name;
    }
    auto const argument = make<IntVariable>("i", U8{0});
    for (S128 const value : {7, 8}) {
        frame.pushInt(value);
        EXPECT_EQ(argument->getVal(context), static_cast<U64>(value));
        context->reset();
    }
}

// A plan may ask less often than the tree, never more often.
TEST(Routes, AnUnsetOriginIsReadOnce) {
    auto const context = makePtr<RecordingContext>();
    auto const origin = make<Attribute::Origin>();
    auto const f = function({returns(make<IntIs>(origin, number(256)))});
    for (bool const plans : {true, false}) {
        PlansEnabled const on(plans);
        EXPECT_EQ(outcome(*f, context), "true");
        EXPECT_EQ(context->takeCalls(), "originInput") << plans;
    }
}
