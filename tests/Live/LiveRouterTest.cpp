#include "tests/Live/LiveTools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Qcf::Live::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

TEST(LiveRouter, KeepsWhatWasAnnouncedLast) {
    TestStation station;
    PeerSpec const peer;
    station.hear(initiation("edge1") + peerUp(peer) + announce(peer, "10.1.0.0/16") +
                 announce(peer, "10.2.0.0/16") + announce(peer, "10.1.0.0/16", medAttribute(7)) +
                 announce(peer, "10.3.0.0/16") + withdraw(peer, "10.2.0.0/16") +
                 withdraw(peer, "10.9.0.0/16") + endOfRib(peer));
    EXPECT_THAT(station.table("192.0.2.1", Rib::inPre),
                ElementsAre("10.1.0.0/16 via 192.0.2.1 path[65001] origin 0 med 7 pref 100 from "
                            "192.0.2.1 AS 65001",
                            StartsWith("10.3.0.0/16 via 192.0.2.1 path[65001] origin 0 med 0")));
    RibState const & table = *station.peer("192.0.2.1").table(Rib::inPre);
    EXPECT_EQ(table.announced, 4);
    EXPECT_EQ(table.withdrawn, 2);
    EXPECT_EQ(table.withdrawnUnheld, 1);
    EXPECT_THAT(table.shown.byVerdict, ElementsAre(0, 2, 0, 0));
    EXPECT_EQ(station.routers.store().size(), 2);
    EXPECT_THAT(station.notebook.syncs, ElementsAre("edge1 192.0.2.1 in-pre v4 2"));
    EXPECT_THAT(station.notebook.notes, IsEmpty());
}

TEST(LiveRouter, APrefixInBothListsIsAnnounced) {
    TestStation station;
    PeerSpec const peer;
    String const p = prefix("10.1.0.0/16");
    station.hear(initiation("edge1") + peerUp(peer) +
                 monitoring(peer, update(p, plainAttributes({65001}), p)));
    EXPECT_EQ(station.table("192.0.2.1", Rib::inPre).size(), 1);
}

TEST(LiveRouter, ReadsAllFamiliesOfAMessage) {
    TestStation station;
    PeerSpec const peer{.address = "2001:db8::9"};
    String const reach = attribute(14, u16(2) + u8(1) + u8(16) + address("2001:db8::1") + u8(0) +
                                           prefix("2001:db8:5::/48"));
    station.hear(
        initiation("edge1") + peerUp(peer) +
        monitoring(peer, update("", plainAttributes({65001}) + reach, prefix("10.1.0.0/16"))));
    EXPECT_THAT(station.table("2001:db8::9", Rib::inPre),
                ElementsAre(StartsWith("10.1.0.0/16 via 192.0.2.1 path[65001]"),
                            StartsWith("2001:db8:5::/48 via 2001:db8::1 path[65001]")));
    String const unreach = attribute(15, u16(2) + u8(1) + prefix("2001:db8:5::/48"));
    station.hearMore(monitoring(peer, update("", unreach, "")));
    EXPECT_EQ(station.table("2001:db8::9", Rib::inPre).size(), 1);
}

TEST(LiveRouter, PeersOfOneAddressInTwoVrfsAreTwo) {
    LiveSettings settings;
    settings.vrfs = {{"blue", 7}};
    TestStation station(TestStation::acceptAll, settings);
    PeerSpec const red{.type = 1, .distinguisher = 1};
    PeerSpec const blue{.type = 1, .distinguisher = 2};
    station.hear(initiation("edge1") + peerUp(red, {}, {65001}, tlv(3, "red")) +
                 peerUp(blue, {}, {65001}, tlv(3, "blue") + tlv(77, "?")) +
                 announce(red, "10.1.0.0/16") + announce(blue, "10.1.0.0/16", medAttribute(5)) +
                 withdraw(red, "10.1.0.0/16"));
    auto & peers = station.router().peers();
    ASSERT_EQ(peers.size(), 2);
    EXPECT_EQ(peers.begin()->second.vrfId, 0xffffff);
    EXPECT_EQ(peers.begin()->second.table(Rib::inPre)->routes.size(), 0);
    EXPECT_EQ(peers.rbegin()->second.vrfId, 7);
    EXPECT_EQ(peers.rbegin()->second.table(Rib::inPre)->routes.size(), 1);
    EXPECT_EQ(station.router().unknownTlvs(), 1);
}

TEST(LiveRouter, DamageCostsAMessageAndIsTold) {
    TestStation station;
    PeerSpec const peer;
    String good = initiation("edge1") + peerUp(peer);
    for (U32 i = 0; i < TableForm::enough; ++i) {
        good += announce(peer, "10." + std::to_string(i) + ".0.0/16");
    }
    String const bad = monitoring(
        peer, update("", plainAttributes({65001}), prefix("10.77.0.0/16") + u8(33) + "12345"));
    station.hear(good + bad + announce(peer, "10.99.0.0/16"));
    EXPECT_EQ(station.table("192.0.2.1", Rib::inPre).size(), TableForm::enough + 1);
    EXPECT_THAT(station.notebook.notes,
                ElementsAre("edge1 192.0.2.1 in-pre: damaged route monitoring message at offset " +
                            std::to_string(good.size()) + ": prefix is longer than an address"));
    EXPECT_EQ(station.router().damaged(), 1);
    EXPECT_TRUE(station.peer("192.0.2.1").table(Rib::inPre)->inexact);
    // Sent anew, it is exact again.
    station.hear(good);
    EXPECT_FALSE(station.peer("192.0.2.1").table(Rib::inPre)->inexact);
}

TEST(LiveRouter, DamageIsToldOnlySoOften) {
    TestStation station;
    String bytes = initiation("edge1");
    for (U32 i = 0; i < 50; ++i) {
        bytes += bmp(0, "short");
    }
    station.hear(bytes);
    station.lose();
    ASSERT_EQ(station.notebook.notes.size(), 21);
    EXPECT_THAT(station.notebook.notes.back(), HasSubstr("30 more reports"));
    EXPECT_EQ(station.router().damaged(), 50);
}

TEST(LiveRouter, TablesStayWhileTheConnectionIsGone) {
    TestStation station;
    PeerSpec const a;
    PeerSpec const b{.address = "192.0.2.2"};
    station.hear(initiation("edge1") + peerUp(a) + peerUp(b) + announce(a, "10.1.0.0/16") +
                 announce(b, "10.1.0.0/16") + announce(b, "10.2.0.0/16"));
    station.lose();
    EXPECT_EQ(station.table("192.0.2.2", Rib::inPre).size(), 2);
    EXPECT_TRUE(station.peer("192.0.2.2").table(Rib::inPre)->stale);
    // One peer comes up again; the other one is not heard of.
    station.hear(initiation("edge1") + peerUp(a) + announce(a, "10.3.0.0/16") + endOfRib(a));
    EXPECT_THAT(station.table("192.0.2.1", Rib::inPre), ElementsAre(StartsWith("10.3.0.0/16")));
    EXPECT_THAT(station.table("192.0.2.2", Rib::inPre), IsEmpty());
    EXPECT_FALSE(station.peer("192.0.2.1").table(Rib::inPre)->stale);
    EXPECT_EQ(station.routers.routes(), 1);
}

TEST(LiveRouter, WithoutPeerUpWhatIsNotSentAgainGoes) {
    TestStation station;
    PeerSpec const loc{.type = 3, .address = "0.0.0.0", .as = 0};
    station.hear(initiation("edge1") + announce(loc, "10.1.0.0/16") + announce(loc, "10.2.0.0/16"));
    EXPECT_THAT(station.notebook.notes,
                ElementsAre("edge1 0.0.0.0 loc: routes come without a Peer Up message before "
                            "them"));
    station.lose();
    station.hear(initiation("edge1") + announce(loc, "10.2.0.0/16"));
    EXPECT_THAT(station.table("0.0.0.0", Rib::loc), ElementsAre(StartsWith("10.2.0.0/16")));
}

TEST(LiveRouter, LimitsEndTheConnectionAndKeepTheRest) {
    LiveSettings settings;
    settings.maxRoutes = 3;
    TestStation station(TestStation::acceptAll, settings);
    PeerSpec const peer;
    station.hear(initiation("edge1") + peerUp(peer) + announce(peer, "10.1.0.0/16") +
                 announce(peer, "10.2.0.0/16") + announce(peer, "10.3.0.0/16"));
    EXPECT_THROW(station.hearMore(announce(peer, "10.4.0.0/16")), LimitReached);
    EXPECT_EQ(station.routers.routes(), 3);
    EXPECT_EQ(station.table("192.0.2.1", Rib::inPre).size(), 3);
}

TEST(LiveRouter, NewPeersAreRefusedBeyondTheLimit) {
    TestStation station;
    String bytes = initiation("edge1");
    for (U32 i = 0; i < LiveRouter::mostPeers; ++i) {
        bytes += peerUp({.distinguisher = i});
    }
    station.hear(bytes);
    EXPECT_THROW(station.hearMore(peerUp({.distinguisher = 99'999})), LimitReached);
    EXPECT_THROW(station.hearMore(announce({.distinguisher = 99'999}, "10.1.0.0/16")),
                 LimitReached);
    EXPECT_EQ(station.router().peers().size(), LiveRouter::mostPeers);
}

} // namespace
} // namespace Qcf::Live::test
