#include "tests/support/RecordingContext.h"
#include "tests/support/Trees.h"

#include <bit>
#include <limits>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

Acl::CommunityValue const lbw1(0x4004000000000001, 0);
Acl::CommunityValue const lbw2(0x4004000000000002, 0);
Acl::CommunityValue const low1(1, 0);
Acl::CommunityValue const low2(2, 0);
Acl::CommunityValue const high(0x4005000000000000, 0);

PtrConst<CommunityValue> constant(Acl::CommunityValue const & value) {
    return make<CommunityValueImmediate>(value);
}

} // namespace

TEST(CommunityValues, BandwidthBitsAtEveryOffset) {
    auto const context = makePtr<RecordingContext>();
    for (F32 const bandwidth :
         {8000.0F, 0.0F, -1.0F, 1e38F, std::numeric_limits<F32>::infinity()}) {
        U64 const bits = std::bit_cast<U32>(bandwidth * 0.125F);
        for (unsigned offset = 0; offset < 256; ++offset) {
            auto const node = make<BandwidthToCommunityValue>(make<BandwidthImmediate>(bandwidth),
                                                              static_cast<U8>(offset));
            auto const value = node->getVal(context);
            // Bit n of the float is bit n + offset, counted from the type word upwards.
            for (unsigned bit = 0; bit < 96; ++bit) {
                U32 const word = value.word(bit < 32 ? 2 : bit < 64 ? 1 : 0);
                bool const inFloat = bit >= offset && bit - offset < 32;
                U64 const expected = inFloat ? (bits >> (bit - offset)) & 1 : 0;
                ASSERT_EQ((word >> (bit % 32)) & 1, expected) << offset << " " << bit;
            }
        }
    }
    auto const thousand =
        make<BandwidthToCommunityValue>(make<BandwidthImmediate>(8000.0F), U8{64});
    EXPECT_EQ(thousand->getVal(context), Acl::CommunityValue(0x447A0000, 0));
    EXPECT_EQ(BandwidthToCommunityValue::floatToBin(1000.0F), 0x447A0000U);
    EXPECT_EQ(BandwidthToCommunityValue::floatToBin(-0.0F), 0x80000000U);
}

TEST(CommunityValues, MasksPickBits) {
    auto const context = makePtr<RecordingContext>();
    Acl::CommunityValue const base(0x1111222233334444, 0x55556666);
    Acl::CommunityValue const dynamic(0xAAAABBBBCCCCDDDD, 0xEEEEFFFF);
    auto const merged = [&](Acl::CommunityValue const & mask) {
        return make<CommunityValueDynamic>(constant(base), constant(dynamic), mask)
            ->getVal(context);
    };
    EXPECT_EQ(merged({~U64{0}, ~U32{0}}), dynamic);
    EXPECT_EQ(merged({0, 0}), base);
    EXPECT_EQ(merged({0x00000000FFFFFFFF, 0}), Acl::CommunityValue(0x11112222CCCCDDDD, 0x55556666));
    EXPECT_EQ(merged({0xFFFF000000000000, 0xFFFF}),
              Acl::CommunityValue(0xAAAA222233334444, 0x5555FFFF));
}

TEST(CommunityValues, Texts) {
    auto const bandwidth = makePtr<BandwidthImmediate>(U64{4711}, 8000.0F);
    EXPECT_EQ((makePtr<BandwidthToCommunityValue>(U64{1}, bandwidth, U8{64})->toStrep()),
              "BandwidthImmediate#4711 with  bandwidth val 8000@ with offset @");
    auto const base = makePtr<CommunityValueImmediate>(U64{12}, low1);
    EXPECT_EQ(
        (makePtr<CommunityValueDynamic>(U64{1}, base, constant(lbw1), Acl::CommunityValue(3, 4))
             ->toStrep()),
        "CommunityValueImmediate#12 with dynamic val 0x40040000000000010:3:4"
        " with dynamic mask 0:3:4");
    EXPECT_EQ(
        make<ExtCommSetToLinkBandwidthExtCommValue>(make<Attribute::ExtCommunity>())->toStrep(),
        "LBW from ext_community");
}

TEST(CommunityValues, LinkBandwidthOfASet) {
    auto const context = makePtr<RecordingContext>();
    auto const node = make<ExtCommSetToLinkBandwidthExtCommValue>(make<Attribute::ExtCommunity>());
    EXPECT_TRUE(node->getVal(context).isZero());
    context->reset();
    context->extCommunity = {low1, lbw1, lbw2, high};
    EXPECT_EQ(node->getVal(context), lbw2);
    make<Attribute::ExtCommunity>()->setVal(nullptr, context);
    EXPECT_TRUE(node->getVal(context).isZero());
}

// At most one link bandwidth is left, in the place of the first value of its type or above.
TEST(CommunityValues, AddingKeepsOneLinkBandwidth) {
    using Values = std::vector<Acl::CommunityValue>;
    struct Case {
        Values left, right;
        Values expected;
        Acl::CommunityValue lbw; ///< of a result that is no operand
    } const cases[] = {
        {{low1, lbw2}, {low2, lbw1}, {low1, low2, lbw1}, lbw1},
        {{low1, lbw1}, {lbw2}, {low1, lbw2}, lbw2},
        {{lbw1, lbw2, high}, {lbw1}, {lbw1, high}, lbw1},
        {{low1, high}, {lbw1}, {low1, lbw1, high}, lbw1},
        {{low1}, {low2, lbw1}, {low1, low2, lbw1}, lbw1},
        {{low1}, {lbw1, high}, {low1, lbw1, high}, lbw1},
        {{low1, lbw1}, {}, {low1, lbw1}, lbw1},
        {{}, {lbw1, low1}, {low1, lbw1}, lbw1},
        {{low1, lbw1}, {low2}, {low1, low2, lbw1}, lbw1},
        {{low1, lbw2}, {lbw1, lbw2}, {low1, lbw2}, lbw2},
    };
    for (Case const & c : cases) {
        for (bool const cached : {true, false}) {
            auto const added = communitySet(c.right, cached);
            for (bool const storedBefore : {false, true}) {
                auto const context = makePtr<RecordingContext>();
                auto const ext = make<Attribute::ExtCommunity>();
                context->extCommunity = c.left;
                if (storedBefore) { // a shared set, which must not be written
                    auto const shared = setOf<CommunitySmallVector>(c.left);
                    ext->setVal(shared, context);
                    make<ExtCommunitySetAddImmediate>(ext, added)->eval(context);
                    EXPECT_EQ(shared->toStrep(), setOf<CommunitySmallVector>(c.left)->toStrep());
                } else {
                    EXPECT_EQ(make<ExtCommunitySetAddImmediate>(ext, added)->eval(context),
                              EvalResult::fromBool(true));
                    EXPECT_EQ(ext->getVal(context)->lbwValue(), c.lbw);
                }
                EXPECT_EQ(ext->getVal(context)->toStrep(),
                          setOf<CommunitySmallVector>(c.expected)->toStrep());
                EXPECT_EQ(context->extCommunityModified(), storedBefore || !c.right.empty());
            }
        }
    }
}
