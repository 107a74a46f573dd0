#include "Live/LateEvaluation.h"

#include "Live/PolicySwap.h"
#include "tests/Live/LiveTools.h"

#include <gtest/gtest.h>

namespace Qcf::Live::test {
namespace {

constexpr char const * policy = R"(
function "import"() {
  if as_path.length > 2 { return false }
  return true
}
)";
constexpr char const * newer = R"(
function "import"() { if as_path.length > 1 { return false } return true }
)";
constexpr StationTask::Deadline past{};
PeerSpec const peer;

String prefixOf(U32 number) {
    return "10." + std::to_string(number / 256) + '.' + std::to_string(number % 256) + ".0/24";
}

/// Most paths begin with the router's own AS, which shows with the 2,048th alone.
String paths() {
    String bytes = initiation("edge1") + peerUp(peer);
    for (U32 i = 0; i < 2048; ++i) {
        bytes += i < 1000 ? announce(peer, prefixOf(i), {}, {65001, 65002})
                          : announce(peer, prefixOf(i), {}, {65000, 65001, 65002});
    }
    return bytes;
}

/// What comes and goes while it is evaluated.
String changes(U32 round) {
    return withdraw(peer, prefixOf(round * 7)) + withdraw(peer, prefixOf(2047 - round)) +
           announce(peer, prefixOf(3000 + round), {}, {65000, 65001, 65002});
}

TEST(LateEvaluation, IsMadeInSlicesAndComesToTheSame) {
    TestStation atOnce(policy);
    atOnce.hear(paths());
    EXPECT_EQ(atOnce.routers.counts().of(Verdict::accepted), 2048);

    TestStation station(policy);
    LateEvaluation late(station.routers);
    station.hear(paths());
    EXPECT_EQ(station.routers.counts().of(Verdict::accepted), 1000) << "nothing is evaluated anew";
    U32 rounds = 0;
    for (bool hasMore = true; hasMore; ++rounds) {
        U64 const before = station.routers.counts().of(Verdict::accepted);
        hasMore = late.step(past);
        EXPECT_LE(station.routers.counts().of(Verdict::accepted) - before, 64);
        atOnce.hearMore(changes(rounds));
        station.hearMore(changes(rounds));
        EXPECT_EQ(station.routers.routes(), atOnce.routers.routes());
    }
    EXPECT_GT(rounds, 20);
    EXPECT_EQ(station.routers.counts(), atOnce.routers.counts());
    EXPECT_FALSE(late.step(past));
}

TEST(LateEvaluation, GoesBeforeAnotherPolicy) {
    TestStation station(policy);
    LateEvaluation late(station.routers);
    station.hear(paths());
    PolicySwap swap(station.routers, 1);
    swap.begin(station.read(newer));
    std::optional<PolicyChange> change;
    for (U32 steps = 0; !change && steps < 1000; ++steps) {
        change = swap.step(past);
    }
    ASSERT_TRUE(change);
    EXPECT_EQ(change->changes.byVerdicts[static_cast<U8>(Verdict::accepted)]
                                        [static_cast<U8>(Verdict::rejected)],
              2048);
    EXPECT_EQ(station.routers.counts().of(Verdict::rejected), 2048);
}

// A table may go while it waits, and what is shown at the end is evaluated.
TEST(LateEvaluation, EndsWithItsTableAndBeforeTheBoard) {
    TestStation station(policy);
    LateEvaluation late(station.routers);
    station.hear(paths());
    EXPECT_TRUE(late.step(past));
    station.hearMore(peerDown(peer));
    EXPECT_FALSE(late.step(past));
    station.hear(paths());
    Board::of(station.routers, {});
    EXPECT_EQ(station.routers.counts().of(Verdict::accepted), 2048);
}

} // namespace
} // namespace Qcf::Live::test
