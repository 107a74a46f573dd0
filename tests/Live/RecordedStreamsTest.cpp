#include "tests/Live/LiveTools.h"

#include <algorithm>

#include <gmock/gmock.h>

/// What two routers really send, a test a peculiarity, each on the stream where it was seen.
namespace Qcf::Live::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

constexpr char const * frr = "lab-frr";
constexpr char const * gobgp = "GoBGP";

/// A station that has read a stream with the policy of its router.
struct Replayed : TestStation {
    explicit Replayed(String const & stream)
        : TestStation(streamPolicy(stream.starts_with("frr") ? "frr.qcf" : "gobgp.qcf")),
          router(stream.starts_with("frr") ? frr : gobgp) {
        EXPECT_TRUE(replayFile(streamFile(stream + ".bmp.gz")));
    }
    RibState & rib(String const & address, Rib of) { return *peer(address, router).table(of); }
    std::vector<String> routes(String const & address, Rib of) {
        return table(address, of, router);
    }

    String router;
};

TEST(RecordedStreams, ShowTheTablesThatTheRouterHas) {
    struct Case {
        char const * stream;
        char const * peer;
        std::array<std::size_t, 3> routes; ///< in-pre, in-post, loc
    };
    Case const cases[] = {
        {"frr_live", "127.0.0.11", {192, 191, 0}},   {"frr_live", "127.0.0.13", {189, 188, 0}},
        {"frr_live", "127.0.0.14", {191, 191, 0}},   {"frr_sync", "127.0.0.11", {199, 191, 0}},
        {"frr_sync", "127.0.0.13", {197, 188, 0}},   {"frr_sync", "127.0.0.14", {200, 191, 0}},
        {"gobgp_live", "127.0.0.11", {200, 191, 0}}, {"gobgp_live", "127.0.0.13", {200, 190, 0}},
        {"gobgp_live", "127.0.0.14", {200, 192, 0}}, {"gobgp_live", "0.0.0.0", {0, 0, 448}},
        {"gobgp_sync", "127.0.0.13", {200, 190, 0}}, {"gobgp_sync", "0.0.0.0", {0, 0, 448}},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(String(c.stream) + " " + c.peer);
        Replayed station(c.stream);
        for (Rib const rib : {Rib::inPre, Rib::inPost, Rib::loc}) {
            EXPECT_EQ(station.routes(c.peer, rib).size(), c.routes[static_cast<U8>(rib)]);
        }
        EXPECT_EQ(station.routers.router(station.router).damaged(), 0);
    }
}

TEST(RecordedStreams, ThePolicyDoesWhatTheRouterDid) {
    struct Case {
        char const * stream;
        U64 bothAccept;
        U64 bothReject;
        U64 doubtful;
    };
    Case const cases[] = {{"frr_live", 570, 2, 0},
                          {"frr_sync", 569, 26, 1},
                          {"gobgp_live", 573, 27, 0},
                          {"gobgp_sync", 573, 27, 0}};
    for (Case const & c : cases) {
        SCOPED_TRACE(c.stream);
        Replayed station(c.stream);
        ComparisonCounts const counts = station.compare();
        EXPECT_EQ(counts.bothAccept, c.bothAccept);
        EXPECT_EQ(counts.bothReject, c.bothReject);
        EXPECT_EQ(counts.of(CompareKind::doubtful), c.doubtful);
        EXPECT_EQ(counts.compared(), c.bothAccept + c.bothReject + c.doubtful);
        EXPECT_EQ(counts.of(CompareKind::notCompared), 0);
        EXPECT_EQ(counts.failures(), 0);
    }
}

TEST(RecordedStreams, WithdrawalsComeInsteadOfRejectedRoutes) {
    Replayed station("frr_live");
    RibState const & first = station.rib("127.0.0.11", Rib::inPre);
    EXPECT_EQ(first.announced, 197);
    EXPECT_EQ(first.withdrawn, 13);
    EXPECT_EQ(first.withdrawnUnheld, 8);
    RibState const & internal = station.rib("127.0.0.14", Rib::inPre);
    EXPECT_EQ(internal.withdrawnUnheld, 9);
    EXPECT_THAT(Board::of(station.routers, {}).advice(),
                Contains(testing::Field(&std::pair<Where, String>::second,
                                        HasSubstr("withdrawn that were never shown"))));
}

TEST(RecordedStreams, WithoutRoutesBeforePolicyNothingIsClaimed) {
    Replayed station("frr_without_before");
    for (char const * const peer : {"127.0.0.11", "127.0.0.12", "127.0.0.14"}) {
        EXPECT_EQ(station.rib(peer, Rib::inPre).withdrawnUnheld, 200);
        EXPECT_THAT(station.routes(peer, Rib::inPre), IsEmpty());
        EXPECT_EQ(station.routes(peer, Rib::inPost).size(), 191);
    }
    ComparisonCounts const counts = station.compare();
    EXPECT_EQ(counts.compared(), 0);
    EXPECT_EQ(counts.withoutBefore, 761);
    EXPECT_EQ(counts.failures(), 0);
    auto const advice = Board::of(station.routers, {}).advice();
    ASSERT_EQ(advice.size(), 1);
    EXPECT_THAT(advice[0].second, AllOf(HasSubstr("soft-reconfiguration"), HasSubstr("4 peers")));
}

TEST(RecordedStreams, NegotiatedIdentifiersAreMissing) {
    for (char const * const stream : {"frr_live", "frr_sync", "gobgp_live", "gobgp_sync"}) {
        SCOPED_TRACE(stream);
        Replayed station(stream);
        String const text = ": path identifiers were negotiated, none are sent";
        EXPECT_THAT(station.notebook.notes,
                    IsSupersetOf({station.router + " 127.0.0.13 in-pre" + text,
                                  station.router + " 127.0.0.13 in-post" + text}));
        EXPECT_EQ(std::ranges::count_if(station.notebook.notes,
                                        [&](String const & note) { return note.ends_with(text); }),
                  2);
    }
}

TEST(RecordedStreams, PathsOfTwoByteSessionsAreRead) {
    Replayed station("frr_live");
    String const text = ": AS numbers have two bytes, four are declared";
    EXPECT_THAT(station.notebook.notes, IsSupersetOf({frr + (" 127.0.0.12 in-pre" + text),
                                                      frr + (" 127.0.0.12 in-post" + text)}));
    // Its session went down at the end. Before policy there were withdrawals alone, without paths.
    Replayed without("frr_without_before");
    EXPECT_THAT(without.notebook.notes, Contains(frr + (" 127.0.0.12 in-post" + text)));
    EXPECT_THAT(without.notebook.notes, Not(Contains(frr + (" 127.0.0.12 in-pre" + text))));
    for (String const & route : without.routes("127.0.0.12", Rib::inPost)) {
        EXPECT_THAT(route, Not(HasSubstr("23456"))) << "AS4_PATH stands beside it";
    }
    Replayed other("gobgp_live");
    EXPECT_THAT(other.notebook.notes, Not(Contains(HasSubstr("AS numbers"))));
}

TEST(RecordedStreams, TheOwnAsInFrontIsTakenOff) {
    Replayed station("frr_live");
    String const text = ": own AS 65000 stands in front of received paths: it is taken off";
    for (char const * const peer : {"127.0.0.11", "127.0.0.12", "127.0.0.13"}) {
        EXPECT_THAT(station.notebook.notes, Contains(String(frr) + " " + peer + text));
    }
    EXPECT_THAT(station.routes("127.0.0.11", Rib::inPre), testing::Each(HasSubstr(" path[64496")));
    // An internal peer's paths are as it sent them.
    EXPECT_THAT(station.notebook.notes, Not(Contains(String(frr) + " 127.0.0.14" + text)));
    Replayed other("gobgp_sync");
    EXPECT_THAT(other.notebook.notes, Not(Contains(HasSubstr("own AS"))));
}

TEST(RecordedStreams, LocalPreferenceIsShownBySomeTables) {
    struct Case {
        char const * stream;
        char const * peer;
        U64 withLocalPref;
    };
    Case const cases[] = {{"frr_sync", "127.0.0.11", 0},
                          {"frr_sync", "127.0.0.14", 191},
                          {"gobgp_sync", "127.0.0.11", 4},
                          {"gobgp_sync", "127.0.0.14", 192}};
    for (Case const & c : cases) {
        Replayed station(c.stream);
        EXPECT_EQ(station.rib(c.peer, Rib::inPost).withLocalPref, c.withLocalPref);
    }
    ComparisonCounts const counts = Replayed("frr_sync").compare();
    EXPECT_EQ(counts.preferenceNotShown, 378);
    EXPECT_EQ(counts.preferenceWanted, 77);
    EXPECT_EQ(Replayed("gobgp_sync").compare().preferenceNotShown, 0);
}

TEST(RecordedStreams, ALocRibNeedsNoPeerUp) {
    Replayed station("gobgp_sync");
    EXPECT_TRUE(station.peer("0.0.0.0", gobgp).isAssumed);
    EXPECT_THAT(station.notebook.notes,
                Contains("GoBGP 0.0.0.0 loc: routes come without a Peer Up message before them"));
}

TEST(RecordedStreams, TablesAreCompleteWhereTheRouterSaysSo) {
    EXPECT_THAT(Replayed("frr_live").notebook.syncs, IsEmpty());
    EXPECT_THAT(Replayed("frr_sync").notebook.syncs,
                IsSupersetOf({"lab-frr 127.0.0.11 in-pre v4 177", "lab-frr 127.0.0.11 in-pre v6 22",
                              "lab-frr 127.0.0.11 in-post v4 169"}));
    EXPECT_EQ(Replayed("frr_sync").notebook.syncs.size(), 12);
    EXPECT_EQ(Replayed("gobgp_sync").notebook.syncs.size(), 12);
    EXPECT_THAT(Replayed("gobgp_sync").notebook.syncs, Not(Contains(HasSubstr("loc"))));
}

TEST(RecordedStreams, PeersThatNeverWereUpDoNotGoDown) {
    EXPECT_THAT(Replayed("frr_live").notebook.peers,
                ElementsAre("lab-frr 127.0.0.14 up", "lab-frr 127.0.0.11 up",
                            "lab-frr 127.0.0.13 up", "lab-frr 127.0.0.12 up",
                            "lab-frr 127.0.0.12 down 3"));
}

TEST(RecordedStreams, StatisticsAreCountedAndNotBelieved) {
    Replayed station("frr_live");
    LiveRouter & router = station.routers.router(frr);
    EXPECT_EQ(router.messages()[static_cast<U8>(BmpType::statistics)], 8);
    EXPECT_EQ(router.messages()[static_cast<U8>(BmpType::routeMonitoring)], 1628);
    EXPECT_EQ(router.description(), "FRRouting 8.4.4");
}

// The second connection brings what the router holds by then.
TEST(RecordedStreams, AReconnectEndsInTheTablesOfTheLastConnection) {
    Replayed station("frr_live");
    station.routers.router(frr).lost(true);
    EXPECT_TRUE(station.rib("127.0.0.11", Rib::inPre).stale);
    EXPECT_TRUE(station.replayFile(streamFile("frr_sync.bmp.gz")));
    Replayed alone("frr_sync");
    for (char const * const peer : {"127.0.0.11", "127.0.0.13", "127.0.0.14"}) {
        for (Rib const rib : {Rib::inPre, Rib::inPost}) {
            EXPECT_EQ(station.routes(peer, rib), alone.routes(peer, rib)) << peer;
            EXPECT_FALSE(station.rib(peer, rib).stale);
        }
    }
    EXPECT_EQ(station.routers.routes(), alone.routers.routes());
    EXPECT_EQ(station.compare().bothAccept, 569);
}

} // namespace
} // namespace Qcf::Live::test
