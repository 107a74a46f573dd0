#include "Live/PolicySwap.h"
#include "QcfLib/StatementCounts.h"
#include "Text/Policy.h"
#include "tests/Agent/Mrt/MrtTools.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iostream>

#include <unistd.h>

/// Measures what a station holds of one peer's table, and how long it is busy with it: reading,
/// evaluating all of it again, and letting go of it. The routes are the worst that there are: each
/// has attributes of its own, 61 bytes as they are kept.
namespace Qcf::Bench {

namespace {

using namespace Live;        // NOLINT(google-build-using-namespace): what is measured
using namespace Agent::test; // NOLINT(google-build-using-namespace): pieces of messages
using Clock = std::chrono::steady_clock;

class Deaf final : public LiveListener {
public:
    void note(Where const & /*where*/, String const & text) override { std::cerr << text << '\n'; }
    void peer(Where const & /*where*/, bool /*isUp*/, U8 /*reason*/) override {}
    void sync(Where const & /*where*/, AddressFamily /*family*/, U64 /*routes*/) override {}
};

/// Time by the clock, and what of it this process had processors for, both in seconds.
struct Times {
    F64 wall = 0;
    F64 busy = 0;

    static Times now() {
        return {std::chrono::duration<F64>(Clock::now().time_since_epoch()).count(),
                static_cast<F64>(std::clock()) / CLOCKS_PER_SEC};
    }
    static Times since(Times const & start) {
        Times const end = now();
        return {end.wall - start.wall, end.busy - start.busy};
    }
    void add(Times const & other) {
        wall += other.wall;
        busy += other.busy;
    }
    void atLeast(Times const & other) {
        wall = std::max(wall, other.wall);
        busy = std::max(busy, other.busy);
    }
};

void print(char const * what, Times const & times) {
    std::printf("%-30s %8.1f ms, busy %8.1f ms\n", what, 1000 * times.wall, 1000 * times.busy);
}

/// Memory that is there and not only promised, in bytes.
F64 residentMemory() {
    std::ifstream file("/proc/self/statm");
    U64 all = 0;
    U64 resident = 0;
    file >> all >> resident;
    return static_cast<F64>(resident * static_cast<U64>(::sysconf(_SC_PAGESIZE)));
}

String bmp(U8 type, String const & body) {
    String const peer = u8(0) + u8(0) + be(0, 8) + String(12, '\0') + address("198.18.0.1") +
                        u32(64500) + u32(1) + u32(0) + u32(0);
    return u8(3) + u32(6 + peer.size() + body.size()) + u8(type) + peer + body;
}

String peerUp() {
    auto const open = [](U32 as) {
        String const four = u8(65) + u8(4) + u32(as);
        String const parameters = u8(2) + u8(four.size()) + four;
        return message(1, u8(4) + u16(as) + u16(180) + u32(1) + u8(parameters.size()) + parameters);
    };
    return bmp(3, String(16, '\0') + u16(179) + u16(179) + open(64999) + open(64500));
}

/// A route of a table of /24s, an eighth of which is reserved space.
String announcement(U32 number) {
    String const attributes =
        attribute(1, u8(0)) + attribute(2, segment(2, {64500, 3356, 1299, 3320 + number % 9}, 4)) +
        attribute(3, address("198.18.0.1")) + attribute(4, u32(number % 300)) +
        attribute(5, u32(100)) +
        attribute(8, u32(0xfbf40064) + u32(number) + u32(0xfc000000 + number % 5));
    String const prefix = u8(24) + be(0x080000 + number, 3);
    return bmp(0, update("", attributes, prefix));
}

/// A function of a text.
std::shared_ptr<LivePolicy const> policyOf(String const & path, String const & function) {
    std::ifstream file(path);
    String text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    Text::Sources sources;
    Text::Messages messages;
    auto const policy = Text::readPolicyText(std::move(text), path, sources, messages);
    if (!policy) {
        messages.print(sources, std::cerr);
        std::exit(1);
    }
    return std::make_shared<LivePolicy const>(policy->program().find(function), nullptr);
}

class LiveBench {
public:
    // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.UninitializedObject): the members see to it
    LiveBench(U32 routes, std::shared_ptr<LivePolicy const> policy)
        : routes_(routes), policy_(std::move(policy)), set_(settings_, policy_, deaf_) {}

    void run() {
        settings_.maxRoutes = routes_;
        F64 const before = residentMemory();
        read();
        F64 const after = residentMemory();
        RibState const & table = *peer().table(Rib::inPre);
        U64 const counted = table.routes.memory() + set_.store().memory();
        std::printf("%u routes, accepted %llu\n", routes_,
                    static_cast<unsigned long long>(table.shown.of(Verdict::accepted)));
        std::printf("bytes a route: %.1f resident, %.1f of table and attributes\n",
                    (after - before) / routes_, static_cast<F64>(counted) / routes_);
        evaluate(1);
        evaluate(2);
        auto const start = Times::now();
        take(bmp(2, u8(1)));
        print("peer down", Times::since(start));
    }

private:
    PeerState & peer() { return set_.router("198.18.0.9").peers().begin()->second; }
    void take(String const & bytes) {
        connection_.take({reinterpret_cast<U8 const *>(bytes.data()), bytes.size()});
    }

    /// In pieces, so that what is made for the purpose takes no memory to speak of.
    void read() {
        constexpr U32 atOnce = 1000;
        take(peerUp());
        Times all;
        Times longest;
        for (U32 first = 0; first < routes_; first += atOnce) {
            String bytes;
            for (U32 number = first; number < std::min(first + atOnce, routes_); ++number) {
                bytes += announcement(number);
            }
            auto const start = Times::now();
            take(bytes);
            Times const took = Times::since(start);
            longest.atLeast(took);
            all.add(took);
        }
        set_.router("198.18.0.9").settle();
        print("read and evaluated", all);
        print("  longest 1000 messages", longest);
    }

    void evaluate(U32 threads) {
        PolicySwap swap(set_, threads);
        Times longest;
        auto const begin = Times::now();
        swap.begin(policy_);
        for (bool isDone = false; !isDone;) {
            auto const start = Times::now();
            isDone = swap.step(Clock::now() + std::chrono::milliseconds(5)).has_value();
            longest.atLeast(Times::since(start));
        }
        print(threads == 1 ? "evaluated again" : "evaluated again by 2 threads",
              Times::since(begin));
        print("  longest step", longest);
    }

    U32 routes_;
    Deaf deaf_;
    LiveSettings settings_;
    std::shared_ptr<LivePolicy const> policy_;
    RouterSet set_;
    Connection connection_{set_, "198.18.0.9"};
};

} // namespace

} // namespace Qcf::Bench

int main(int argc, char ** argv) {
    using namespace Qcf::Bench; // NOLINT(google-build-using-namespace): all of main is about it
    U32 const routes = argc > 1 ? static_cast<U32>(std::strtoul(argv[1], nullptr, 10)) : 1'000'000;
    if (routes == 0 || routes > 8'000'000) {
        std::cerr << "usage: qcf_bench_live [ROUTES [POLICY FUNCTION]]\n";
        return 2;
    }
    Qcf::Eval::StatementCounts::enabledIs(true);
    auto const policy =
        argc > 3 ? policyOf(argv[2], argv[3])
                 : policyOf(QCF_BENCH_FOLDER "/../examples/import-filter.qcf", "import_filter");
    LiveBench(routes, policy).run();
    return 0;
}
