#include "Live/DifferenceMemory.h"
#include "Live/RouterStream.h"
#include "Live/StationAddress.h"
#include "Platform/Render/ReadFile.h"
#include "tests/Live/LiveTools.h"

#include <algorithm>
#include <filesystem>

#include <gmock/gmock.h>
#include <unistd.h>

/// What a station does beside its sockets.
namespace Qcf::Live::test {
namespace {

using testing::ElementsAre;

PeerSpec const before{};
PeerSpec const after{.flags = postFlag};

std::span<U8 const> bytesOf(String const & text) {
    return {reinterpret_cast<U8 const *>(text.data()), text.size()};
}

String routes(U32 from, U32 to) {
    String bytes;
    for (U32 i = from; i < to; ++i) {
        String const prefix = "10." + std::to_string(i) + ".0.0/16";
        bytes += announce(before, prefix) + announce(after, prefix);
    }
    return bytes;
}

void pour(RouterStream & stream, String const & bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        std::span<U8> const room = stream.room();
        std::size_t const size = std::min(room.size(), bytes.size() - at);
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), size, room.begin());
        stream.came(size);
        at += size;
    }
}

TEST(StationAddresses, AreReadAsTheyAreWritten) {
    for (char const * const text : {"127.0.0.1:11019", "[::1]:0", "[2001:db8::1]:65535"}) {
        auto const address = StationAddress::parse(text);
        ASSERT_TRUE(address) << text;
        EXPECT_EQ(address->text(), text);
    }
    for (char const * const text :
         {"", ":1", "127.0.0.1", "127.0.0.1:65536", "::1:5", "[127.0.0.1]:5", "[]:5", "a:5"}) {
        EXPECT_FALSE(StationAddress::parse(text)) << text;
    }
    for (auto const & [text, isLocal] :
         std::initializer_list<std::pair<char const *, bool>>{{"127.9.9.9:1", true},
                                                              {"[::1]:1", true},
                                                              {"[::ffff:127.0.0.1]:1", true},
                                                              {"0.0.0.0:1", false},
                                                              {"[::]:1", false},
                                                              {"[::ffff:192.0.2.1]:1", false}}) {
        EXPECT_EQ(StationAddress::parse(text)->isLocal(), isLocal) << text;
    }
}

TEST(RouterStreams, TakeMessagesInPiecesAndSayWhichOneWaits) {
    TestStation station;
    station.routers.nowIs(std::chrono::milliseconds(7));
    RouterStream stream(station.routers, "192.0.2.9");
    String const bytes = initiation("edge1") + peerUp(before) + routes(0, 50);
    for (char const c : bytes) {
        stream.room()[0] = static_cast<U8>(c);
        stream.came(1);
    }
    EXPECT_EQ(stream.offset(), bytes.size());
    EXPECT_EQ(stream.waitsSince(), std::nullopt);
    EXPECT_EQ(station.routers.routes(), 100U);

    pour(stream, bmp(1, "").substr(0, 3));
    station.routers.nowIs(std::chrono::milliseconds(9));
    pour(stream, bmp(1, "").substr(3, 1));
    EXPECT_EQ(stream.waitsSince(), std::chrono::milliseconds(7));
    pour(stream, bmp(1, "").substr(4) + bmp(6, String(200'000, 'x')));
    EXPECT_EQ(stream.waitsSince(), std::nullopt);
    EXPECT_THROW(pour(stream, "GET / HTTP/1.1"), Damage);
}

TEST(Recordings, GoOnInFilesOfWholeMessages) {
    auto const folder =
        std::filesystem::temp_directory_path() / ("qcf_recording_" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    String written;
    {
        // A name that would lead elsewhere.
        Recording recording(folder.string(), "../edge/1", 100);
        for (U32 i = 0; i < 30; ++i) {
            String const message = announce(before, "10." + std::to_string(i) + ".0.0/16");
            recording.write(bytesOf(message));
            written += message;
        }
    }
    std::vector<String> names;
    for (auto const & file : std::filesystem::directory_iterator(folder)) {
        names.push_back(file.path().filename().string());
    }
    std::ranges::sort(names);
    ASSERT_EQ(names.size(), Recording::files);
    EXPECT_EQ(names.back(), "%2E.%2Fedge%2F1.000030.bmp");
    String kept;
    for (String const & name : names) {
        kept += readFile((folder / name).string());
    }
    EXPECT_TRUE(written.ends_with(kept)) << kept.size() << " of " << written.size();
    // The next connection goes on behind the last file.
    Recording const next(folder.string(), "../edge/1", 100);
    EXPECT_TRUE(std::filesystem::exists(folder / "%2E.%2Fedge%2F1.000031.bmp"));
    std::filesystem::remove_all(folder);
    EXPECT_THROW(Recording(folder.string(), "edge1"), std::runtime_error);
}

// Without End-of-RIB a while of quiet says that all has come.
TEST(LiveRouters, SettleByThemselves) {
    TestStation station;
    auto const at = [&](int milliseconds) {
        station.routers.nowIs(std::chrono::milliseconds(milliseconds));
        station.router().timePasses();
    };
    station.routers.nowIs(std::chrono::milliseconds(1000));
    Connection first(station.routers, "edge1");
    String const begin = initiation("edge1") + peerUp(before);
    first.take(bytesOf(begin + routes(0, 20)));
    at(5900);
    EXPECT_FALSE(station.router().settledAt());
    at(6100);
    EXPECT_EQ(station.router().settledAt(), std::chrono::milliseconds(6100));

    // What the next connection does not send again goes when it has settled, and not before.
    first.ended(true);
    Connection second(station.routers, "edge1");
    second.take(bytesOf(initiation("edge1") + routes(0, 5)));
    at(11'000);
    EXPECT_EQ(station.routers.routes(), 40U);
    EXPECT_EQ(Board::of(station.routers, {}).total().inStale, 20U);
    at(11'200);
    EXPECT_EQ(station.routers.routes(), 10U);
    EXPECT_EQ(Board::of(station.routers, {}).total().inStale, 0U);

    // A router that never pauses is not waited for without end.
    String const more =
        peerUp({.address = "192.0.2.2"}) + announce({.address = "192.0.2.2"}, "10.0.0.0/8");
    second.take(bytesOf(more));
    int time = 12'000;
    do {
        time += 1000;
        second.take(bytesOf(announce(before, "10.1.0.0/16")));
        at(time);
    } while (!station.router().settledAt() && time < 200'000);
    EXPECT_NEAR(time, 62'000, 3000);
}

// Behind the policy a route comes a moment later than before it, or the other way round.
TEST(RunningComparisons, LeaveOutWhatChangedAMomentAgo) {
    TestStation station;
    std::vector<String> told;
    std::vector<String> over;
    DifferenceMemory differences;
    RunningComparison comparison(
        station.routers, {},
        [&](RouteDifference const & difference) {
            if (differences.note(difference)) {
                told.push_back(difference.before.ipPrefix.toString());
                differences.isTold(difference);
            }
        },
        [&](String const & router, PeerState const & peer, bool isWhole) {
            if (!isWhole) {
                differences.passedSome(router, peer.key);
                return;
            }
            differences.passed(router, peer.key, [&](Agent::UpdatePrefix const & key) {
                over.push_back(key.prefix.toString());
                return true;
            });
        });
    int time = 1000;
    auto const pass = [&](int milliseconds, String const & more = {}) {
        station.hearMore(more);
        time += milliseconds;
        station.routers.nowIs(std::chrono::milliseconds(time));
        station.router().timePasses();
        comparison.step(std::chrono::steady_clock::now() + std::chrono::seconds(1));
        return Board::shown(station.routers, comparison).total();
    };
    station.hear(initiation("edge1") + peerUp(before) + routes(0, 20));
    EXPECT_EQ(pass(6000).of(CompareKind::equal), 20U);

    // The peer is never quiet; what stands long enough is told all the same.
    station.hearMore(withdraw(after, "10.3.0.0/16"));
    for (int i = 0; i < 80; ++i) {
        pass(500, announce(after, "10.4.0.0/16"));
    }
    ComparisonCounts const busy = pass(500, announce(after, "10.4.0.0/16"));
    EXPECT_THAT(told, ElementsAre("10.3.0.0/16"));
    EXPECT_EQ(busy.young, 1U);
    EXPECT_EQ(busy.of(CompareKind::equal), 18U);

    // Told once, and once more when it was over meanwhile.
    pass(6000);
    pass(6000, announce(after, "10.3.0.0/16"));
    EXPECT_EQ(told.size(), 1U);
    EXPECT_THAT(over, ElementsAre("10.3.0.0/16"));
    pass(6000, withdraw(after, "10.3.0.0/16"));
    EXPECT_EQ(told.size(), 2U);
}

TEST(Routers, OfOtherPeersNothingIsKept) {
    TestStation station(TestStation::acceptAll, {.keptPeers = {*IpGenAddr::parse("192.0.2.2")}});
    PeerSpec const other{.address = "192.0.2.2"};
    station.hear(initiation("edge1") + peerUp(before) + peerUp(other) + routes(0, 5) +
                 announce(other, "10.0.0.0/8") + peerDown(before));
    EXPECT_EQ(station.routers.routes(), 1U);
    EXPECT_EQ(station.router().peers().size(), 1U);
}

} // namespace
} // namespace Qcf::Live::test
