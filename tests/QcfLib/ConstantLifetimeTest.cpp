#include "tests/support/Plans.h"

#include <gtest/gtest.h>

using namespace Qcf;
using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

// Constants and cached inputs are handed around uncounted; whoever keeps a pointer keeps the set.

namespace {

/// An agent that keeps what it was handed.
class KeepingContext final : public EvalContext {
public:
    KeepingContext() : EvalContext(nullptr, nullptr, nullptr) {}
    void communityInputPopulate(Ptr<U64SmallVector> const & set) const override {
        set->insert(3);
        set->insert(7);
    }
    void communityIs(PtrConst<U64SmallVector> const & value) override { kept = value; }

    PtrConst<U64SmallVector> kept;
};

/// What an agent kept of a function, when nodes, function and context are gone and other sets have
/// taken whatever room became free.
String keptOf(PtrConst<Expression> change) {
    PtrConst<U64SmallVector> kept;
    {
        auto const context = makePtr<KeepingContext>();
        function({std::exchange(change, nullptr), accepts()})->eval(context);
        kept = context->kept;
    }
    std::vector<Ptr<U64SmallVector>> const others{setOf<U64SmallVector>({90, 91}),
                                                  setOf<U64SmallVector>({92, 93}),
                                                  setOf<U64SmallVector>({94, 95})};
    return kept->toStrep();
}

} // namespace

TEST(Constants, StayWithWhoKeepsThem) {
    auto const target = make<Attribute::Community>();
    for (bool const plans : {true, false}) {
        PlansEnabled const on(plans);
        EXPECT_EQ(keptOf(make<IntSetAssignImmediate>(target, intSet({1, 2}))), "1,2");
        EXPECT_EQ(keptOf(make<IntSetAddImmediate>(target, intSet({5}))), "3,5,7");
        EXPECT_EQ(keptOf(make<IntSetRemoveImmediate>(target, intSet({9}))), "3,7");
        auto twice = block({make<IntSetAssignImmediate>(target, intSet({1})),
                            make<IntSetAddImmediate>(target, intSet({4}))});
        EXPECT_EQ(keptOf(std::move(twice)), "1,4");
    }
}

TEST(Constants, AreCountedByNobodyButThoseWhoKeepThem) {
    auto const literal = intSet({1, 2});
    auto const f =
        function({make<IntSetAssignImmediate>(make<Attribute::Community>(), literal), accepts()});
    auto const * const constant = literal->cachedGetVal();
    for (bool const plans : {true, false}) {
        PlansEnabled const on(plans);
        auto const context = makePtr<KeepingContext>();
        U32 const before = constant->refCount();
        f->eval(context);
        EXPECT_EQ(context->kept, constant);
        EXPECT_EQ(constant->refCount(), before + 1);
        context->reset();
        context->kept = nullptr;
        EXPECT_EQ(constant->refCount(), before);
    }
}

// What was stored outlives the context that stored it.
TEST(Constants, DetachedContentOwnsItsSets) {
    Ptr<AttributeContent> content;
    Ptr<QcfEvalContextCacheGenerated> cache;
    {
        auto const context = makePtr<KeepingContext>();
        auto const added = make<IntSetAddImmediate>(make<Attribute::Community>(), intSet({5}));
        auto const assigned =
            make<IntSetAssignImmediate>(make<Attribute::IsisLevel>(), intSet({2}));
        function({added, assigned})->eval(context);
        content = context->attributeContentDel();
        cache = context->cacheDel();
    }
    cache = nullptr;
    EXPECT_EQ(content->community->toStrep(), "3,5,7");
    EXPECT_EQ(content->isisLevel->toStrep(), "2");
}

// A plan that was made with a constant is not used once the constant is another one.
TEST(Constants, MayBeReplacedBetweenRoutes) {
    auto const context = makePtr<RecordingContext>();
    auto const literal = intSet({1, 2});
    auto const added = intSet({8});
    auto const med = make<Attribute::Med>();
    auto const f = function({make<IntSetAddImmediate>(make<Attribute::Community>(), added),
                             returns(make<IntInImmediateSet>(med, literal))});
    for (bool const plans : {true, false, true}) {
        PlansEnabled const on(plans);
        for (U64 const value : {1U, 5U, 6U}) {
            literal->cachedGetValIs(setOf<U64SmallVector>({value, value + 100}));
            added->cachedGetValIs(setOf<U64SmallVector>({value}));
            context->med = value;
            EXPECT_EQ(outcome(*f, context), "true; communityIs " + std::to_string(value));
            context->med = value + 1;
            EXPECT_EQ(outcome(*f, context), "false");
        }
    }
}

TEST(ConstantsDeathTest, ACachedValueIsNeverOverwritten) {
    auto const literal = intSet({1});
    EXPECT_DEATH(literal->cachedGetValIs(setOf<U64SmallVector>({1}, ModifyFlag::reuseOnWrite)),
                 "assertion failed: a cached value is copyOnWrite");
}
