#include "QcfLib/QcfEvalLazyCollection.h"
#include "tests/support/Trees.h"

#include <numeric>
#include <random>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

constexpr auto copies = ModifyFlag::copyOnWrite;
constexpr auto reuses = ModifyFlag::reuseOnWrite;

U64 valueOf(U64SmallVector const *, U64 n) { return n; }
/// Neighbours differ in the type word, every eighth is a link bandwidth.
Acl::CommunityValue valueOf(CommunitySmallVector const *, U64 n) {
    U64 const top = n % 8 == 0 ? 0x4004 : n % 3 == 0 ? 0x5000 : 0x0002;
    return {(top << 48) | (n / 2), static_cast<U32>(n % 2)};
}

template <typename Set>
using Model = std::set<typename Set::Value>;

template <typename Set>
Ptr<Set> fromModel(Model<Set> const & model, ModifyFlag flag) {
    auto set = makePtr<Set>(flag);
    for (auto const & value : model) {
        set->insert(value);
    }
    return set;
}

template <typename Set>
Model<Set> toModel(Set const * set) {
    Model<Set> model;
    if (set != nullptr) {
        for (auto const & value : *set) {
            EXPECT_TRUE(model.empty() || *model.rbegin() < value) << "not ascending";
            model.insert(model.end(), value);
        }
    }
    return model;
}

class Random {
public:
    /// Sizes from nothing to 300 with small ones often; values dense, sparse or apart.
    template <typename Set>
    Model<Set> set() {
        U64 const size = below(3) == 0 ? below(300) : below(12);
        U64 const range = below(2) == 0 ? size + 1 + below(10) : 2000;
        U64 const from = below(2) * below(3000);
        Model<Set> model;
        for (U64 i = 0; i < size; ++i) {
            model.insert(valueOf(static_cast<Set const *>(nullptr), from + below(range)));
        }
        return model;
    }
    U64 below(U64 limit) { return generator_() % limit; }

private:
    std::mt19937_64 generator_{20260711};
};

template <typename Set>
Model<Set> combined(char op, Model<Set> const & a, Model<Set> const & b) {
    Model<Set> result;
    auto const out = std::inserter(result, result.end());
    switch (op) {
    case '+':
        std::set_union(a.begin(), a.end(), b.begin(), b.end(), out);
        break;
    case '-':
        std::set_difference(a.begin(), a.end(), b.begin(), b.end(), out);
        break;
    default:
        std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), out);
    }
    return result;
}

template <typename Set>
PtrConst<Set> apply(char op, PtrConst<Set> const & a, PtrConst<Set> const & b,
                    typename Set::Buffer & scratch) {
    return op == '+'   ? Set::add(a, b, scratch)
           : op == '-' ? Set::remove(a, b, scratch)
                       : Set::retain(a, b, scratch);
}

template <typename Set>
void checkPredicates(Set const * a, Set const * b, Model<Set> const & inA, Model<Set> const & inB) {
    EXPECT_EQ(Set::isEqual(a, b), inA == inB);
    EXPECT_EQ(Set::isSubset(a, b), std::ranges::includes(inB, inA));
    EXPECT_EQ(Set::hasAny(a, b), !combined<Set>('&', inA, inB).empty());
}

template <typename Set>
void checkAgainstModel() {
    Random random;
    typename Set::Buffer scratch;
    for (int round = 0; round < 6000; ++round) {
        auto const inA = random.set<Set>();
        auto const inB =
            random.below(4) == 0 ? combined<Set>('&', inA, random.set<Set>()) : random.set<Set>();
        auto const flagA = random.below(2) == 0 ? copies : reuses;
        auto const flagB = random.below(2) == 0 ? copies : reuses;
        PtrConst<Set> const a = fromModel<Set>(inA, flagA);
        PtrConst<Set> const b = fromModel<Set>(inB, flagB);
        checkPredicates(a.get(), b.get(), inA, inB);
        checkPredicates(b.get(), a.get(), inB, inA);
        char const op = "+-&"[random.below(3)];
        auto const expected = combined<Set>(op, inA, inB);
        auto const result = apply(op, a, b, scratch);
        ASSERT_EQ(toModel(result.get()), expected) << op << inA.size() << " " << inB.size();
        ASSERT_EQ(toModel(b.get()), inB) << "the right operand was written";
        if (flagA == copies) {
            ASSERT_EQ(toModel(a.get()), inA) << "a shared left operand was written";
        }
        // Null stands for the empty set, except that an operand that is the answer is returned.
        if (result && result->empty()) {
            EXPECT_EQ(op, '+');
        }
        if (result && result != a && result != b) {
            EXPECT_EQ(result->modifyFlag(), reuses);
        }
        // An operand that is the answer is not copied.
        if (op == '+' && !inA.empty() && expected == inA) {
            EXPECT_EQ(result, a);
        } else if (op == '+' && expected == inB) {
            EXPECT_EQ(result, b);
        } else if (op == '-' && !inA.empty() && expected == inA) {
            EXPECT_EQ(result, a);
        } else if (flagA == reuses && result && inA.size() + inB.size() <= inlineSetCapacity) {
            EXPECT_EQ(result, a) << "the left operand's storage could have been reused";
        }
    }
}

template <typename Set>
void checkSelf() {
    typename Set::Buffer scratch;
    for (std::size_t const size : {0U, 1U, 2U, 5U, 8U, 9U, 64U, 128U, 129U, 300U}) {
        for (ModifyFlag const flag : {copies, reuses}) {
            Model<Set> model;
            for (U64 i = 0; i < size; ++i) {
                model.insert(valueOf(static_cast<Set const *>(nullptr), i * 3));
            }
            for (char const op : {'+', '-', '&'}) {
                PtrConst<Set> const a = fromModel<Set>(model, flag);
                auto const result = apply(op, a, a, scratch);
                EXPECT_EQ(toModel(result.get()), op == '-' ? Model<Set>() : model) << op << size;
            }
        }
    }
}

} // namespace

TEST(SetAlgebra, AgreesWithStdSet) {
    checkAgainstModel<U64SmallVector>();
    checkAgainstModel<CommunitySmallVector>();
}

TEST(SetAlgebra, OfASetWithItself) {
    checkSelf<U64SmallVector>();
    checkSelf<CommunitySmallVector>();
}

TEST(SetAlgebra, NullIsTheEmptySet) {
    U64Buffer scratch;
    PtrConst<U64SmallVector> const null;
    PtrConst<U64SmallVector> const empty = setOf<U64SmallVector>({});
    PtrConst<U64SmallVector> const some = setOf<U64SmallVector>({1, 2});
    for (auto const & none : {null, empty}) {
        for (auto const & other : {null, empty}) {
            EXPECT_TRUE(U64SmallVector::isEqual(none.get(), other.get()));
            EXPECT_TRUE(U64SmallVector::isSubset(none.get(), other.get()));
            EXPECT_FALSE(U64SmallVector::hasAny(none.get(), other.get()));
            EXPECT_EQ(U64SmallVector::add(none, other, scratch), other);
            EXPECT_EQ(U64SmallVector::remove(none, other, scratch), nullptr);
            EXPECT_EQ(U64SmallVector::retain(none, other, scratch), nullptr);
        }
        EXPECT_FALSE(U64SmallVector::isEqual(none.get(), some.get()));
        EXPECT_FALSE(U64SmallVector::isEqual(some.get(), none.get()));
        EXPECT_TRUE(U64SmallVector::isSubset(none.get(), some.get()));
        EXPECT_FALSE(U64SmallVector::isSubset(some.get(), none.get()));
        EXPECT_EQ(U64SmallVector::add(some, none, scratch), some);
        EXPECT_EQ(U64SmallVector::add(none, some, scratch), some);
        EXPECT_EQ(U64SmallVector::remove(some, none, scratch), some);
        EXPECT_EQ(U64SmallVector::retain(some, none, scratch), nullptr);
    }
}

TEST(SetAlgebra, LargeResultsAreNewEvenWhereTheOperandIsReusable) {
    U64Buffer scratch;
    std::vector<U64> low(100);
    std::vector<U64> high(100);
    for (U64 i = 0; i < 100; ++i) {
        low[i] = 2 * i;
        high[i] = 2 * i + 1;
    }
    PtrConst<U64SmallVector> const a = setOf<U64SmallVector>(low, reuses);
    PtrConst<U64SmallVector> const b = setOf<U64SmallVector>(high, reuses);
    auto const sum = U64SmallVector::add(a, b, scratch);
    EXPECT_NE(sum, a);
    EXPECT_EQ(sum->count(), 200U);
    EXPECT_EQ(a->count(), 100U);
    // However far the scratch buffer has grown: results must not depend on who used it before.
    scratch.reserve(200);
    EXPECT_NE(U64SmallVector::add(a, b, scratch), a);
    EXPECT_EQ(a->count(), 100U);
    PtrConst<U64SmallVector> const few = setOf<U64SmallVector>({1, 3, 5}, copies);
    low.resize(128, 0);
    std::iota(low.begin(), low.end(), U64{10});
    PtrConst<U64SmallVector> const full = setOf<U64SmallVector>(low, reuses);
    EXPECT_NE(U64SmallVector::add(full, few, scratch), full);
    EXPECT_EQ(full->count(), 128U);
}

TEST(SetAlgebra, ADifferenceOfNothingLeavesTheOperandAsItIs) {
    U64Buffer scratch;
    for (std::size_t const size : {1U, 3U, 8U, 9U, 128U}) {
        std::vector<U64> values(size);
        std::iota(values.begin(), values.end(), U64{10});
        PtrConst<U64SmallVector> const a = setOf<U64SmallVector>(values, reuses);
        values.push_back(1000);
        PtrConst<U64SmallVector> const b = setOf<U64SmallVector>(values, copies);
        EXPECT_EQ(U64SmallVector::remove(a, b, scratch), nullptr);
        EXPECT_EQ(a->count(), size);
    }
}

TEST(SetAlgebra, MembershipAndTexts) {
    auto const set = setOf<U64SmallVector>({1, 5, ~U64{0}});
    for (U64 const value : {U64{1}, U64{5}, ~U64{0}}) {
        EXPECT_TRUE(set->contains(value));
        EXPECT_FALSE(set->contains(value - 1));
    }
    EXPECT_FALSE(setOf<U64SmallVector>({})->contains(0));
    EXPECT_EQ(set->toStrep(), "1,5,18446744073709551615");
    EXPECT_EQ(setOf<U64UnsortedSmallVector>({3, 1, 3})->toStrep(), "3,1,3");
    EXPECT_EQ(setOf<U64SmallVector>({})->toStrep(), "");
    EXPECT_EQ(setOf<CommunitySmallVector>({{0x4004000000000001, 0}, {1, 2}})->toStrep(),
              "0x4004000000000001,0:1:2");
    auto const list = u64UnsortedSmallVectorFactory(reuses);
    EXPECT_EQ(list->modifyFlag(), reuses);
    EXPECT_TRUE(list->empty());
}

// Only insertion and the copy back into a reused operand keep the link bandwidth.
TEST(SetAlgebra, LinkBandwidthOfResults) {
    Acl::CommunityValue const lbw1(0x4004000000000001, 0);
    Acl::CommunityValue const lbw2(0x4004000000000002, 0);
    Acl::CommunityValue const low(1, 0);
    Acl::CommunityValue const high(0x5000000000000000, 0);
    auto const set = communitySmallVectorFactory(copies);
    EXPECT_TRUE(set->lbwValue().isZero());
    set->insert(lbw2);
    set->insert(lbw1);
    EXPECT_EQ(set->lbwValue(), lbw1);
    set->insert(low);
    EXPECT_EQ(set->lbwValue(), lbw1);
    set->clear();
    EXPECT_TRUE(set->lbwValue().isZero());

    CommunityBuffer scratch;
    auto const make = [](std::vector<Acl::CommunityValue> const & values, ModifyFlag flag) {
        return PtrConst<CommunitySmallVector>(setOf<CommunitySmallVector>(values, flag));
    };
    std::vector<Acl::CommunityValue> many;
    for (U64 i = 10; i < 30; ++i) {
        many.emplace_back(i, 0);
    }
    for (auto const & right : {std::vector{lbw2, high}, std::vector{low, lbw2}}) {
        EXPECT_TRUE(CommunitySmallVector::add(make({lbw1}, copies), make(right, copies), scratch)
                        ->lbwValue()
                        .isZero());
        EXPECT_EQ(CommunitySmallVector::add(make({lbw1}, reuses), make(right, copies), scratch)
                      ->lbwValue(),
                  lbw2);
    }
    // The same through the scratch buffer.
    EXPECT_EQ(
        CommunitySmallVector::add(make({lbw1, lbw2, high}, reuses), make(many, copies), scratch)
            ->lbwValue(),
        lbw2);
    EXPECT_EQ(
        CommunitySmallVector::remove(make({low, lbw1, lbw2}, reuses), make({lbw2}, copies), scratch)
            ->lbwValue(),
        lbw1);
    EXPECT_TRUE(
        CommunitySmallVector::remove(make({low, lbw1}, reuses), make({lbw1}, copies), scratch)
            ->lbwValue()
            .isZero());
}
