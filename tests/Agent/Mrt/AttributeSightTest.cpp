#include "Agent/Mrt/AttributeSight.h"

#include "Agent/Mrt/PathAttributes.h"
#include "tests/Agent/Mrt/MrtTools.h"
#include "tests/support/Cases.h"

#include <random>

#include <gtest/gtest.h>

/// What a glance lets pass is handed out without another look: the decoder must find nothing in it.
namespace Qcf::Agent::test {
namespace {

std::span<U8 const> bytesOf(String const & text) {
    return {reinterpret_cast<U8 const *>(text.data()), text.size()};
}

bool canBeDecoded(String const & attributes) {
    Route route;
    try {
        PathAttributes().decode(bytesOf(attributes), {.as4 = true, .rib = true}, route);
        return true;
    } catch (Damage const &) {
        return false;
    }
}

/// One of each that a glance knows, and some that it leaves to the decoder.
std::vector<String> pieces() {
    return {attribute(1, u8(0)),
            attribute(2, segment(2, {64512, 64513, 4200000000}, 4) + segment(1, {5, 4}, 4)),
            attribute(3, u32(0x0a000001)),
            attribute(4, u32(10)),
            attribute(5, u32(100)),
            attribute(6, ""),
            attribute(7, u32(64512) + u32(1)),
            attribute(8, u32(0x00050001) + u32(0x00060002)),
            attribute(14, u8(16) + String(16, 'a')),
            attribute(16, be(0x0002fde800000005, 8)),
            attribute(17, segment(2, {1, 2}, 4)),
            attribute(26, u8(1) + u16(11) + be(7, 8)),
            attribute(32, u32(1) + u32(2) + u32(3)),
            attribute(99, "anything"),
            u8(0x50) + u8(8) + u16(4) + u32(0x00050001)};
}

TEST(AttributeSight, UsualAttributesNeedNoOtherLook) {
    auto const all = pieces();
    EXPECT_TRUE(areWholeAtSight(bytesOf("")));
    EXPECT_TRUE(areWholeAtSight(bytesOf(all[0] + all[1] + all[2] + all[3] + all[5] + all[7])));
    EXPECT_TRUE(areWholeAtSight(bytesOf(all[0] + all[1] + all[8] + all[9] + all[13] + all[14])));
}

TEST(AttributeSight, WhatItLetsPassCanBeDecoded) {
    auto const all = pieces();
    std::mt19937 random(16);
    auto const below = [&](std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
    };
    U64 passed = 0;
    U64 damaged = 0;
    for (U64 i = 0; i < casesWanted(100'000); ++i) {
        String text;
        for (std::size_t left = below(6); left > 0; --left) {
            text += all[below(all.size())];
        }
        for (std::size_t left = below(3); left > 0 && !text.empty(); --left) {
            // Small values are lengths, types and codes.
            text[below(text.size())] = static_cast<char>(below(below(2) == 0 ? 20 : 256));
        }
        text.resize(text.size() - (below(8) == 0 ? below(text.size() + 1) : 0));
        bool const isWhole = areWholeAtSight(bytesOf(text));
        bool const canBe = canBeDecoded(text);
        ASSERT_TRUE(!isWhole || canBe) << testing::PrintToString(text);
        passed += isWhole ? 1 : 0;
        damaged += canBe ? 0 : 1;
    }
    EXPECT_GT(passed, 1'000U);
    EXPECT_GT(damaged, 1'000U);
}

} // namespace
} // namespace Qcf::Agent::test
