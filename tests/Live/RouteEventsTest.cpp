#include "Live/DifferenceMemory.h"
#include "Live/LiveEvents.h"
#include "tests/Live/LiveTools.h"

#include <map>
#include <random>

#include <gmock/gmock.h>

namespace Qcf::Live::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr char const * policy = R"(
function "import"() {
  if med is 13 { return false }
  if med is 14 { med = 50 }
  if med is 15 { med = 60 }
  return true
}
)";
PeerSpec const before;
PeerSpec const after{.flags = postFlag};

/// Tells events as lines without their times.
struct Telling : TestStation {
    Telling()
        : TestStation(policy),
          lines(
              [this](std::string_view line) { said.emplace_back(line.substr(0, line.size() - 1)); },
              [] { return String("now"); }),
          events(routers, [this](RouteNews const & news) { lines.route(news, {}); }) {
        hear(initiation("edge1") + peerUp(before) + endOfRib(after));
    }
    /// What is told now.
    std::vector<String> told(std::size_t most = ~std::size_t{0}) {
        events.tell(most);
        return std::exchange(said, {});
    }
    static String line(String const & prefix, String const & rest) {
        return R"({"event":"route","time":"now","router":"edge1","peer":"192.0.2.1",)"
               R"("rib":"in-pre","prefix":")" +
               prefix + "\"," + rest + '}';
    }

    std::vector<String> said;
    LiveEvents lines;
    RouteEvents events;
};

String const accepted = R"("result":"true","decidedBy":null,"changes":{})";

TEST(RouteEvents, TellWhereVerdictOrChangesAreOthers) {
    Telling station;
    station.hearMore(announce(before, "10.1.0.0/16") +
                     announce(before, "10.2.0.0/16", medAttribute(13)) +
                     announce(after, "10.1.0.0/16"));
    station.settle();
    EXPECT_THAT(station.told(),
                ElementsAre(Telling::line("10.1.0.0/16", accepted),
                            Telling::line("10.2.0.0/16", R"("result":"false","decidedBy":null)")));
    struct Case {
        String message;
        String told; ///< empty for nothing
    };
    Case const cases[] = {
        {announce(before, "10.1.0.0/16", medAttribute(7)), ""}, // neither is another
        {announce(before, "10.1.0.0/16", medAttribute(14)),
         R"("result":"true","was":"true","decidedBy":null,"changes":{"med":50})"},
        {announce(before, "10.1.0.0/16", medAttribute(15)),
         R"("result":"true","was":"true","decidedBy":null,"changes":{"med":60})"},
        {announce(before, "10.1.0.0/16", medAttribute(13)),
         R"("result":"false","was":"true","decidedBy":null)"},
        {withdraw(before, "10.1.0.0/16"), R"("result":"none","was":"false")"},
        {withdraw(before, "10.1.0.0/16"), ""},
        {announce(before, "10.1.0.0/16"), accepted},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.told);
        station.hearMore(c.message);
        std::vector<String> wanted;
        if (!c.told.empty()) {
            wanted.push_back(Telling::line("10.1.0.0/16", c.told));
        }
        EXPECT_EQ(station.told(), wanted);
    }
}

TEST(RouteEvents, AKeyWaitsOnceAndTheStateIsTold) {
    Telling station;
    for (U32 round = 0; round < 100; ++round) {
        station.hearMore(announce(before, "10.1.0.0/16", medAttribute(round)) +
                         announce(before, "10.2.0.0/16") + withdraw(before, "10.2.0.0/16"));
    }
    station.settle();
    EXPECT_EQ(station.events.waiting(), 2);
    EXPECT_THAT(station.told(1), ElementsAre(Telling::line("10.1.0.0/16", accepted)));
    EXPECT_THAT(station.told(), IsEmpty()) << "a route that nobody heard of is gone";
}

TEST(RouteEvents, ANewConnectionTellsWhatBecameOther) {
    Telling station;
    String const all = announce(before, "10.1.0.0/16") + announce(before, "10.2.0.0/16");
    station.hearMore(all + announce(before, "10.3.0.0/16"));
    station.settle();
    EXPECT_EQ(station.told().size(), 3);
    station.lose();
    station.hear(initiation("edge1") + peerUp(before) + all +
                 announce(before, "10.2.0.0/16", medAttribute(13)));
    EXPECT_THAT(
        station.told(),
        UnorderedElementsAre(
            Telling::line("10.2.0.0/16", R"("result":"false","was":"true","decidedBy":null)"),
            Telling::line("10.3.0.0/16", R"("result":"none","was":"true")")));
}

TEST(RouteEvents, AForgottenRouterLeavesNothing) {
    Telling station;
    station.hearMore(announce(before, "10.1.0.0/16") + announce(before, "10.2.0.0/16"));
    station.settle();
    EXPECT_EQ(station.told(1).size(), 1);
    EXPECT_EQ(station.events.remembered(), 2);
    station.lose();
    station.routers.forget("edge1");
    EXPECT_EQ(station.events.waiting(), 0);
    EXPECT_EQ(station.events.remembered(), 0);
    station.hear(initiation("edge1") + peerUp(before) + announce(before, "10.1.0.0/16"));
    EXPECT_THAT(station.told(), ElementsAre(Telling::line("10.1.0.0/16", accepted)));
}

// However slowly it is listened to: in the end everything was told as it is.
TEST(RouteEvents, TheLastWordOnEachRouteIsItsState) {
    for (U32 seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        TestStation station(policy);
        std::map<String, Verdict> heard;
        RouteEvents events(station.routers, [&](RouteNews const & news) {
            EXPECT_EQ(news.was, heard[news.key.prefix.toString()]);
            heard[news.key.prefix.toString()] = news.verdict;
        });
        // What is not there has no verdict.
        for (U32 i = 0; i < 30; ++i) {
            heard["10." + std::to_string(i) + ".0.0/16"] = Verdict::none;
        }
        station.hear(initiation("edge1") + peerUp(before) + endOfRib(before));
        for (U32 i = 0; i < 400; ++i) {
            String const p = "10." + std::to_string(random() % 30) + ".0.0/16";
            station.hearMore(random() % 3 == 0
                                 ? withdraw(before, p)
                                 : announce(before, p, medAttribute(12 + random() % 4)));
            if (random() % 4 == 0) {
                events.tell(random() % 5);
            }
            EXPECT_LE(events.waiting(), 30);
        }
        station.settle();
        events.tell();
        for (auto const & [text, verdict] : heard) {
            RibState & table = *station.peer("192.0.2.1").table(Rib::inPre);
            RibRoute const * const route = table.routes.find({*IpGenPrefix::parse(text), 0});
            EXPECT_EQ(verdict, route != nullptr ? table.shownOf(*route).verdict : Verdict::none)
                << text;
        }
    }
}

TEST(DifferenceMemory, TellsBeginningChangeAndEnd) {
    Telling station;
    DifferenceMemory memory;
    bool canWrite = true;
    auto const compared = [&] {
        Board::of(
            station.routers, {},
            [&](RouteDifference const & difference) {
                if (memory.note(difference) && canWrite) {
                    station.lines.differs(difference, Rib::inPre, {});
                    memory.isTold(difference);
                }
            },
            [&](String const & router, PeerState const & of) {
                memory.passed(router, of.key, [&](Agent::UpdatePrefix const & key) {
                    if (canWrite) {
                        station.lines.agrees({router, of.key.address, Rib::inPre}, key);
                    }
                    return canWrite;
                });
            });
        std::vector<String> kinds;
        for (String const & line : std::exchange(station.said, {})) {
            kinds.push_back(line.substr(10, line.find('"', 10) - 10));
        }
        return kinds;
    };
    station.hearMore(announce(before, "10.1.0.0/16", medAttribute(14)));
    station.settle();
    EXPECT_THAT(compared(), ElementsAre("differs")) << "the router lacks it";
    EXPECT_THAT(compared(), IsEmpty());
    station.hearMore(announce(after, "10.1.0.0/16", medAttribute(7)));
    station.settle();
    EXPECT_THAT(compared(), ElementsAre("differs")) << "another MED";
    station.hearMore(announce(after, "10.1.0.0/16", medAttribute(8)));
    canWrite = false;
    EXPECT_THAT(compared(), IsEmpty());
    EXPECT_TRUE(memory.hasUntold());
    canWrite = true;
    EXPECT_THAT(compared(), ElementsAre("differs"));
    EXPECT_FALSE(memory.hasUntold());
    station.hearMore(announce(after, "10.1.0.0/16", medAttribute(50)));
    canWrite = false;
    EXPECT_THAT(compared(), IsEmpty());
    canWrite = true;
    EXPECT_THAT(compared(), ElementsAre("agrees"));
    EXPECT_THAT(compared(), IsEmpty());
    EXPECT_FALSE(memory.hasUntold());
}

} // namespace
} // namespace Qcf::Live::test
