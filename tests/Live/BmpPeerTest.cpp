#include "tests/Live/LiveTools.h"

#include <gmock/gmock.h>

namespace Qcf::Live::test {
namespace {

using testing::HasSubstr;

std::span<U8 const> bytesOf(String const & text) {
    return {reinterpret_cast<U8 const *>(text.data()), text.size()};
}

/// What reading throws, or nothing.
String damageOf(std::function<void()> const & read) {
    try {
        read();
        return {};
    } catch (Damage const & damage) {
        return String(damage.subject()) + " " + damage.problem();
    }
}

TEST(BmpFrame, IsReadWholeOrWaitedFor) {
    String const whole = bmp(4, tlv(2, "edge1"));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(BmpFrame::first(bytesOf(whole.substr(0, size))));
    }
    auto const frame = BmpFrame::first(bytesOf(whole + "x"));
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->size, whole.size());
    EXPECT_EQ(frame->type, BmpType::initiation);
}

TEST(BmpFrame, WhatCannotBeginAMessageIsDamage) {
    struct Case {
        String bytes;
        char const * problem;
    };
    Case const cases[] = {
        {u8(4), "BMP message is of version 4, which is not read"},
        {u8('S') + "SH-2.0", "BMP message is not of version 3"},
        {u8(3) + u32(5) + u8(0), "BMP message has an impossible length"},
        {u8(3) + u32((U64{256} << 10) + 1) + u8(0), "BMP message has an impossible length"},
        {u8(3) + u32(0xffffffff) + u8(0), "BMP message has an impossible length"},
        {u8(3) + u32(6) + u8(7), "BMP message is of an unknown type"},
    };
    for (Case const & c : cases) {
        EXPECT_EQ(damageOf([&] { BmpFrame::first(bytesOf(c.bytes)); }), c.problem);
    }
}

TEST(BmpTlv, TextIsCutAndHarmless) {
    String const named = tlv(2, "a\nb\x1b[2J\xff" + String(300, 'x'));
    ByteCursor cursor(bytesOf(named), "message");
    String const text = BmpTlv::take(cursor).text();
    EXPECT_THAT(text, HasSubstr("a\\nb\\u001b[2J\uFFFDxxx"));
    EXPECT_LT(text.size(), 90);
}

TEST(PeerHeader, FlagsMeanWhatTheTypeOfThePeerSays) {
    struct Case {
        U8 type;
        U8 flags;
        Rib rib;
        bool as2;
    };
    Case const cases[] = {
        {0, 0, Rib::inPre, false},
        {0, postFlag, Rib::inPost, false},
        {1, postFlag | as2Flag, Rib::inPost, true},
        {0, outFlag, Rib::outPre, false},
        {0, outFlag | postFlag, Rib::outPost, false},
        // F of a Loc-RIB is the bit that is V elsewhere: its address has four bytes all the same.
        {3, 0x80 | postFlag | as2Flag, Rib::loc, false},
    };
    for (Case const & c : cases) {
        String const bytes = perPeer({.type = c.type, .flags = c.flags, .address = "192.0.2.1"});
        ByteCursor cursor(bytesOf(bytes), "message");
        PeerHeader const header = PeerHeader::take(cursor);
        EXPECT_EQ(header.rib, c.rib);
        EXPECT_EQ(header.as2, c.as2);
        EXPECT_EQ(header.key.address.toString(), "192.0.2.1");
        EXPECT_TRUE(cursor.atEnd());
    }
}

TEST(PeerUp, IdentifiersAreDeclaredWhereOneSideReceivesWhatTheOtherSends) {
    struct Case {
        U8 sent;
        U8 received;
        Rib rib;
        bool ids;
    };
    Case const cases[] = {
        {1, 2, Rib::inPre, true},  {1, 3, Rib::inPost, true},   {2, 1, Rib::inPre, false},
        {3, 3, Rib::inPre, true},  {1, 1, Rib::inPre, false},   {0, 2, Rib::inPre, false},
        {2, 1, Rib::outPre, true}, {1, 2, Rib::outPost, false}, {3, 2, Rib::outPre, false},
    };
    for (Case const & c : cases) {
        String const bytes =
            peerUp({}, {.as = 65000, .addPath4 = c.sent}, {.as = 65001, .addPath4 = c.received});
        String const message = bytes.substr(6);
        ByteCursor cursor(bytesOf(message), "message");
        PeerHeader::take(cursor);
        PeerUp const up = PeerUp::take(cursor);
        EXPECT_EQ(up.declaredForm(c.rib, false).ids4, c.ids)
            << int(c.sent) << int(c.received) << ribName(c.rib);
        EXPECT_FALSE(up.declaredForm(c.rib, false).ids6);
        EXPECT_TRUE(up.declaredForm(c.rib, false).as4);
        EXPECT_FALSE(up.declaredForm(c.rib, true).as4);
    }
}

TEST(PeerUp, ReadsOpensOfEitherLength) {
    // As RFC 9072 has it: lengths of two bytes.
    String const capabilities = u8(65) + u8(4) + u32(4200000000);
    String const parameters = u8(2) + u16(capabilities.size()) + capabilities;
    String const extended = message(1, u8(4) + u16(23456) + u16(180) + u32(7) + u8(255) + u8(255) +
                                           u16(parameters.size()) + parameters);
    for (String const & bytes : {extended, open({.as = 4200000000})}) {
        ByteCursor cursor(bytesOf(bytes), "message");
        SpeakerOpen const read = SpeakerOpen::take(cursor);
        EXPECT_EQ(read.as, 4200000000);
        EXPECT_TRUE(read.as4);
    }
    String const beginning = extended.substr(0, 40);
    ByteCursor cut(bytesOf(beginning), "message");
    EXPECT_EQ(damageOf([&] { SpeakerOpen::take(cut); }), "message ends too early");
}

} // namespace
} // namespace Qcf::Live::test
