#include "tests/Live/LiveTools.h"

#include <gmock/gmock.h>

namespace Qcf::Live::test {
namespace {

PeerSpec const before;
PeerSpec const after{.flags = postFlag};

constexpr char const * policy = R"(
function "import"() {
  if med is 13 { return false }
  if med is 14 { local_preference = 200 }
  community add { 65000:1 }
  if not med is 15 { return true }
}
)";

String communities(std::initializer_list<U32> values) {
    String bytes;
    for (U32 const value : values) {
        bytes += u32(value);
    }
    return attribute(8, bytes);
}
constexpr U32 own = 65000U << 16 | 1;
constexpr U32 blackhole = 0xffff029a;
constexpr U32 noExport = 0xffffff01;

String head(OpenSpec const & sent = {}, OpenSpec const & received = {65001}) {
    return initiation("edge1") + peerUp(before, sent, received);
}

TEST(Comparison, TellsEachKindOfDifference) {
    struct Case {
        char const * what;
        String before; ///< attributes beside the plain ones
        std::optional<String> after;
        CompareKind kind;
        std::vector<ComparedAttribute> differing = {};
    };
    using enum CompareKind;
    String const marked = communities({own});
    Case const cases[] = {
        {"as the engine has it", "", marked, equal},
        {"both reject", medAttribute(13), std::nullopt, equal},
        {"no MED is 0", medAttribute(0), marked, equal},
        {"sets have no order", communities({7, 9}), communities({9, own, 7, 9}), equal},
        {"the end is reached", medAttribute(15), marked, unknown},
        {"the router lacks it", "", std::nullopt, verdict},
        {"the router has it", medAttribute(13), medAttribute(13) + marked, verdict},
        {"another community", "", "", attributes, {ComparedAttribute::community}},
        {"MED and communities",
         "",
         medAttribute(3),
         attributes,
         {ComparedAttribute::med, ComparedAttribute::community}},
        {"blackhole",
         communities({blackhole}),
         communities({own, blackhole, noExport}),
         known,
         {ComparedAttribute::community}},
        {"no blackhole",
         "",
         communities({own, noExport}),
         attributes,
         {ComparedAttribute::community}},
        {"blackhole that lost a mark",
         communities({blackhole}),
         communities({blackhole, noExport}),
         attributes,
         {ComparedAttribute::community}},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        TestStation station(policy);
        station.hear(head() + announce(before, "10.1.0.0/16", c.before) + endOfRib(after) +
                     (c.after ? announce(after, "10.1.0.0/16", *c.after) : String()));
        ComparisonCounts const counts = station.compare();
        EXPECT_EQ(counts.of(c.kind), 1);
        EXPECT_EQ(counts.all(), 1);
        EXPECT_EQ(counts.failures(), c.kind == equal ? 0 : 1);
        for (U8 i = 0; i < comparedAttributes; ++i) {
            bool const differs = std::ranges::count(c.differing, ComparedAttribute{i}) > 0;
            EXPECT_EQ(counts.differing[i][static_cast<U8>(c.kind)], differs ? 1 : 0) << int(i);
        }
        ComparisonCounts const tolerated = station.compare({.blackholeNoExport = true});
        EXPECT_EQ(tolerated.failures(), c.kind == equal || c.kind == known ? 0 : 1);
    }
}

TEST(Comparison, SetsInPathsHaveNoOrder) {
    TestStation station;
    auto const path = [](std::initializer_list<U32> set) {
        return attribute(1, u8(0)) + attribute(2, segment(2, {65001}, 4) + segment(1, set, 4)) +
               attribute(3, address("192.0.2.1"));
    };
    String const p = prefix("10.1.0.0/16");
    station.hear(head() + monitoring(before, update("", path({7, 8, 9}), p)) +
                 monitoring(after, update("", path({9, 7, 8}), p)));
    EXPECT_EQ(station.compare().bothAccept, 1);
    station.hearMore(monitoring(after, update("", path({9, 7}), p)));
    EXPECT_EQ(station.compare().of(CompareKind::attributes), 1);
}

TEST(Comparison, LocalPreferenceCountsWhereSomeRouteShowsIt) {
    TestStation station(policy);
    String const marked = communities({own});
    station.hear(head() + announce(before, "10.1.0.0/16", medAttribute(14)) +
                 announce(after, "10.1.0.0/16", medAttribute(14) + marked));
    ComparisonCounts counts = station.compare();
    EXPECT_EQ(counts.bothAccept, 1);
    EXPECT_EQ(counts.preferenceNotShown, 1);
    EXPECT_EQ(counts.preferenceWanted, 1);
    // Another route has one: absent means 100 from then on.
    station.hearMore(announce(before, "10.2.0.0/16") +
                     announce(after, "10.2.0.0/16", attribute(5, u32(100)) + marked));
    station.settle();
    counts = station.compare();
    EXPECT_EQ(counts.bothAccept, 1);
    EXPECT_EQ(counts.of(CompareKind::attributes), 1);
    EXPECT_EQ(counts.preferenceNotShown, 0);
    EXPECT_EQ(station.compare({.localPreference = true}).failures(), 0);
    EXPECT_EQ(station.compare({.nextHop = true}).failures(), 1);
}

TEST(Comparison, WhatCannotBePairedIsNotCompared) {
    TestStation station;
    station.hear(head() + announce(before, "10.1.0.0/16"));
    EXPECT_EQ(station.compare().notSent, 1) << "there is no table behind the policy";
    station.hearMore(announce(after, "10.2.0.0/16"));
    station.settle();
    ComparisonCounts const counts = station.compare();
    EXPECT_EQ(counts.withoutBefore, 1);
    EXPECT_EQ(counts.of(CompareKind::verdict), 1);
    EXPECT_EQ(counts.compared(), 1);
}

TEST(Comparison, DifferencesOfTablesThatAreNotToBeTrustedAreDoubtful) {
    TestStation station;
    station.hear(head() + announce(before, "10.1.0.0/16") + endOfRib(after));
    EXPECT_EQ(station.compare().of(CompareKind::verdict), 1);
    station.lose();
    ComparisonCounts const stale = station.compare();
    EXPECT_EQ(stale.of(CompareKind::doubtful), 1);
    EXPECT_EQ(stale.doubtfulVerdicts, 1);
    EXPECT_EQ(stale.failures(), 0);
    station.hear(head() + announce(before, "10.1.0.0/16") + endOfRib(after));
    station.hearMore(monitoring(after, update(u8(99), "", "")));
    EXPECT_EQ(station.compare().of(CompareKind::doubtful), 1) << "a message was lost";
}

/// Identifiers before policy, none behind it: some routers do so although both were negotiated.
String paths(PeerSpec const & table, bool ids, U32 count, U32 pathsOfFirst) {
    String bytes;
    for (U32 i = 0; i < count; ++i) {
        for (U32 path = 1; path <= (i < 2 && ids ? pathsOfFirst : 1); ++path) {
            String const p = prefix("10." + std::to_string(i) + ".0.0/16");
            bytes += monitoring(table, update("", plainAttributes({65001, path}),
                                              (ids ? u32(path) : String()) + p));
        }
    }
    return bytes;
}

TEST(Comparison, SeveralPathsAreToldApartByTheirIdentifiersAlone) {
    OpenSpec const receives{.as = 65000, .addPath4 = 1};
    OpenSpec const sends{.as = 65001, .addPath4 = 2};
    {
        TestStation station;
        station.hear(head(receives, sends) + paths(before, true, 20, 2) +
                     paths(after, false, 20, 1));
        EXPECT_THAT(station.notebook.notes,
                    testing::ElementsAre("edge1 192.0.2.1 in-post: path identifiers were "
                                         "negotiated, none are sent"));
        ComparisonCounts const counts = station.compare();
        EXPECT_EQ(counts.bothAccept, 18);
        EXPECT_EQ(counts.severalPaths, 4);
    }
    TestStation both;
    both.hear(head(receives, sends) + paths(before, true, 20, 2) + paths(after, true, 20, 2));
    EXPECT_THAT(both.notebook.notes, testing::IsEmpty());
    EXPECT_EQ(both.compare().bothAccept, 22);
    EXPECT_EQ(both.table("192.0.2.1", Rib::inPre)[1].substr(0, 14), "2 10.0.0.0/16 ");
}

} // namespace
} // namespace Qcf::Live::test
