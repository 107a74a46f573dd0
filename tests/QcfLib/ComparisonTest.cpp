#include "QcfLib/QcfLibHelpers.h"
#include "tests/support/RecordingContext.h"
#include "tests/support/Trees.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

constexpr U64 max64 = std::numeric_limits<U64>::max();

/// An integer that its reader cannot foresee, noted like an accessor.
class Operand final : public IntModifiable {
public:
    Operand(U64 min, U64 max, U64 defaultValue, U64 current)
        : IntModifiable(nextKey()), min_(min), max_(max), default_(defaultValue), value(current) {}

    U64 getVal(Ptr<EvalContextBase const> const & /*context*/) const override {
        return answered(value, "value ");
    }
    bool negative(Ptr<EvalContextBase const> const & /*context*/) const override {
        return answered(false, "sign ");
    }
    void setVal(U64 v, Ptr<EvalContextBase> const & /*context*/) const override {
        value = v;
        ++writes;
    }
    U64 min() const override { return answered(min_, "min "); }
    U64 max() const override { return answered(max_, "max "); }
    U64 defaultValue() const override { return answered(default_, "default "); }
    NodeClass const & typeData() const override { return *findNodeClass("Med"); }
    bool compare(PtrConst<AetNodeBase> const & /*other*/) const override { return false; }
    U32 hash(U32 seed) const override { return seed; }
    String toStrep() const override { return "operand"; }

private:
    template <typename Value>
    Value answered(Value answer, char const * question) const {
        if (asked != nullptr) {
            *asked += question;
        }
        return answer;
    }

    U64 min_, max_, default_;

public:
    mutable U64 value;
    mutable int writes = 0;
    String * asked = nullptr; ///< where to write down what is asked
};

bool truth(Expression const & node, Ptr<EvalContextBase> const & context) {
    EvalResult const result = node.eval(context);
    EXPECT_FALSE(result.terminates());
    EXPECT_NE(result.retVal(), QcfUnknown());
    return result.isTrue();
}

} // namespace

TEST(Comparisons, OfIntegers) {
    auto const context = makePtr<RecordingContext>();
    U64 const numbers[] = {0, 1, 5, 4294967296, max64 - 1, max64};
    for (U64 const l : numbers) {
        for (bool const leftNegative : {false, true}) { // of no account
            for (U64 const r : numbers) {
                for (bool const negative : {false, true}) {
                    auto const lhs = number(l, leftNegative);
                    auto const rhs = number(r, negative);
                    bool const below = negative && r != 0;
                    EXPECT_EQ(truth(*make<IntIs>(lhs, rhs), context), !below && l == r);
                    EXPECT_EQ(truth(*make<IntLessThan>(lhs, rhs), context), !below && l < r);
                    EXPECT_EQ(truth(*make<IntLessThanEq>(lhs, rhs), context), !below && l <= r);
                    EXPECT_EQ(truth(*make<IntGreaterThan>(lhs, rhs), context), below || l > r);
                    EXPECT_EQ(truth(*make<IntGreaterThanEq>(lhs, rhs), context), below || l >= r);
                }
            }
        }
    }
}

TEST(Comparisons, OfBandwidths) {
    auto const context = makePtr<RecordingContext>();
    F32 const nan = std::nanf("");
    for (F32 const l : {0.0F, -0.0F, 1.5F, -2.0F, INFINITY, nan}) {
        for (F32 const r : {0.0F, 1.5F, -INFINITY, nan}) {
            auto const lhs = make<BandwidthImmediate>(l);
            auto const rhs = make<BandwidthImmediate>(r);
            EXPECT_EQ(truth(*make<BandwidthIs>(lhs, rhs), context), l == r);
            EXPECT_EQ(truth(*make<BandwidthLessThan>(lhs, rhs), context), l < r);
            EXPECT_EQ(truth(*make<BandwidthLessThanEq>(lhs, rhs), context), l <= r);
            EXPECT_EQ(truth(*make<BandwidthGreaterThan>(lhs, rhs), context), l > r);
            EXPECT_EQ(truth(*make<BandwidthGreaterThanEq>(lhs, rhs), context), l >= r);
        }
    }
    // As constants of a tree floats count by their bits.
    EXPECT_TRUE(make<BandwidthImmediate>(nan)->compare(make<BandwidthImmediate>(nan)));
    EXPECT_FALSE(make<BandwidthImmediate>(0.0F)->compare(make<BandwidthImmediate>(-0.0F)));
    EXPECT_NE(make<BandwidthImmediate>(0.0F)->hash(0), make<BandwidthImmediate>(-0.0F)->hash(0));
}

TEST(Comparisons, OfOtherValues) {
    auto const context = makePtr<RecordingContext>();
    auto const address = [](char const * text) {
        return make<IpAddressImmediate>(*IpGenAddr::parse(text));
    };
    auto const esi = [](std::optional<Evpn::Esid> value) { return make<EsiImmediate>(value); };
    auto const some = Evpn::Esid::parse("00:11:22:33:44:55:66:77:88:ff");
    auto const tri = [](TriStateBoolValue value) { return make<TriStateBoolImmediate>(value); };
    auto const intf = [](char const * name) { return make<InterfaceImmediate>(IntfId(name)); };
    auto const mac = [](char const * t) { return make<MacAddressImmediate>(*EthAddr::parse(t)); };
    auto const prefix = [](char const * t) {
        return make<IpPrefixImmediate>(*IpGenPrefix::parse(t));
    };
    auto const community = [](U64 value, U32 type) {
        return make<CommunityValueImmediate>(Acl::CommunityValue(value, type));
    };
    auto const in = communitySet({{5, 1}, {7, 0}});
    std::pair<PtrConst<Expression>, bool> const cases[] = {
        {make<TriStateBoolIs>(tri(QcfUnknown()), tri(QcfUnknown())), true},
        {make<TriStateBoolIs>(tri(QcfUnknown()), tri(QcfFalse())), false},
        {make<IpAddressIs>(address("10.0.0.1"), address("10.0.0.1")), true},
        {make<IpAddressIs>(address("0.0.0.0"), address("::")), false},
        {make<IpAddressIs>(address(""), address("0.0.0.0")), false},
        {make<IpAddressIsAddrZero>(address("0.0.0.0")), true},
        {make<IpAddressIsAddrZero>(address("::")), true},
        {make<IpAddressIsAddrZero>(address("")), true},
        {make<IpAddressIsAddrZero>(address("::1")), false},
        {make<EsiIs>(esi(std::nullopt), esi(std::nullopt)), true},
        {make<EsiIs>(esi(some), esi(some)), true},
        {make<EsiIs>(esi(Evpn::Esid()), esi(std::nullopt)), false},
        {make<EsiIs>(esi(Evpn::Esid()), esi(some)), false},
        {make<InterfaceIs>(intf("e1"), intf("e1")), true},
        {make<InterfaceIs>(intf("e1"), intf("e10")), false},
        {make<MacAddressIs>(mac("00:00:00:00:00:01"), mac("00:00:00:00:00:01")), true},
        {make<MacAddressIs>(mac("00:00:00:00:00:01"), mac("01:00:00:00:00:01")), false},
        {make<CommunityValueIs>(community(5, 1), community(5, 1)), true},
        {make<CommunityValueIs>(community(5, 1), community(5, 0)), false},
        {make<CommunityValueIn>(community(5, 1), in), true},
        {make<CommunityValueIn>(community(5, 0), in), false},
        {make<CommunityValueIn>(community(0, 0), communitySet({})), false},
        {make<IpPrefixIs>(prefix("10.0.0.0/8"), prefix("10.0.0.0/8")), true},
        {make<IpPrefixIs>(prefix("10.0.0.0/8"), prefix("10.0.0.0/9")), false},
        {make<IpPrefixCoveredBy>(prefix("10.1.0.0/16"), prefix("10.0.0.0/8")), true},
        {make<IpPrefixCoveredBy>(prefix("10.0.0.0/8"), prefix("10.1.0.0/16")), false},
        {make<IpPrefixCoveredBy>(prefix("255.0.0.0/8"), prefix("0.0.0.0/0")), true},
        {make<IpPrefixCoveredBy>(prefix("10.0.0.1/32"), prefix("10.0.0.1/32")), true},
        {make<IpPrefixCoveredBy>(prefix("2001:db8::/32"), prefix("0.0.0.0/0")), false},
        {make<IpPrefixCoveredBy>(prefix("2001:db8::1/128"), prefix("2001:db8::/65")), true},
        {make<IpPrefixCoveredBy>(prefix("2001:db8::/64"), prefix("2001:db9::/32")), false},
        {make<IpPrefixCoveredBy>(prefix(""), prefix("")), false},
        {make<IntInImmediateSet>(number(5), intSet({1, 5})), true},
        {make<IntInImmediateSet>(number(5, true), intSet({1, 5})), true},
        {make<IntInImmediateSet>(number(0), intSet({})), false},
    };
    for (auto const & [node, expected] : cases) {
        EXPECT_EQ(truth(*node, context), expected) << node->typeData().name;
    }
}

TEST(Comparisons, ReadOrder) {
    auto const context = makePtr<RecordingContext>();
    auto const med = make<Attribute::Med>();
    auto const weight = make<Attribute::Weight>();
    auto const prefix = make<Attribute::IpPrefix>();
    auto const from = make<Attribute::FlowspecSourcePrefix>();
    std::pair<PtrConst<Expression>, char const *> const cases[] = {
        {make<IntLessThan>(med, weight), "weightInput; medInput"},
        {make<IntAssign>(med, weight), "weightInput"},
        {make<IntMultEq>(med, weight), "medInput; weightInput"},
        {make<IpPrefixIs>(prefix, from), "flowspecSourcePrefixInput; ipPrefixInput"},
        {make<IpPrefixCoveredBy>(prefix, from), "ipPrefixInput; flowspecSourcePrefixInput"},
        {make<IntInImmediateSet>(med, make<Attribute::CommunityInput>()),
         "medInput; communityInputPopulate"},
        {make<CommunityValueIn>(make<Attribute::AdminAs>(), make<Attribute::ExtCommunityInput>()),
         "adminAsInput; extCommunityInputPopulate"},
    };
    for (auto const & [node, expected] : cases) {
        context->reset();
        node->eval(context);
        EXPECT_EQ(context->takeCalls(), expected) << node->typeData().name;
    }
}

TEST(Comparisons, WithRanges) {
    auto const context = makePtr<RecordingContext>();
    auto const test = [&](U64 value, PtrConst<IntSetImmediate> singletons,
                          PtrConst<IntListImmediate> lower, PtrConst<IntListImmediate> upper) {
        return truth(*make<IntInImmediateSetWithRanges>(number(value), std::move(singletons),
                                                        std::move(lower), std::move(upper)),
                     context);
    };
    struct Case {
        U64 value;
        std::vector<U64> singletons, lower, upper;
        bool expected;
    } const cases[] = {
        {10, {}, {10}, {20}, true},
        {20, {}, {10}, {20}, true},
        {21, {}, {10}, {20}, false},
        {10, {}, {1, 11}, {9, 30}, false},
        {10, {}, {11, 1}, {30, 10}, true},  // in any order
        {10, {}, {30, 12}, {5, 11}, false}, // an empty range holds nothing
        {10, {10}, {1}, {2}, true},
        {10, {10}, {}, {}, true},
        {10, {9}, {}, {}, false},
        {max64, {}, {0}, {max64}, false}, // a literal's elements have 32 bits
        {4294967295, {}, {0}, {max64}, true},
    };
    for (auto const & c : cases) {
        EXPECT_EQ(test(c.value, intSet(c.singletons), intList(c.lower), intList(c.upper)),
                  c.expected)
            << c.value;
    }
    EXPECT_FALSE(test(1, nullptr, nullptr, nullptr));
    EXPECT_DEATH(test(1, nullptr, intList({1}), nullptr),
                 "assertion failed: nullptr == lowerBoundsOfRanges && "
                 "nullptr == upperBoundsOfRanges && "
                 "\"If one range bound is null then both must be null\" \\(");
    EXPECT_DEATH(test(1, nullptr, intList({1}), intList({1, 2})),
                 "assertion failed: lowerBoundsOfRanges->count\\(\\) > 0 && "
                 "lowerBoundsOfRanges->count\\(\\) == upperBoundsOfRanges->count\\(\\) && "
                 "\"Both lists MUST be of an equal non-zero length\" \\(");
    EXPECT_TRUE(containedInSingletonsOrRanges(U32{7}, nullptr,
                                              setOf<U64UnsortedSmallVector>({1, 7}).get(),
                                              setOf<U64UnsortedSmallVector>({1, 7}).get()));
}

TEST(Comparisons, TagSets) {
    auto const matchers = makePtr<Qcf::ExternalMatchersBase>();
    auto const tags = makePtr<Routing::RouteMap::TagSetStatus>();
    tags->tagIs(1);
    matchers->tagSets.entryIs(2, tags);
    auto const context = makePtr<RecordingContext>(matchers);
    auto const test = [&](U64 value, U16 index) {
        return truth(*make<IntMatchTagSet>(number(value), "T", index), context);
    };
    EXPECT_TRUE(test(1, 2));
    EXPECT_FALSE(test(2, 2));
    EXPECT_TRUE(test(4294967297, 2)); // by its low 32 bits
    EXPECT_FALSE(test(1, 1));         // a slot without a tag set
    EXPECT_FALSE(test(1, 3));         // beyond the table
    EXPECT_FALSE(test(1, 65535));
}

TEST(Arithmetic, AgreesWithWideIntegers) {
    auto const context = makePtr<RecordingContext>();
    U64 const numbers[] = {0, 1, 2, 5, 255, 256, 4294967295, 4294967296, max64 - 1, max64};
    struct Range {
        U64 min, max, defaultValue;
    };
    using Operation = void (*)(IntModifiable const &, Int const &, Ptr<EvalContextBase> const &);
    for (Range const range : {Range{0, 4294967295, 0},
                              {0, 2, 256},
                              {5, 255, 1},
                              {0, max64, 0},
                              {7, 7, max64},
                              {1, max64 - 1, 100}}) {
        for (U64 const current : numbers) {
            for (U64 const magnitude : numbers) {
                for (bool const negative : {false, true}) {
                    S128 const c = current;
                    S128 const v = negative ? -S128(magnitude) : S128(magnitude);
                    auto const clamp = [&](S128 const & value) {
                        return static_cast<U64>(
                            std::clamp(value, S128(range.min), S128(range.max)));
                    };
                    bool const isDefault = v == S128(range.defaultValue);
                    std::pair<Operation, U64> const operations[] = {
                        {assignWithinRange, isDefault ? range.defaultValue : clamp(v)},
                        {addWithinRange, clamp(c + v)},
                        {subtractWithinRange, clamp(c - v)},
                        {multiplyWithinRange, clamp(c * v)},
                    };
                    for (auto const & [operation, expected] : operations) {
                        auto const target =
                            makePtr<Operand>(range.min, range.max, range.defaultValue, current);
                        operation(*target, *number(magnitude, negative), context);
                        ASSERT_EQ(target->value, expected)
                            << current << " " << magnitude << negative << " " << range.max;
                        ASSERT_EQ(target->writes, 1);
                    }
                }
            }
        }
    }
}

TEST(Arithmetic, AsksForBoundsThenForValues) {
    auto const context = makePtr<RecordingContext>();
    String asked;
    auto const target = makePtr<Operand>(0U, 10U, 3U, 5U);
    auto const operand = makePtr<Operand>(0U, 0U, 0U, 2U);
    target->asked = operand->asked = &asked;
    auto const askedBy = [&](auto operation) {
        asked.clear();
        operation(*target, *operand, context);
        return asked;
    };
    EXPECT_EQ(askedBy(assignWithinRange), "min max default sign value ");
    EXPECT_EQ(askedBy(addWithinRange), "min max value sign value ");
    EXPECT_EQ(askedBy(subtractWithinRange), "min max value sign value ");
    EXPECT_EQ(askedBy(multiplyWithinRange), "min max value sign value ");
}

TEST(Arithmetic, OperatorsAreTrueAndWriteTheAttribute) {
    auto const context = makePtr<RecordingContext>();
    context->med = 10;
    auto const med = make<Attribute::Med>();
    std::pair<PtrConst<Expression>, U64> const cases[] = {
        {make<IntAssign>(med, number(10)), 10},     {make<IntPlusEq>(med, number(5)), 15},
        {make<IntMinusEq>(med, number(11)), 0},     {make<IntMultEq>(med, number(3)), 30},
        {make<IntPlusEq>(med, number(4, true)), 6}, {make<IntAssign>(med, number(4, true)), 0},
        {make<IntMultEq>(med, med), 100},
    };
    for (auto const & [node, expected] : cases) {
        context->reset();
        EXPECT_EQ(node->eval(context), EvalResult::fromBool(true));
        EXPECT_EQ(med->getVal(context), expected) << node->typeData().name;
        EXPECT_TRUE(context->medModified());
    }
    // The origin that is not set may be assigned, and arithmetic pulls it into the range.
    auto const origin = make<Attribute::Origin>();
    make<IntAssign>(origin, number(256))->eval(context);
    EXPECT_EQ(origin->getVal(context), 256U);
    make<IntPlusEq>(origin, number(0))->eval(context);
    EXPECT_EQ(origin->getVal(context), 2U);
    make<IntAssign>(origin, number(257))->eval(context);
    EXPECT_EQ(origin->getVal(context), 2U);
}
