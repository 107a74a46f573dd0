#include "tests/Agent/Mrt/MrtTools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Qcf::Agent::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Reads one announcement with the attributes over a session with AS numbers of that width.
Outcome readAttributes(String const & attributes, bool as4 = true) {
    return readAll(bgp4mp(as4 ? 4 : 1, as4, update("", attributes, prefix("10.1.0.0/16"))));
}

struct AttributeCase {
    char const * what;
    String attributes;
    char const * expected; ///< part of the route's text; of the report, where it is damaged
    bool damaged = false;
};

void check(std::initializer_list<AttributeCase> cases) {
    for (AttributeCase const & c : cases) {
        SCOPED_TRACE(c.what);
        Outcome const outcome = readAttributes(c.attributes);
        EXPECT_EQ(outcome.statistics.damagedRecords, c.damaged ? 1 : 0);
        if (c.damaged) {
            EXPECT_THAT(outcome.routes, IsEmpty());
            EXPECT_THAT(outcome.reports, ElementsAre(HasSubstr(c.expected)));
        } else {
            EXPECT_THAT(outcome.routes, ElementsAre(HasSubstr(c.expected)));
            EXPECT_THAT(outcome.reports, IsEmpty());
        }
    }
}

TEST(MrtAttribute, ValuesReachTheRoute) {
    String longPath = u8(2) + u8(255);
    for (U32 i = 1; i <= 255; ++i) {
        longPath += u32(i);
    }
    check({
        {"origin", attribute(1, u8(1)), "origin 1 "},
        {"med", attribute(4, u32(4294967295)), "med 4294967295 "},
        {"local preference", attribute(5, u32(0)), "pref 0 "},
        {"every kind of segment",
         attribute(2, segment(3, {64512, 64513}, 4) + segment(2, {1, 4200000000}, 4) +
                          segment(1, {5, 4}, 4) + segment(4, {64514}, 4)),
         "path[(64512 64513) 1 4200000000 {5,4} [64514]]"},
        {"empty segment", attribute(2, u8(2) + u8(0) + segment(2, {7}, 4)), "path[7]"},
        {"extended length", attribute(2, longPath), " 253 254 255] origin"},
        {"extended length of a short value", u8(0x50) + u8(1) + u16(1) + u8(2), "origin 2 "},
        {"communities ascend and stand once",
         attribute(8, u32(0x00050001) + u32(0x00030002) + u32(0x00050001)), "comm[3:2 5:1]"},
        {"extended communities",
         attribute(16, be(0x0002fde800000005, 8) + be(0x0002000100000001, 8)),
         "ext[0x0002000100000001 0x0002fde800000005]"},
        {"large communities",
         attribute(32,
                   u32(2) + u32(3) + u32(4) + u32(2) + u32(3) + u32(1) + u32(1) + u32(9) + u32(9)),
         "large[1:9:9 2:3:1 2:3:4]"},
        {"AIGP", attribute(26, u8(1) + u16(11) + be(12345, 8)), "aigp 12345"},
        {"AIGP behind another part",
         attribute(26, u8(9) + u16(4) + "x" + u8(1) + u16(11) + be(7, 8)), "aigp 7"},
        {"infinite AIGP", attribute(26, u8(1) + u16(11) + be(~U64{0}, 8)),
         "aigp 18446744073709551614"},
        {"unknown ones", attribute(200, "any") + attribute(9, u32(1)) + attribute(4, u32(5)),
         "med 5 "},
        {"of two the first", attribute(4, u32(5)) + attribute(4, u32(6)), "med 5 "},
        {"no attributes", "", "via  path[] origin 256 med 0 pref 100 from 10.0.0.1 AS 65001"},
    });
}

TEST(MrtAttribute, MalformedOnesAreDamage) {
    check({
        {"origin", attribute(1, u8(3)), "ORIGIN attribute has an unknown value", true},
        {"origin length", attribute(1, u16(1)), "ORIGIN attribute has a wrong length", true},
        {"med length", attribute(4, u16(1)), "MULTI_EXIT_DISC attribute has a wrong length", true},
        {"preference length", attribute(5, ""), "LOCAL_PREF attribute has a wrong length", true},
        {"next hop", attribute(3, "12345"), "NEXT_HOP attribute has a wrong length", true},
        {"segment type", attribute(2, segment(5, {1}, 4)),
         "AS_PATH attribute has a segment of unknown type", true},
        {"segment beyond the attribute", attribute(2, u8(2) + u8(3) + u32(1)),
         "AS_PATH attribute ends too early", true},
        {"communities", attribute(8, "12345"), "COMMUNITIES attribute has a wrong length", true},
        {"extended", attribute(16, "1234567"), "EXTENDED COMMUNITIES attribute has a wrong length",
         true},
        {"large", attribute(32, "12345678"), "LARGE_COMMUNITY attribute has a wrong length", true},
        {"AIGP length", attribute(26, u8(1) + u16(2)),
         "AIGP attribute has a part of a wrong length", true},
        {"AIGP beyond", attribute(26, u8(1) + u16(11) + u32(1)), "AIGP attribute ends too early",
         true},
        {"unreach", attribute(15, u16(1)), "MP_UNREACH_NLRI attribute ends too early", true},
        {"half a header", u8(0x40), "path attributes ends too early", true},
    });
}

TEST(MrtAttribute, As4PathIsMergedWhereTheSessionHasTwoBytes) {
    String const narrow = attribute(2, segment(2, {65001, 23456, 23456}, 2));
    String const as4Aggregator = attribute(18, u32(4200000000) + address("10.0.0.1"));
    auto aggregator = [](U32 as) { return attribute(7, u16(as) + address("10.0.0.1")); };
    String const wide = attribute(17, segment(2, {70000, 70001}, 4));
    struct Case {
        char const * what;
        String attributes;
        char const * path;
    };
    Case const cases[] = {
        {"the front stays", narrow + wide, "path[65001 70000 70001]"},
        {"order of attributes", wide + narrow, "path[65001 70000 70001]"},
        {"longer than AS_PATH", narrow + attribute(17, segment(2, {1, 2, 3, 4}, 4)),
         "path[65001 23456 23456]"},
        {"a set counts one",
         attribute(2, segment(2, {65001, 23456}, 2) + segment(1, {23456, 23456}, 2)) +
             attribute(17, segment(2, {70000}, 4) + segment(1, {70001, 70002}, 4)),
         "path[65001 70000 {70001,70002}]"},
        {"aggregated by a two-byte speaker since",
         narrow + wide + aggregator(65001) + as4Aggregator, "path[65001 23456 23456]"},
        {"aggregated by a four-byte speaker", narrow + wide + aggregator(23456) + as4Aggregator,
         "path[65001 70000 70001]"},
        {"alone", wide, "path[]"},
        {"beside an empty AS_PATH", attribute(2, "") + wide, "path[]"},
        {"as long", attribute(2, segment(2, {23456, 23456}, 2)) + wide, "path[70000 70001]"},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_THAT(readAttributes(c.attributes, false).routes, ElementsAre(HasSubstr(c.path)));
    }
    EXPECT_THAT(readAttributes(asPath4({65001, 23456, 7}) + wide).routes,
                ElementsAre(HasSubstr("path[65001 23456 7]")))
        << "a session with four bytes needs no AS4_PATH";
}

TEST(MrtAttribute, NothingStaysFromTheRouteBefore) {
    String const all = attribute(1, u8(1)) + asPath4({1, 2}) + attribute(3, address("192.0.2.1")) +
                       attribute(4, u32(5)) + attribute(5, u32(6)) + attribute(8, u32(7)) +
                       attribute(16, be(8, 8)) + attribute(32, u32(9) + u32(9) + u32(9)) +
                       attribute(26, u8(1) + u16(11) + be(10, 8));
    String const bare = bgp4mp(4, true, update("", "", prefix("10.2.0.0/16")));
    Outcome const outcome =
        readAll(bgp4mp(4, true, update("", all, prefix("10.1.0.0/16"))) + bare + peerTable() +
                rib(2, "10.3.0.0/16", {entry(0, all), entry(1, "")}));
    EXPECT_THAT(
        outcome.routes,
        ElementsAre(
            HasSubstr("aigp 10"),
            "10.2.0.0/16 via  path[] origin 256 med 0 pref 100 from 10.0.0.1 AS 65001",
            HasSubstr("aigp 10"),
            "10.3.0.0/16 via  path[] origin 256 med 0 pref 100 from 10.0.0.2 AS 4200000000"));
}

} // namespace
} // namespace Qcf::Agent::test
