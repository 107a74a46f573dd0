#include "Live/PolicySwap.h"

#include "Live/TopDeciding.h"
#include "tests/Live/LiveTools.h"

#include <gmock/gmock.h>

namespace Qcf::Live::test {
namespace {

using testing::ElementsAre;

constexpr PolicySwap::Clock::time_point never = PolicySwap::Clock::time_point::max();

constexpr char const * older = R"(
function "late"() { return false }
function "import"() {
  if med < 20 { return false }
  if med is 30 { return "late"() }
  if med > 60 { community add { 65000:1 } }
  return true
}
)";
constexpr char const * newer = R"(
function "import"() {
  if med < 30 { return false }
  if med > 50 { community add { 65000:1 } }
  return true
}
)";

PeerSpec const peer;

String routesOf(U32 first, U32 count) {
    String bytes;
    for (U32 i = first; i < first + count; ++i) {
        bytes += announce(peer,
                          "10." + std::to_string(i / 256) + '.' + std::to_string(i % 256) + ".0/24",
                          medAttribute(i % 80));
    }
    return bytes;
}

std::vector<std::pair<U64, String>> deciding(TestStation & station) {
    std::vector<std::pair<U64, String>> rows;
    for (DecidedShare const & share :
         topDeciding(station.routers.policy(), station.routers.counts().decided, 10)) {
        rows.emplace_back(share.routes,
                          share.statement == nullptr ? "?" : share.statement->within->funcName());
    }
    return rows;
}

PolicyChange finish(PolicySwap & swap, PolicySwap::Clock::time_point deadline = never) {
    for (U32 steps = 0; steps < 100'000; ++steps) {
        if (auto change = swap.step(deadline)) {
            return *change;
        }
    }
    ADD_FAILURE() << "no end";
    return {};
}

TEST(DecidedBy, GoesUpAndDownWithTheRoutes) {
    TestStation station(older);
    station.hear(initiation("edge1") + peerUp(peer) + routesOf(0, 80));
    // The innermost statement counts.
    EXPECT_THAT(deciding(station), ElementsAre(std::pair(59, "import"), std::pair(20, "import"),
                                               std::pair(1, "late")));
    station.hearMore(withdraw(peer, "10.0.30.0/24") +
                     announce(peer, "10.0.0.0/24", medAttribute(70)));
    EXPECT_THAT(deciding(station), ElementsAre(std::pair(60, "import"), std::pair(19, "import")));
    station.hearMore(peerDown(peer));
    EXPECT_TRUE(deciding(station).empty());
}

TEST(PolicySwap, TellsWhatItChanges) {
    for (U32 const threads : {1U, 3U}) {
        TestStation station(older);
        station.hear(initiation("edge1") + peerUp(peer) + routesOf(0, 800));
        PolicySwap swap(station.routers, threads);
        EXPECT_FALSE(swap.step(never));
        swap.begin(station.read(newer));
        PolicyChange const change = finish(swap);
        EXPECT_EQ(change.routes, 800);
        auto const of = [&](Verdict before, Verdict after) {
            return change.changes.byVerdicts[static_cast<U8>(before)][static_cast<U8>(after)];
        };
        EXPECT_EQ(of(Verdict::accepted, Verdict::rejected), 100);
        EXPECT_EQ(of(Verdict::rejected, Verdict::accepted), 10);
        EXPECT_EQ(of(Verdict::rejected, Verdict::rejected), 200);
        EXPECT_EQ(of(Verdict::accepted, Verdict::accepted), 490);
        EXPECT_EQ(change.changes.writesOther, 100);
        EXPECT_THAT(deciding(station),
                    ElementsAre(std::pair(500, "import"), std::pair(300, "import")));
        // And back again, which no outcome of before disturbs.
        swap.begin(change.from);
        EXPECT_EQ(finish(swap).changes.writesOther, 100);
        EXPECT_THAT(
            deciding(station),
            ElementsAre(std::pair(590, "import"), std::pair(200, "import"), std::pair(10, "late")));
    }
}

TEST(PolicySwap, ShowsOnePolicyUntilTheLastSlice) {
    TestStation station(older);
    station.hear(initiation("edge1") + peerUp(peer) + routesOf(0, 25'000));
    TestStation fresh(newer);
    fresh.hear(initiation("edge1") + peerUp(peer) + routesOf(0, 25'000));
    PolicyCounts const before = station.routers.counts();
    PolicySwap swap(station.routers, 1);
    swap.begin(station.read(newer));
    for (U32 slices = 0; slices < 2; ++slices) {
        EXPECT_FALSE(swap.step(never));
        EXPECT_EQ(station.routers.counts(), before);
        // What comes and goes again leaves nothing behind.
        station.hearMore(routesOf(40'000, 300));
        for (U32 i = 40'000; i < 40'300; ++i) {
            station.hearMore(withdraw(peer, "10." + std::to_string(i / 256) + '.' +
                                                std::to_string(i % 256) + ".0/24"));
        }
        EXPECT_EQ(station.routers.counts(), before);
    }
    EXPECT_EQ(finish(swap).changes.routes(), 25'000);
    EXPECT_EQ(station.routers.counts().byVerdict, fresh.routers.counts().byVerdict);
    // One that comes while another one is on its way takes its place.
    swap.begin(station.read("function \"import\"() { return unknown }"));
    EXPECT_FALSE(swap.step(PolicySwap::Clock::now()));
    swap.begin(station.read(older));
    finish(swap);
    EXPECT_EQ(station.routers.counts().byVerdict, before.byVerdict);
}

TEST(PolicySwap, AStepEndsAtItsDeadline) {
    TestStation station(older);
    station.hear(initiation("edge1") + peerUp(peer) + routesOf(0, 10'000));
    PolicySwap swap(station.routers, 1);
    swap.begin(station.read(newer));
    // In the past: a few routes each.
    U32 steps = 1;
    while (!swap.step(PolicySwap::Clock::time_point())) {
        ++steps;
    }
    EXPECT_GT(steps, 100);
}

} // namespace
} // namespace Qcf::Live::test
