#include "tests/Agent/Mrt/MrtTools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Qcf::Agent::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

String pathOf(bool as4) { return attribute(2, segment(2, {65001, 65010}, as4 ? 4 : 2)); }

struct Subtype {
    U16 number;
    bool as4;
    bool addPath;
};

/// A message that announces and withdraws prefixes of both families.
String everything(Subtype const & subtype) {
    String const id = subtype.addPath ? u32(7) : String();
    String const reach = attribute(14, u16(2) + u8(1) + u8(16) + address("2001:db8::1") + u8(0) +
                                           id + prefix("2001:db8::/32"));
    String const unreach = attribute(15, u16(2) + u8(1) + id + prefix("2001:db8:1::/48"));
    String const hop = attribute(3, address("192.0.2.1"));
    return bgp4mp(subtype.number, subtype.as4,
                  update(id + prefix("10.3.0.0/16"), pathOf(subtype.as4) + hop + reach + unreach,
                         id + prefix("10.1.0.0/16") + id + prefix("10.2.0.0/16")));
}

TEST(MrtMessage, EverySubtypeHasItsOwnWidthsAndPathIdentifiers) {
    Subtype const subtypes[] = {{1, false, false}, {4, true, false}, {6, false, false},
                                {7, true, false},  {8, false, true}, {9, true, true},
                                {10, false, true}, {11, true, true}};
    for (Subtype const & c : subtypes) {
        SCOPED_TRACE(c.number);
        String const plain = everything(c);
        String const withTime = record(17, c.number, u32(123456) + plain.substr(12));
        String const rest = " path[65001 65010] origin 256 med 0 pref 100 from 10.0.0.1 AS 65001";
        std::vector<String> expected = {"10.1.0.0/16 via 192.0.2.1", "10.2.0.0/16 via 192.0.2.1",
                                        "2001:db8::/32 via 2001:db8::1"};
        for (String & route : expected) {
            route += rest;
        }
        for (String const & file : {plain, withTime}) {
            Outcome const outcome = readAll(file);
            EXPECT_EQ(outcome.routes, expected);
            EXPECT_EQ(outcome.statistics.withdrawals, 2);
            EXPECT_EQ(outcome.statistics.routes, 3);
            EXPECT_THAT(outcome.reports, IsEmpty());
        }
    }
}

TEST(MrtMessage, WhatCarriesNoRoutesIsCountedInSilence) {
    String const file = bgp4mp(0, false, "") + bgp4mp(5, true, "") + bgp4mp(99, true, "") +
                        bgp4mp(4, true, message(1, "open")) + bgp4mp(4, true, message(3, "no")) +
                        bgp4mp(4, true, message(4, "")) + bgp4mp(4, true, message(5, "")) +
                        record(11, 0, "OSPF") + record(33, 0, "ISIS") + record(5, 3, "state") +
                        record(13, 7, "where the peers are") + record(12, 9, "");
    Outcome const outcome = readAll(file);
    EXPECT_EQ(outcome.statistics.records, 12);
    EXPECT_EQ(outcome.statistics.skippedRecords, 12);
    EXPECT_EQ(outcome.statistics.damagedRecords, 0);
    EXPECT_THAT(outcome.reports, IsEmpty());
}

TEST(MrtMessage, FamiliesThatAreNotReadAreCounted) {
    String const vpn = attribute(14, u16(1) + u8(128) + u8(12) + String(12, '\0') + u8(0) + "nlri");
    String const evpn = attribute(15, u16(25) + u8(70) + "nlri");
    Outcome const outcome =
        readAll(bgp4mp(4, true,
                       update("", pathOf(true) + vpn + evpn + attribute(3, address("192.0.2.1")),
                              prefix("10.1.0.0/16"))));
    EXPECT_EQ(outcome.statistics.skippedFamilies, 2);
    EXPECT_THAT(outcome.routes, ElementsAre(HasSubstr("10.1.0.0/16 via 192.0.2.1 ")));
}

TEST(MrtMessage, ReadsUpdatesOfTheOldType) {
    String const attributes =
        attribute(1, u8(0)) + pathOf(false) + attribute(3, address("192.0.2.1"));
    String const body = u16(65001) + address("10.0.0.1") + u16(65000) + address("10.0.0.9") +
                        u16(3) + prefix("10.3.0.0/16") + u16(attributes.size()) + attributes +
                        prefix("10.1.0.0/16");
    Outcome const outcome = readAll(record(5, 1, body));
    EXPECT_THAT(outcome.routes,
                ElementsAre("10.1.0.0/16 via 192.0.2.1 path[65001 65010] origin 0 med 0 pref 100 "
                            "from 10.0.0.1 AS 65001"));
    EXPECT_EQ(outcome.statistics.withdrawals, 1);
}

TEST(MrtMessage, ABrokenMessageGivesNoRoute) {
    String const attributes = pathOf(true) + attribute(3, address("192.0.2.1"));
    String const hostBits = u8(13) + "\x0b\x0d";
    struct Case {
        char const * what;
        String message;
        std::vector<String> prefixes;
        char const * problem;
    };
    String const whole = update("", attributes, prefix("10.1.0.0/16") + prefix("10.2.0.0/16"));
    Case const cases[] = {
        {"host bits are cleared", update("", attributes, hostBits), {"11.8.0.0/13"}, nullptr},
        {"last one cut",
         update("", attributes, prefix("10.1.0.0/16") + u8(24) + "\x0a"),
         {},
         "UPDATE message ends too early"},
        {"longer than an address",
         update("", attributes, prefix("10.1.0.0/16") + u8(33) + "12345"),
         {},
         "prefix is longer than an address"},
        {"message cut between prefixes",
         whole.substr(0, whole.size() - 3),
         {},
         "BGP message is longer than its record"},
        {"message cut in the attributes",
         whole.substr(0, 30),
         {},
         "BGP message is longer than its record"},
        {"length below its own header",
         String(16, '\xff') + u16(18) + u8(2) + u32(0),
         {},
         "BGP message has a wrong length"},
        {"withdrawn beyond the message",
         message(2, u16(99) + u32(0)),
         {},
         "UPDATE message ends too early"},
        {"attribute beyond the others",
         update("", u8(0x40) + u8(2) + u8(99), prefix("10.1.0.0/16")),
         {},
         "AS_PATH attribute is longer than what is left"},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        Outcome const outcome = readAll(bgp4mp(4, true, c.message) + bgp4mp(4, true, whole));
        ASSERT_EQ(outcome.routes.size(), c.prefixes.size() + 2);
        for (std::size_t i = 0; i < c.prefixes.size(); ++i) {
            EXPECT_THAT(outcome.routes[i], testing::StartsWith(c.prefixes[i] + " via 192.0.2.1"));
        }
        EXPECT_EQ(outcome.statistics.damagedRecords, c.problem == nullptr ? 0 : 1);
        if (c.problem != nullptr) {
            EXPECT_THAT(outcome.reports,
                        ElementsAre(String("t: offset 0: damaged BGP4MP/MESSAGE_AS4 "
                                           "record: ") +
                                    c.problem));
        }
    }
}

TEST(MrtMessage, ABrokenPrefixCostsAllThatTheMessageSays) {
    String const reach = u16(2) + u8(1) + u8(16) + address("2001:db8::1") + u8(0);
    String const good = prefix("2001:db8::/32");
    String const v4 = prefix("10.1.0.0/16");
    String const bad = u8(129) + String(17, '\1');
    struct Case {
        char const * what;
        String message;
    };
    Case const cases[] = {
        {"announced", update(v4, pathOf(true) + attribute(14, reach + good), u8(40) + "12345")},
        {"reached", update(v4, pathOf(true) + attribute(14, reach + good + bad), v4)},
        {"withdrawn", update(u8(33) + "12345", pathOf(true) + attribute(14, reach + good), v4)},
        {"unreached", update(v4, attribute(15, u16(2) + u8(1) + good + bad), v4)},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        Outcome const outcome = readAll(bgp4mp(4, true, c.message));
        EXPECT_THAT(outcome.routes, IsEmpty());
        EXPECT_EQ(outcome.statistics.withdrawals, 0);
        EXPECT_EQ(outcome.statistics.damagedRecords, 1);
        EXPECT_EQ(outcome.reports.size(), 1);
    }
}

} // namespace
} // namespace Qcf::Agent::test
