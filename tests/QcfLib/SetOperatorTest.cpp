#include "tests/support/RecordingContext.h"
#include "tests/support/Trees.h"

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

using Values = std::vector<U64>;

PtrConst<IntSetModifiable> community() { return make<Attribute::Community>(); }
PtrConst<IntSet> communityInput() { return make<Attribute::CommunityInput>(); }
PtrConst<CommunitySetModifiable> ext() { return make<Attribute::ExtCommunity>(); }
PtrConst<CommunitySetModifiable> large() { return make<Attribute::LargeCommunity>(); }

Acl::CommunityValue value(U64 n) { return {n, 1}; }

std::vector<Acl::CommunityValue> values(Values const & numbers) {
    std::vector<Acl::CommunityValue> all;
    for (U64 const n : numbers) {
        all.push_back(value(n));
    }
    return all;
}

String textOfSet(PtrConst<IntSet> const & node, Ptr<RecordingContext> const & context) {
    return written(node->getVal(context));
}
String textOfSet(PtrConst<CommunitySet> const & node, Ptr<RecordingContext> const & context) {
    return written(node->getVal(context));
}

} // namespace

// The tests, on integer and community sets alike: result for left and right, and who is read first.
TEST(SetOperators, Tests) {
    struct Case {
        Values left;
        Values right;
        bool is, hasAll, allIn, hasAny;
    };
    Case const cases[] = {
        {{}, {}, true, true, true, false},
        {{}, {1}, false, false, true, false},
        {{1}, {}, false, true, false, false},
        {{1, 2}, {1, 2}, true, true, true, true},
        {{1, 2, 3}, {2}, false, true, false, true},
        {{2}, {1, 2, 3}, false, false, true, true},
        {{1, 3}, {2, 4}, false, false, false, false},
        {{1, 2}, {2, 3}, false, false, false, true},
    };
    auto const context = makePtr<RecordingContext>();
    for (Case const & c : cases) {
        for (bool const cached : {true, false}) {
            auto const set = intSet(c.right, cached);
            auto const communities = communitySet(values(c.right), cached);
            std::pair<PtrConst<Expression>, bool> const tests[] = {
                {make<IntSetIsImmediate>(community(), set), c.is},
                {make<IntSetHasAllImmediate>(community(), set), c.hasAll},
                {make<IntSetAllInImmediate>(community(), set), c.allIn},
                {make<IntSetHasAnyImmediate>(community(), set), c.hasAny},
                {make<IntSetHasNoneImmediate>(community(), set), !c.hasAny},
                {make<IntSetIsEmpty>(community()), c.left.empty()},
                {make<CommunitySetIsImmediate>(large(), communities), c.is},
                {make<CommunitySetHasAllImmediate>(large(), communities), c.hasAll},
                {make<CommunitySetAllInImmediate>(large(), communities), c.allIn},
                {make<CommunitySetHasAnyImmediate>(large(), communities), c.hasAny},
                {make<CommunitySetHasNoneImmediate>(large(), communities), !c.hasAny},
                {make<CommunitySetIsEmpty>(large()), c.left.empty()},
            };
            context->reset();
            context->community = c.left;
            context->largeCommunity = values(c.left);
            for (auto const & [test, expected] : tests) {
                EXPECT_EQ(test->eval(context), EvalResult::fromBool(expected))
                    << test->typeData().name << c.left.size() << c.right.size();
            }
        }
    }
}

TEST(SetOperators, ReadOrder) {
    auto const context = makePtr<RecordingContext>();
    std::pair<PtrConst<Expression>, bool> const leftFirst[] = {
        {make<CommunitySetHasAllImmediate>(large(), ext()), true},
        {make<CommunitySetAllInImmediate>(large(), ext()), false},
        {make<CommunitySetHasAnyImmediate>(large(), ext()), false},
        {make<CommunitySetHasNoneImmediate>(large(), ext()), false},
        {make<CommunitySetIsImmediate>(large(), ext()), false},
        {make<CommunitySetAddImmediate>(large(), ext()), true},
        {make<CommunitySetRemoveImmediate>(large(), ext()), true},
        {make<CommunitySetRetainImmediate>(large(), ext()), true},
        {make<IntSetHasAllImmediate>(community(), make<Attribute::IsisLevel>()), true},
        {make<IntSetHasAnyImmediate>(community(), make<Attribute::IsisLevel>()), false},
    };
    for (auto const & [node, left] : leftFirst) {
        context->reset();
        node->eval(context);
        bool const integers = String(node->typeData().name).starts_with("Int");
        String const lhs = integers ? "communityInputPopulate" : "largeCommunityInputPopulate";
        String const rhs = integers ? "isisLevelInputPopulate" : "extCommunityInputPopulate";
        EXPECT_EQ(context->takeCalls(), left ? lhs + "; " + rhs : rhs + "; " + lhs)
            << node->typeData().name;
    }
    context->reset();
    make<CommunitySetAssignImmediate>(large(), ext())->eval(context);
    EXPECT_EQ(context->takeCalls(), "extCommunityInputPopulate");
    // Set.add of link bandwidth looks at what is added first, and at nothing else when it is empty.
    context->reset();
    make<ExtCommunitySetAddImmediate>(ext(), large())->eval(context);
    EXPECT_EQ(context->takeCalls(), "largeCommunityInputPopulate");
    EXPECT_EQ(context->modifiedFlags(), 0U);
}

TEST(SetOperators, ModifiersWriteAndAreTrue) {
    struct Case {
        Values left, right;
        char const * add;
        char const * remove;
        char const * retain;
        char const * assign;
    };
    Case const cases[] = {
        {{}, {}, "null", "null", "null", "null"},
        {{1, 3}, {}, "1,3", "1,3", "null", "null"},
        {{}, {1, 3}, "1,3", "null", "null", "1,3"},
        {{1, 3}, {2}, "1,2,3", "1,3", "null", "2"},
        {{1, 2, 3}, {2}, "1,2,3", "1,3", "2", "2"},
        {{2}, {1, 2, 3}, "1,2,3", "null", "2", "1,2,3"},
        {{1, 2}, {1, 2}, "1,2", "null", "1,2", "1,2"},
    };
    auto const context = makePtr<RecordingContext>();
    for (Case const & c : cases) {
        auto const set = intSet(c.right);
        std::pair<PtrConst<Expression>, String> const modifiers[] = {
            {make<IntSetAddImmediate>(community(), set), c.add},
            {make<IntSetRemoveImmediate>(community(), set), c.remove},
            {make<IntSetRetainImmediate>(community(), set), c.retain},
            {make<IntSetAssignImmediate>(community(), set), c.assign},
        };
        for (auto const & [node, expected] : modifiers) {
            context->reset();
            context->community = c.left;
            EXPECT_EQ(node->eval(context), EvalResult::fromBool(true));
            context->calls.clear();
            context->flushModifiedAttributes();
            String const flushed = context->takeCalls();
            bool const empty = expected == "null";
            EXPECT_TRUE(flushed == "communityIs " + expected || (empty && flushed == "communityIs"))
                << node->typeData().name << ": " << flushed << ", wants " << expected;
            EXPECT_EQ(textOfSet(communityInput(), context),
                      written(PtrConst<U64SmallVector>(setOf<U64SmallVector>(c.left))));
        }
        EXPECT_EQ(written(set->getVal(context)),
                  c.right.empty() ? "null" : setOf<U64SmallVector>(c.right)->toStrep());
        context->reset(); // lets go of the constants, which die with their nodes
    }
}

// What one attribute got from another, or from a literal, must not change with either.
TEST(SetOperators, AttributesDoNotShareWhatTheyChange) {
    auto const context = makePtr<RecordingContext>();
    auto const add = [](PtrConst<CommunitySetModifiable> lhs, U64 n) {
        return PtrConst<Expression>(
            make<CommunitySetAddImmediate>(std::move(lhs), communitySet({value(n)})));
    };
    auto const assign = [](PtrConst<CommunitySetModifiable> lhs, PtrConst<CommunitySet> rhs) {
        return PtrConst<Expression>(
            make<CommunitySetAssignImmediate>(std::move(lhs), std::move(rhs)));
    };
    auto const addAll = [](PtrConst<CommunitySetModifiable> lhs, PtrConst<CommunitySet> rhs) {
        return PtrConst<Expression>(make<CommunitySetAddImmediate>(std::move(lhs), std::move(rhs)));
    };
    auto const literal = communitySet({value(5), value(6)});
    auto const fresh = communitySet({value(5), value(6)}, false);
    struct Case {
        Expressions steps;
        char const * ext;
        char const * large;
    } const cases[] = {
        {{assign(ext(), large()), add(ext(), 3)}, "0:1:1,0:2:1,0:3:1", "0:1:1,0:2:1"},
        {{assign(ext(), large()), add(large(), 3)}, "0:1:1,0:2:1", "0:1:1,0:2:1,0:3:1"},
        {{add(large(), 3), assign(ext(), large()), add(large(), 4), add(ext(), 5)},
         "0:1:1,0:2:1,0:3:1,0:5:1",
         "0:1:1,0:2:1,0:3:1,0:4:1"},
        {{assign(ext(), communitySet({})), addAll(ext(), large()), add(ext(), 3)},
         "0:1:1,0:2:1,0:3:1",
         "0:1:1,0:2:1"},
        {{assign(ext(), large()), add(ext(), 3), add(ext(), 4), add(large(), 9)},
         "0:1:1,0:2:1,0:3:1,0:4:1",
         "0:1:1,0:2:1,0:9:1"},
        {{assign(ext(), literal), assign(large(), ext()), add(ext(), 3), add(large(), 4)},
         "0:3:1,0:5:1,0:6:1",
         "0:4:1,0:5:1,0:6:1"},
        {{assign(ext(), fresh), assign(large(), ext()), add(ext(), 3), add(large(), 4)},
         "0:3:1,0:5:1,0:6:1",
         "0:4:1,0:5:1,0:6:1"},
        {{assign(ext(), make<Attribute::LargeCommunityInput>()), add(ext(), 3)},
         "0:1:1,0:2:1,0:3:1",
         "0:1:1,0:2:1"},
        {{addAll(large(), large()), assign(ext(), large()), assign(ext(), ext()), add(ext(), 3)},
         "0:1:1,0:2:1,0:3:1",
         "0:1:1,0:2:1"},
        {{make<CommunitySetRemoveImmediate>(large(), large())}, "0:8:1", "null"},
        {{make<CommunitySetRetainImmediate>(large(), large())}, "0:8:1", "0:1:1,0:2:1"},
        {{add(large(), 3), make<CommunitySetRemoveImmediate>(large(), large())}, "0:8:1", "null"},
        {{make<ExtCommunitySetAddImmediate>(ext(), large()), add(ext(), 3)},
         "0:1:1,0:2:1,0:3:1,0:8:1",
         "0:1:1,0:2:1"},
        {{assign(ext(), communitySet({})), make<ExtCommunitySetAddImmediate>(ext(), large()),
          make<ExtCommunitySetAddImmediate>(ext(), communitySet({value(3)}))},
         "0:1:1,0:2:1,0:3:1",
         "0:1:1,0:2:1"},
    };
    context->extCommunity = values({8});
    context->largeCommunity = values({1, 2});
    for (auto const & c : cases) {
        for (int route = 0; route < 2; ++route) { // again, with the containers of the first one
            context->reset();
            for (auto const & step : c.steps) {
                EXPECT_EQ(step->eval(context), EvalResult::fromBool(true));
            }
            EXPECT_EQ(textOfSet(ext(), context), c.ext);
            EXPECT_EQ(textOfSet(large(), context), c.large);
            EXPECT_EQ(textOfSet(make<Attribute::ExtCommunityInput>(), context), "0:8:1");
            EXPECT_EQ(textOfSet(make<Attribute::LargeCommunityInput>(), context), "0:1:1,0:2:1");
            EXPECT_EQ(literal->getVal(context)->toStrep(), "0:5:1,0:6:1");
        }
    }
    context->reset();
}

TEST(Literals, AreClampedSortedAndFreeOfDuplicates) {
    auto const context = makePtr<RecordingContext>();
    auto const elements = [](std::vector<PtrConst<Int>> const & entries) {
        return chain<IntLinkedList>(entries);
    };
    auto const head = elements({number(5), number(3, true), number(5), number(4294967296)});
    for (bool const cachable : {false, true}) {
        auto const set = make<IntSetImmediate>(head, cachable);
        auto const list = make<IntListImmediate>(head, cachable);
        auto const flag = cachable ? ModifyFlag::copyOnWrite : ModifyFlag::reuseOnWrite;
        EXPECT_EQ(set->getVal(context)->modifyFlag(), flag);
        EXPECT_EQ(list->getVal(context)->modifyFlag(), flag);
        EXPECT_NE(set->getVal(context), set->getVal(context)); // evaluation caches nothing
        std::vector<String> heard;
        set->publisher().subscribe(
            [&](Notification const & n) { heard.emplace_back(n.attribute); });
        cacheConstantValue(*set);
        cacheConstantValue(*list);
        EXPECT_EQ(heard.size(), cachable ? 1U : 0U);
        EXPECT_EQ(set->getVal(context)->toStrep(), "0,5,4294967295");
        EXPECT_EQ(list->getVal(context)->toStrep(), "5,0,5,4294967295");
        EXPECT_EQ(set->getVal(context) == set->getVal(context), cachable);
        EXPECT_EQ(set->toStrep(), "{ 5, 3, 5, 4294967296 }");
        EXPECT_EQ(list->toStrep(), "[ 5, 3, 5, 4294967296 ]");
        // The cached value is no part of the node's identity.
        EXPECT_TRUE(set->compare(make<IntSetImmediate>(head, cachable)));
    }
    PtrConst<IntLinkedList> const none;
    EXPECT_EQ(make<IntSetImmediate>(none, true)->getVal(context), nullptr);
    EXPECT_EQ(make<IntListImmediate>(none, true)->getVal(context), nullptr);
    EXPECT_EQ(make<CommunitySetImmediate>(nullptr, true)->getVal(context), nullptr);
    EXPECT_EQ(make<IntSetImmediate>(none, true)->toStrep(), "{  }");
    EXPECT_EQ(make<IntListImmediate>(none, true)->toStrep(), "[  ]");
    EXPECT_EQ(intList({3, 1, 3})->getVal(context)->toStrep(), "3,1,3");
    // The link bandwidth is the last one written, whatever the order of values.
    Acl::CommunityValue const low(0x4004000000000001, 0);
    Acl::CommunityValue const high(0x4004000000000002, 0);
    EXPECT_EQ(communitySet({high, low, value(3)})->getVal(context)->lbwValue(), low);
}

// A document may call anything cachable: what depends on route or frame is not cached all the same.
TEST(Literals, OnlyConstantsAreCached) {
    auto const context = makePtr<RecordingContext>();
    context->med = 7;
    auto const withMed = make<IntSetImmediate>(
        chain<IntLinkedList>(std::vector<PtrConst<Int>>{number(1), make<Attribute::Med>()}), true);
    auto const withArgument = make<IntListImmediate>(
        chain<IntLinkedList>(std::vector<PtrConst<Int>>{make<IntVariable>("i", U8{0})}), true);
    auto const withAttribute = make<CommunitySetImmediate>(
        chain<CommunityLinkedList>(
            std::vector<PtrConst<CommunityValue>>{make<Attribute::AdminAs>()}),
        true);
    auto const withTable = make<IntSetImmediate>(
        chain<IntLinkedList>(std::vector<PtrConst<Int>>{make<RoaTableImmediate>(U64{4}, "r")}),
        true);
    cacheConstantValue(*withMed);
    cacheConstantValue(*withArgument);
    cacheConstantValue(*withAttribute);
    cacheConstantValue(*withTable);
    EXPECT_EQ(withMed->cachedGetVal(), nullptr);
    EXPECT_EQ(withArgument->cachedGetVal(), nullptr);
    EXPECT_EQ(withAttribute->cachedGetVal(), nullptr);
    ASSERT_NE(withTable->cachedGetVal(), nullptr);
    EXPECT_EQ(withTable->cachedGetVal()->toStrep(), "4");
    EXPECT_EQ(withMed->getVal(context)->toStrep(), "1,7");
}
