#include "Mirror/WireText.h"

#include "Platform/Render/Utf8.h"

#include <bit>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace Qcf::Mirror {
namespace {

TEST(WireText, standsForAnyBytesAndForOneTextAlone) {
    struct Case {
        String text;
        char const * wire;
    };
    for (Case const & each : std::vector<Case>{
             {"", ""},
             {"import", "import"},
             {"caf\xc3\xa9 100%", "caf\xc3\xa9 100%"},
             {"%", "%%25"},
             {"%41", "%%2541"},
             {"caf\xe9", "%caf%e9"},
             {String("a\0b", 3), "%a%00b"},
         }) {
        EXPECT_EQ(wireText(each.text), each.wire);
        EXPECT_EQ(parseWireText(each.wire), each.text) << each.wire;
    }
    for (char const * wire : {"%%", "%%2", "%%2x", "%a%-1", "%%+1", "% %"}) {
        EXPECT_FALSE(parseWireText(wire)) << wire;
    }
    std::mt19937 random(3);
    for (int round = 0; round < 5000; ++round) {
        String text;
        for (auto left = random() % 6; left > 0; --left) {
            text += static_cast<char>(random() % 3 == 0 ? '%' : random());
        }
        EXPECT_EQ(parseWireText(wireText(text)), text);
        EXPECT_TRUE(isUtf8(wireText(text)));
    }
}

TEST(WireText, standsForFloatsThatAreNoNumbers) {
    for (U32 const bits : {0x7f800000U, 0xff800000U, 0x7fc00000U, 0xffc00001U, 0x7f800001U}) {
        auto const read = parseWireBits(wireBits(std::bit_cast<F32>(bits)));
        ASSERT_TRUE(read);
        EXPECT_EQ(std::bit_cast<U32>(*read), bits);
    }
    for (char const * wire :
         {"", "nan", "0x", "0x3f800000", "0x7f80000", "0x7f8000000", "7f800000"}) {
        EXPECT_FALSE(parseWireBits(wire)) << wire;
    }
}

} // namespace
} // namespace Qcf::Mirror
