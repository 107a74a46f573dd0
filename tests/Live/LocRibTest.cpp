#include "tests/Live/LiveTools.h"

#include <gmock/gmock.h>

/// What a router holds in its Loc-RIB, and what it sends of it. No router at hand shows both: the
/// messages are made by hand (RFC 8671, RFC 9069).
namespace Qcf::Live::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr U8 filteredFlag = 0x80;
PeerSpec const loc{.type = 3, .address = "0.0.0.0", .as = 65000};
PeerSpec const inside{.flags = outFlag | postFlag, .address = "192.0.2.2", .as = 65000};
PeerSpec const outside{.flags = outFlag | postFlag, .address = "192.0.2.3", .as = 65003};

LiveSettings sending() {
    LiveSettings settings;
    settings.rib = Rib::loc;
    settings.against = Rib::outPost;
    return settings;
}

/// An export policy: it is asked for what is sent, and knows no peer that a route came from.
constexpr char const * policy = R"(
function "import"() {
  if source_session.remote.as is 65000 { return false }
  if med is 13 { return false }
  return true
}
)";

TEST(LocRib, MakesItsPeerAndSaysSo) {
    TestStation station(policy, sending());
    PeerSpec filteredLoc = loc;
    filteredLoc.flags = filteredFlag;
    station.hear(initiation("edge1") + announce(filteredLoc, "10.1.0.0/16") +
                 announce(filteredLoc, "10.2.0.0/16", medAttribute(13)));
    EXPECT_THAT(station.notebook.notes,
                ElementsAre("edge1 0.0.0.0 loc: routes come without a Peer Up message before them",
                            "edge1 0.0.0.0 loc: the router does not show all of this table"));
    EXPECT_TRUE(station.peer("0.0.0.0").isAssumed);
    EXPECT_THAT(station.peer("0.0.0.0").table(Rib::loc)->shown.byVerdict, ElementsAre(1, 1, 0, 0));
    EXPECT_THAT(station.table("0.0.0.0", Rib::loc)[0], HasSubstr(" from  AS 0"));
    EXPECT_EQ(station.compare().notSent, 2) << "nobody shows what is sent";
}

TEST(LocRib, IsComparedWithWhatIsSentToEachPeer) {
    TestStation station(policy, sending());
    String const sent = initiation("edge1") + peerUp(inside) + peerUp(outside);
    station.hear(sent + announce(loc, "10.1.0.0/16") +
                 announce(loc, "10.2.0.0/16", medAttribute(13)) + announce(loc, "10.3.0.0/16") +
                 announce(inside, "10.1.0.0/16") + announce(inside, "10.2.0.0/16") +
                 announce(outside, "10.1.0.0/16", "", {65000, 65001}) +
                 announce(outside, "10.3.0.0/16", "", {65000, 65001}) +
                 announce(outside, "10.9.0.0/16", "", {65000, 65001}));
    ComparisonCounts const counts = station.compare();
    // The own AS in front of what an external peer gets is the router's work, not the policy's.
    EXPECT_THAT(station.notebook.notes,
                Contains("edge1 192.0.2.3 out-post: own AS 65000 stands in front of sent paths: it "
                         "is taken off"));
    EXPECT_EQ(counts.bothAccept, 3);
    EXPECT_EQ(counts.bothReject, 1);
    EXPECT_EQ(counts.of(CompareKind::verdict), 2);
    EXPECT_EQ(counts.withoutBefore, 1);
    EXPECT_EQ(counts.all(), 7);
}

TEST(LocRib, ThoseOfVrfsAreToldApartByTheDistinguisher) {
    LiveSettings settings = sending();
    settings.vrfs = {{"65000:7", 7}, {"blue", 8}};
    TestStation station(TestStation::acceptAll, settings);
    constexpr U64 red = U64{65000} << 32 | 7;
    constexpr U64 blue = U64{1} << 48 | U64{0xc0000201} << 16 | 8;
    auto const in = [](PeerSpec spec, U64 distinguisher) {
        spec.distinguisher = distinguisher;
        spec.type = spec.type == 3 ? 3 : 1;
        return spec;
    };
    station.hear(initiation("edge1") + peerUp(in(loc, blue), {}, {}, tlv(3, "blue")) +
                 peerUp(in(inside, red)) + announce(in(loc, red), "10.1.0.0/16") +
                 announce(in(loc, blue), "10.2.0.0/16") + announce(in(loc, blue), "10.3.0.0/16") +
                 announce(in(inside, red), "10.1.0.0/16"));
    std::vector<String> seen;
    for (auto const & [key, peer] : station.router().peers()) {
        RibState const * const table = peer.table(Rib::loc);
        seen.push_back(peer.vrf() + ' ' + std::to_string(peer.vrfId) + ' ' +
                       std::to_string(table != nullptr ? table->routes.size() : 0));
    }
    EXPECT_THAT(seen, ElementsAre("65000:7 7 0", "65000:7 7 1", "blue 8 2"));
    ComparisonCounts const counts = station.compare();
    EXPECT_EQ(counts.bothAccept, 1);
    EXPECT_EQ(counts.notSent, 2) << "of the other one no peer shows what is sent";
    EXPECT_EQ(counts.all(), 3);
    EXPECT_EQ(distinguisherText(blue), "192.0.2.1:8");
    EXPECT_EQ(distinguisherText(U64{2} << 48 | U64{4200000000} << 16 | 9), "4200000000:9");
}

TEST(LocRib, WhatIsAboutToBeSentIsComparedToo) {
    LiveSettings settings = sending();
    settings.rib = Rib::outPre;
    TestStation station(policy, settings);
    PeerSpec before = outside;
    before.flags = outFlag;
    String bytes = initiation("edge1") + peerUp(outside);
    for (U32 i = 0; i < 3; ++i) {
        String const p = "10." + std::to_string(i) + ".0.0/16";
        bytes += announce(before, p) + announce(outside, p, "", {65000, 65001});
    }
    station.hear(bytes);
    EXPECT_EQ(station.compare().bothAccept, 3);
}

} // namespace
} // namespace Qcf::Live::test
