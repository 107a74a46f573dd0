#include "tests/Agent/Mrt/MrtTools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Qcf::Agent::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// MP_REACH_NLRI as RFC 6396 wants it in a table, and as it stands in a message.
String reducedReach(char const * hop) { return attribute(14, u8(16) + address(hop)); }
String fullReach(char const * hop) {
    return attribute(14, u16(2) + u8(1) + u8(16) + address(hop) + u8(0) + prefix("2001:db8::/32"));
}

String const pathAttributes = attribute(1, u8(0)) + asPath4({65001, 65010});

TEST(MrtTable, ReadsEveryKindOfTableDumpV2Record) {
    String const v4 = plainAttributes({65001});
    String const v6 = pathAttributes + reducedReach("2001:db8::1");
    String const addPathEntry = u16(1) + u32(0) + u32(77) + u16(v4.size()) + v4;
    struct Case {
        char const * what;
        String record;
        char const * route; ///< null for a family that is not read
    };
    char const * const fromFirst = "10.1.0.0/16 via 192.0.2.1 path[65001] origin 0 med 0 pref 100 "
                                   "from 10.0.0.1 AS 65001";
    char const * const fromSecond = "10.1.0.0/16 via 192.0.2.1 path[65001] origin 0 med 0 pref 100 "
                                    "from 10.0.0.2 AS 4200000000";
    char const * const v6Route = "2001:db8:7::/48 via 2001:db8::1 path[65001 65010] origin 0 med 0 "
                                 "pref 100 from 2001:db8::3 AS 65003";
    Case const cases[] = {
        {"IPv4 unicast", rib(2, "10.1.0.0/16", {entry(0, v4)}), fromFirst},
        {"IPv4 multicast", rib(3, "10.1.0.0/16", {entry(1, v4)}), fromSecond},
        {"IPv6 unicast", rib(4, "2001:db8:7::/48", {entry(2, v6)}), v6Route},
        {"IPv6 multicast", rib(5, "2001:db8:7::/48", {entry(2, v6)}), v6Route},
        {"IPv4 unicast add-path", rib(8, "10.1.0.0/16", {addPathEntry}), fromSecond},
        {"IPv4 multicast add-path", rib(9, "10.1.0.0/16", {addPathEntry}), fromSecond},
        {"generic IPv4 unicast",
         record(13, 6, u32(0) + u16(1) + u8(1) + prefix("10.1.0.0/16") + u16(1) + entry(0, v4)),
         fromFirst},
        {"generic IPv6 multicast",
         record(13, 6, u32(0) + u16(2) + u8(2) + prefix("2001:db8:7::/48") + u16(1) + entry(2, v6)),
         v6Route},
        {"generic add-path",
         record(13, 12, u32(0) + u16(1) + u8(1) + prefix("10.1.0.0/16") + u16(1) + addPathEntry),
         fromSecond},
        {"generic VPN", record(13, 6, u32(0) + u16(1) + u8(128) + "any bytes"), nullptr},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        Outcome const outcome = readAll(peerTable() + c.record);
        EXPECT_THAT(outcome.reports, IsEmpty());
        EXPECT_EQ(outcome.statistics.skippedFamilies, c.route == nullptr ? 1 : 0);
        if (c.route == nullptr) {
            EXPECT_THAT(outcome.routes, IsEmpty());
        } else {
            EXPECT_THAT(outcome.routes, ElementsAre(c.route));
        }
    }
}

TEST(MrtTable, TakesTheNextHopOfEitherFormOfMpReach) {
    struct Case {
        char const * what;
        String attributes;
        char const * nextHop;
    };
    Case const cases[] = {
        {"reduced", reducedReach("2001:db8::1"), "2001:db8::1"},
        {"full", fullReach("2001:db8::2"), "2001:db8::2"},
        {"global and link-local",
         attribute(14, u8(32) + address("2001:db8::3") + address("fe80::1")), "2001:db8::3"},
        {"before NEXT_HOP", reducedReach("2001:db8::4") + attribute(3, address("192.0.2.1")),
         "2001:db8::4"},
        {"NEXT_HOP alone", attribute(3, address("192.0.2.1")), "192.0.2.1"},
        {"IPv6 in NEXT_HOP", attribute(3, address("2001:db8::5")), "2001:db8::5"},
        {"empty", attribute(14, ""), "damaged"},
        {"no next hop", attribute(14, u8(0)), ""},
        {"length of no address", attribute(14, u8(5) + "12345"), "damaged"},
        {"length beyond the value", attribute(14, u8(16) + "12345"), "damaged"},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        Outcome const outcome =
            readAll(peerTable() + rib(4, "2001:db8:7::/48", {entry(2, c.attributes)}));
        if (String(c.nextHop) == "damaged") {
            EXPECT_THAT(outcome.routes, IsEmpty());
            EXPECT_EQ(outcome.statistics.damagedRecords, 1);
        } else {
            EXPECT_THAT(outcome.routes,
                        ElementsAre(HasSubstr(" via " + String(c.nextHop) + " path")));
        }
    }
}

TEST(MrtTable, ReadsTableDumpOfBothFamilies) {
    String const path = attribute(1, u8(2)) + attribute(2, segment(2, {65001, 23456}, 2));
    String const v4 = path + attribute(3, address("192.0.2.1"));
    String const v6 = path + fullReach("2001:db8::1");
    String const file = record(12, 1,
                               u16(0) + u16(0) + address("10.1.2.3") + u8(16) + u8(1) + u32(0) +
                                   address("10.0.0.1") + u16(65001) + u16(v4.size()) + v4) +
                        record(12, 2,
                               u16(0) + u16(1) + address("2001:db8:7::") + u8(48) + u8(1) + u32(0) +
                                   address("2001:db8::9") + u16(65009) + u16(v6.size()) + v6) +
                        record(12, 3, "of no known family");
    Outcome const outcome = readAll(file);
    EXPECT_THAT(outcome.routes,
                ElementsAre("10.1.0.0/16 via 192.0.2.1 path[65001 23456] origin 2 med 0 pref 100 "
                            "from 10.0.0.1 AS 65001",
                            "2001:db8:7::/48 via 2001:db8::1 path[65001 23456] origin 2 med 0 pref "
                            "100 from 2001:db8::9 AS 65009"));
    EXPECT_EQ(outcome.statistics.skippedRecords, 1);
    EXPECT_THAT(outcome.reports, IsEmpty());
}

TEST(MrtTable, EveryPeerIndexTableHoldsUntilTheNext) {
    String const one = rib(2, "10.1.0.0/16", {entry(0, plainAttributes({1}))});
    String const otherPeers =
        record(13, 1, u32(0) + u16(0) + u16(1) + u8(2) + u32(9) + address("10.0.0.8") + u32(65008));
    Outcome const outcome = readAll(peerTable() + one + otherPeers + one);
    EXPECT_THAT(outcome.routes, ElementsAre(HasSubstr("from 10.0.0.1 AS 65001"),
                                            HasSubstr("from 10.0.0.8 AS 65008")));
}

TEST(MrtTable, RoutesWithoutPeerTableHaveAnUnknownPeerAndAreTold) {
    String const one = rib(2, "10.1.0.0/16", {entry(5, plainAttributes({1}))});
    Outcome const outcome = readAll(one + one);
    EXPECT_THAT(outcome.routes, ElementsAre(HasSubstr("from  AS 0"), HasSubstr("from  AS 0")));
    EXPECT_THAT(outcome.reports,
                ElementsAre("t: offset 0: TABLE_DUMP_V2/RIB_IPV4_UNICAST record without a "
                            "PEER_INDEX_TABLE before it: the peers of its routes are not known"));
    EXPECT_EQ(outcome.statistics.damagedRecords, 0);
}

TEST(MrtTable, AnEntryMayLackAttributes) {
    Outcome const outcome = readAll(peerTable() + rib(2, "10.1.0.0/16", {entry(0, "")}));
    EXPECT_THAT(outcome.routes, ElementsAre("10.1.0.0/16 via  path[] origin 256 med 0 pref 100 "
                                            "from 10.0.0.1 AS 65001"));
}

TEST(MrtTable, ADamagedEntryCostsItsRecord) {
    String const good = entry(0, plainAttributes({1}));
    String const badOrigin = entry(0, attribute(1, u8(9)) + asPath4({2}));
    String const badPeer = entry(3, plainAttributes({3}));
    String const last = rib(2, "10.9.0.0/16", {good});
    auto badly = [&](U8 code, String const & value) {
        return rib(2, "10.1.0.0/16", {good, entry(0, attribute(code, value))});
    };
    struct Case {
        char const * what;
        String record;
        char const * problem;
    };
    Case const cases[] = {
        {"value", rib(2, "10.1.0.0/16", {good, badOrigin, good}),
         "ORIGIN attribute has an unknown value"},
        {"peer", rib(2, "10.1.0.0/16", {good, badPeer, good}),
         "entry names a peer that the PEER_INDEX_TABLE lacks"},
        {"frame", rib(2, "10.1.0.0/16", {good, u16(0) + u32(0) + u16(999), good}),
         "record ends too early"},
        {"fewer entries than told",
         record(13, 2, u32(0) + prefix("10.1.0.0/16") + u16(9) + good + good),
         "record ends too early"},
        {"prefix", record(13, 2, u32(0) + u8(33) + "12345" + u16(1) + good),
         "prefix is longer than an address"},
        {"segment", badly(2, u8(9) + u8(1) + u32(1)), "AS_PATH attribute has a segment of unknown"},
        {"path", badly(2, u8(2) + u8(2) + u32(1)), "AS_PATH attribute ends too early"},
        {"AS4_PATH", badly(17, u8(2)), "AS4_PATH attribute ends too early"},
        {"next hop", badly(3, "12345"), "NEXT_HOP attribute has a wrong length"},
        {"MED", badly(4, "123"), "MULTI_EXIT_DISC attribute has a wrong length"},
        {"community", badly(8, "123456"), "COMMUNITIES attribute has a wrong length"},
        {"AIGP", badly(26, u8(1) + u16(2)), "AIGP attribute has a part of a wrong length"},
        {"MP_REACH_NLRI", badly(14, u8(5) + "12345"), "has a wrong length"},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        Outcome const outcome = readAll(peerTable() + c.record + last);
        EXPECT_THAT(outcome.routes, ElementsAre(HasSubstr("10.9.0.0/16 via")));
        EXPECT_EQ(outcome.statistics.damagedRecords, 1);
        EXPECT_FALSE(outcome.statistics.cut);
        EXPECT_THAT(outcome.reports,
                    ElementsAre(testing::AllOf(HasSubstr("t: offset 73: damaged TABLE_DUMP_V2/"),
                                               HasSubstr(c.problem))));
    }
}

TEST(MrtTable, ADamagedPeerTableLeavesThePeersBehindItUnknown) {
    String const one = rib(2, "10.1.0.0/16", {entry(0, plainAttributes({1}))});
    String const cut =
        record(13, 1, u32(0) + u16(0) + u16(2) + u8(0) + u32(1) + address("10.0.0.8") + u16(65008));
    Outcome const outcome = readAll(peerTable() + one + cut + one + peerTable() + one + cut + one);
    EXPECT_THAT(outcome.routes,
                ElementsAre(HasSubstr("from 10.0.0.1 AS 65001"), HasSubstr("from  AS 0"),
                            HasSubstr("from 10.0.0.1 AS 65001"), HasSubstr("from  AS 0")));
    EXPECT_EQ(outcome.statistics.damagedRecords, 2);
    EXPECT_THAT(outcome.reports,
                ElementsAre(HasSubstr("damaged TABLE_DUMP_V2/PEER_INDEX_TABLE record: "),
                            HasSubstr("the peers of its routes are not known"),
                            HasSubstr("damaged TABLE_DUMP_V2/PEER_INDEX_TABLE record: "),
                            HasSubstr("the peers of its routes are not known")));
}

} // namespace
} // namespace Qcf::Agent::test
