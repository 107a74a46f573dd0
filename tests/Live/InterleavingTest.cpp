#include "Live/PolicySwap.h"
#include "tests/Live/LiveTools.h"

#include <map>
#include <random>

#include <gtest/gtest.h>

namespace Qcf::Live::test {
namespace {

constexpr char const * policy = R"(
function "import"() {
  if med < 20 { return false }
  if med > 60 { community add { 65000:1 } }
  return true
}
)";
constexpr char const * another = R"(
function "import"() {
  if med > 50 { return false }
  return med > 10
}
)";
constexpr U32 peers = 3;
constexpr std::array<Rib, 2> tables = {Rib::inPre, Rib::inPost};

PeerSpec specOf(U32 peer, Rib rib = Rib::inPre) {
    return {.flags = rib == Rib::inPost ? postFlag : U8{0},
            .address = "192.0.2." + std::to_string(peer + 1)};
}
String prefixOf(U32 n) { return "10." + std::to_string(n) + ".0.0/16"; }

/// A router as it is: which peers are up, and the MED of each route.
struct Model {
    std::array<bool, peers> isUp{};
    std::array<std::array<std::map<U32, U32>, 2>, peers> routes;

    /// What it sends over a new connection.
    String all() const {
        String bytes = initiation("edge1");
        for (U32 peer = 0; peer < peers; ++peer) {
            if (!isUp[peer]) {
                continue;
            }
            bytes += peerUp(specOf(peer));
            for (std::size_t i = 0; i < tables.size(); ++i) {
                for (auto const & [number, med] : routes[peer][i]) {
                    bytes += announce(specOf(peer, tables[i]), prefixOf(number), medAttribute(med));
                }
                bytes += endOfRib(specOf(peer, tables[i]));
            }
        }
        return bytes;
    }
};

/// Does something random to the router; answers what it sends then.
String step(Model & model, std::mt19937 & random) {
    U32 const peer = static_cast<U32>(random() % peers);
    std::size_t const table = random() % tables.size();
    U32 const number = static_cast<U32>(random() % 40);
    if (!model.isUp[peer]) {
        model.isUp[peer] = true;
        return peerUp(specOf(peer)) + endOfRib(specOf(peer, tables[0])) +
               endOfRib(specOf(peer, tables[1]));
    }
    U32 const action = static_cast<U32>(random() % 50);
    auto & routes = model.routes[peer][table];
    if (action == 0) {
        model.isUp[peer] = false;
        model.routes[peer] = {};
        return peerDown(specOf(peer));
    }
    if (action < 15) {
        routes.erase(number);
        return withdraw(specOf(peer, tables[table]), prefixOf(number));
    }
    U32 const med = static_cast<U32>(random() % 80);
    routes[number] = med;
    return announce(specOf(peer, tables[table]), prefixOf(number), medAttribute(med));
}

/// All that is shown of a station that holds what the router does.
String shown(TestStation & station, Model const & model) {
    String text;
    for (U32 peer = 0; peer < peers; ++peer) {
        if (!model.isUp[peer]) {
            continue;
        }
        String const address = specOf(peer).address;
        for (Rib const rib : tables) {
            for (String const & line : station.table(address, rib)) {
                text += String(ribName(rib)) + ' ' + line + '\n';
            }
        }
    }
    return text + Board::of(station.routers, {}).summary();
}

/// A station whose time passes, with a comparison that runs meanwhile.
class RunningStation : public TestStation {
public:
    RunningStation() : TestStation(policy), comparison(routers, {}, {}) {}

    void timePasses(U32 milliseconds) {
        now_ += std::chrono::milliseconds(milliseconds);
        routers.nowIs(now_);
        router().timePasses();
        comparison.step(std::chrono::steady_clock::now() + std::chrono::microseconds(50));
    }
    /// Until all is compared.
    ComparisonCounts atLast() {
        timePasses(10'000);
        while (comparison.step(std::chrono::steady_clock::now() + std::chrono::seconds(1))) {
        }
        return Board::shown(routers, comparison).total();
    }

    RunningComparison comparison;

private:
    std::chrono::milliseconds now_{1};
};

// Whatever happened on the way, what is held is what the router holds.
TEST(Interleavings, EndInTheTablesOfTheLastState) {
    for (U32 seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        Model model;
        RunningStation station;
        station.hear(initiation("edge1"));
        std::array const policies = {station.read(another), station.read(policy)};
        PolicySwap swap(station.routers, 1 + seed % 2);
        // A piece of a swap, and now and then the beginning of one.
        auto const swapOn = [&] {
            if (random() % 40 == 0) {
                swap.begin(policies[random() % policies.size()]);
            }
            if (swap.step({})) {
                station.comparison.restart();
            }
        };
        for (U32 round = 0; round < 6; ++round) {
            for (U32 i = 0; i < 150; ++i) {
                station.hearMore(step(model, random));
                station.timePasses(static_cast<U32>(random() % (i % 50 == 0 ? 7000 : 100)));
                swapOn();
            }
            if (random() % 2 == 0) {
                station.timePasses(6000);
            }
            if (round < 5 && random() % 3 != 0) {
                station.lose();
                // What happens while nobody listens is seen in the next tables alone.
                for (U32 i = 0; i < 30; ++i) {
                    step(model, random);
                    station.timePasses(static_cast<U32>(random() % 100));
                }
                station.hear(model.all());
            }
        }
        swap.begin(policies.back());
        while (!swap.step({})) {
        }
        station.comparison.restart();
        ComparisonCounts const compared = station.atLast();
        EXPECT_EQ(compared.kinds, station.compare().kinds);
        EXPECT_EQ(compared.bothReject, station.compare().bothReject);
        EXPECT_EQ(compared.inStale + compared.inUnsettled + compared.young, 0U);
        TestStation fresh(policy);
        fresh.hear(model.all());
        // Withdrawals are counted as they come, and a fresh station hears none.
        auto const withoutWithdrawals = [](String text) {
            auto const at = text.find("withdrawals of routes not held");
            return at == String::npos ? text : text.erase(at, text.find('\n', at) + 1 - at);
        };
        for (U32 peer = 0; peer < peers; ++peer) {
            if (!model.isUp[peer]) {
                continue;
            }
            String const address = specOf(peer).address;
            EXPECT_EQ(station.peer(address).table(Rib::inPre)->shown,
                      fresh.peer(address).table(Rib::inPre)->shown);
        }
        EXPECT_EQ(station.routers.routes(), fresh.routers.routes());
        EXPECT_EQ(station.routers.counts(), fresh.routers.counts());
        EXPECT_EQ(withoutWithdrawals(shown(station, model)),
                  withoutWithdrawals(shown(fresh, model)));
    }
}

} // namespace
} // namespace Qcf::Live::test
