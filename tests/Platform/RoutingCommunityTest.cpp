#include "Platform/Routing/CommunityText.h"

#include <random>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

namespace {

using Acl::CommunityValue;

using namespace std::string_view_literals;

TEST(RoutingCommunity, standardTexts) {
    struct Case {
        std::string_view text;
        U64 value;
    };
    constexpr Case cases[] = {
        {"0:0", 0},
        {"65000:1", 0xfde80001},
        {"65535:65535", 0xffffffff},
        {"0", 0},
        {"4294967295", 0xffffffff},
        {"no-export", 0xffffff01},
        {"NO_EXPORT", 0xffffff01},
        {"no-advertise", 0xffffff02},
        {"NO_EXPORT_SUBCONFED", 0xffffff03},
        {"No-Export_Subconfed", 0xffffff03},
        {"nopeer", 0xffffff04},
        {"BLACKHOLE", 0xffff029a},
        {"graceful-shutdown", 0xffff0000},
        {"llgr-stale", 0xffff0006},
        {"NO_LLGR", 0xffff0007},
    };
    for (Case const & c : cases) {
        EXPECT_EQ(parseStandardCommunity(c.text), c.value) << c.text;
        EXPECT_EQ(parseStandardCommunity(standardCommunityText(c.value)), c.value) << c.text;
    }
    EXPECT_EQ(standardCommunityText(0xffffff01), "65535:65281");
    EXPECT_EQ(standardCommunityText(0x100000000), "4294967296");
}

TEST(RoutingCommunity, refusesWhatIsNoStandardCommunity) {
    for (std::string_view const text : {"",
                                        ":",
                                        "1:",
                                        ":1",
                                        "65536:0",
                                        "0:65536",
                                        "-1:0",
                                        "+1:0",
                                        "1:2:3",
                                        " 1:2",
                                        "1:2 ",
                                        "4294967296",
                                        "99999999999999999999999",
                                        "0x10",
                                        "no-export ",
                                        "noexport",
                                        "no-expor",
                                        "no-exporta",
                                        "no export",
                                        "1.5",
                                        "local-as"}) {
        EXPECT_FALSE(parseStandardCommunity(text)) << text;
    }
    EXPECT_FALSE(parseStandardCommunity("1:2\0"sv));
}

TEST(RoutingCommunity, largeAndExtendedTexts) {
    struct Case {
        std::string_view text;
        U64 value;
        U32 type;
    };
    constexpr Case cases[] = {
        {"65000:1:2", 0x0000fde800000001, 2},
        {"4294967295:4294967295:4294967295", 0xffffffffffffffff, 0xffffffff},
        {"0:0:0", 0, 0},
        {"0x4004fde8447a0000", 0x4004fde8447a0000, 0},
        {"0xFFFFFFFFFFFFFFFF", 0xffffffffffffffff, 0},
        {"rt:65000:5", 0x0002fde800000005, 0},
        {"rt:65535:4294967295", 0x0002ffffffffffff, 0},
        {"rt:65536:65535", 0x020200010000ffff, 0},
        {"rt:4294967295:1", 0x0202ffffffff0001, 0},
        {"rt:192.0.2.1:65535", 0x0102c0000201ffff, 0},
        {"soo:65000:5", 0x0003fde800000005, 0},
        {"soo:70000:5", 0x0203000111700005, 0},
        {"soo:0.0.0.0:0", 0x0103000000000000, 0},
        {"lbw:65000:1000", 0x4004fde8447a0000, 0},
        {"lbw:65000:1e3", 0x4004fde8447a0000, 0},
        {"lbw:0:0", 0x4004000000000000, 0},
        {"lbw:65535:.5", 0x4004ffff3f000000, 0},
    };
    for (Case const & c : cases) {
        EXPECT_EQ(parseCommunityValue(c.text), CommunityValue(c.value, c.type)) << c.text;
    }
}

TEST(RoutingCommunity, refusesWhatIsNoLargeOrExtendedCommunity) {
    for (std::string_view const text : {"",
                                        "::",
                                        "1:2",
                                        "1:2:3:4",
                                        "4294967296:0:0",
                                        "0:4294967296:0",
                                        "0:0:4294967296",
                                        "-1:0:0",
                                        "1:2:",
                                        "0x",
                                        "0x123",
                                        "0x4004fde8447a00000",
                                        "0x4004fde8447a000g",
                                        "4004fde8447a0000",
                                        "rt:65000:4294967296",
                                        "rt:65536:65536",
                                        "rt:192.0.2.1:65536",
                                        "rt:4294967296:1",
                                        "rt:192.0.2:1",
                                        "rt::1",
                                        "rt:1:",
                                        "rt:1",
                                        "soo:1:-1",
                                        "color:1:2",
                                        "lbw:65536:1",
                                        "lbw:1:-1",
                                        "lbw:1:nan",
                                        "lbw:1:inf",
                                        "lbw:1:1e39",
                                        "lbw:1:",
                                        "lbw:1:1x",
                                        "lbw:1:0x10",
                                        "lbw:192.0.2.1:1"}) {
        EXPECT_FALSE(parseCommunityValue(text)) << text;
    }
    EXPECT_FALSE(parseCommunityValue("1:2:3\0"sv));
}

TEST(RoutingCommunity, everyValueReadsBackFromItsText) {
    std::mt19937_64 random(3);
    for (int i = 0; i < 10000; ++i) {
        CommunityValue const community(random(), static_cast<U32>(random()));
        EXPECT_EQ(parseCommunityValue(largeCommunityText(community)), community);
        CommunityValue const ext(community.value(), 0);
        EXPECT_EQ(parseCommunityValue(extCommunityText(ext)), ext);
        EXPECT_EQ(parseStandardCommunity(standardCommunityText(community.type())),
                  community.type());
    }
}

TEST(RoutingCommunity, streamFormDependsOnTheTypeWord) {
    std::ostringstream out;
    out << CommunityValue(0x0000fde800000001, 2) << " " << CommunityValue(0x4004fde8447a0000, 0)
        << " " << CommunityValue();
    EXPECT_EQ(out.str(), "65000:1:2 0x4004fde8447a0000 0x0000000000000000");
    String buffer = "x ";
    appendLargeCommunityText(buffer, CommunityValue(5, 0));
    EXPECT_EQ(buffer, "x 0:5:0");
}

TEST(RoutingCommunityValue, ordersByValueThenTypeUnsigned) {
    U64 const values[] = {0, 1, 0xffffffff, 0x100000000, 0x8000000000000000, ~U64{0}};
    U32 const types[] = {0, 1, 0x80000000, 0xffffffff};
    for (U64 const v1 : values) {
        for (U32 const t1 : types) {
            for (U64 const v2 : values) {
                for (U32 const t2 : types) {
                    CommunityValue const a(v1, t1);
                    CommunityValue const b(v2, t2);
                    EXPECT_EQ(a <=> b, std::tie(v1, t1) <=> std::tie(v2, t2));
                    EXPECT_EQ(a.isEq(b), v1 == v2 && t1 == t2);
                    EXPECT_EQ(a.hash(5) == b.hash(5), a == b);
                }
            }
        }
    }
}

TEST(RoutingCommunityValue, wordsAndLinkBandwidth) {
    CommunityValue const community(0x4004fde8447a0000, 9);
    EXPECT_EQ(community.word(0), 0x447a0000U);
    EXPECT_EQ(community.word(1), 0x4004fde8U);
    EXPECT_EQ(community.word(2), 9U);
    EXPECT_EQ(CommunityValue::fromWords(0x447a0000, 0x4004fde8, 9), community);
    EXPECT_TRUE(community.isLinkBandwidth());
    EXPECT_FALSE(CommunityValue(0x4005000000000000, 0).isLinkBandwidth());
    EXPECT_FALSE(CommunityValue(0x0004fde8447a0000, 0).isLinkBandwidth());
    EXPECT_TRUE(CommunityValue().isZero());
    EXPECT_FALSE(CommunityValue(0, 1).isZero());
    EXPECT_FALSE(CommunityValue(U64{1} << 63, 0).isZero());
}

} // namespace
