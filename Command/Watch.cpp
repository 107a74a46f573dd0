#include "Command/Output.h"
#include "Command/Signals.h"
#include "Command/WatchLive.h"
#include "Command/WatchOptions.h"
#include "Command/WatchPolicy.h"
#include "Command/WatchTeller.h"
#include "Live/Replay.h"

#include <algorithm>
#include <thread>

/// `qcf watch`: what routers hold, by the streams that they send, and whether the policy does what
/// theirs did.
namespace {

using namespace Qcf::Live; // NOLINT(google-build-using-namespace): what this command is about

/// Waits until a message is due that was recorded so long after the first one.
ReplaySteps::Due pace() {
    auto const start = std::chrono::steady_clock::now();
    return [start](std::chrono::microseconds due) {
        constexpr std::chrono::milliseconds most{100};
        while (!stopIsAsked()) {
            auto const left = due - (std::chrono::steady_clock::now() - start);
            if (left.count() <= 0) {
                return true;
            }
            standardOutput().flush();
            std::this_thread::sleep_for(std::min<std::chrono::nanoseconds>(left, most));
        }
        return false;
    };
}

/// Reads all recordings, with `compare` between them; answers whether they were whole.
bool readAll(WatchOptions const & options, RouterSet & routers, WatchTeller & teller,
             std::function<void()> const & compare) {
    std::optional<RouteEvents> news;
    ReplaySteps steps;
    if (options.isJson() && options.only != "differs") {
        news.emplace(routers, [&teller](RouteNews const & of) { teller.route(of); });
        steps.taken = [&news] { news->tell(); };
    }
    bool isWhole = true;
    for (String const & path : options.replays) {
        if (options.isPaced) {
            stopOnSignals();
            steps.isDue = pace();
        }
        Qcf::Lists::ByteSource source(Qcf::Lists::openFileStream(path));
        isWhole = replay(routers, std::move(source), path, steps) && isWhole;
        if (news) {
            news->tell();
        }
        if (options.isPaced && stopIsAsked()) {
            break;
        }
        if (options.isJson() && &path != &options.replays.back()) {
            compare();
        }
    }
    return isWhole;
}

int watchRecordings(WatchOptions const & options, WatchPolicy::Policy const & policy) {
    WatchTeller teller(options, policy);
    RouterSet routers(options.settings, policy, teller);
    auto const compared = [&] {
        return Board::of(
            routers, options.tolerance(),
            [&teller](RouteDifference const & difference) { teller.differs(difference); },
            [&teller](String const & router, PeerState const & peer) {
                teller.passed(router, peer, true);
            });
    };
    bool const isWhole = readAll(options, routers, teller, compared);
    Board const board = compared();
    teller.board(board);
    return isWhole && board.total().failures() == 0 ? 0 : 1;
}

int watch(WatchOptions & options) {
    options.read();
    options.policy.checkInputs(options.replays);
    Qcf::Eval::StatementCounts::enabledIs(true);
    auto const source = WatchPolicy::of(options);
    auto const policy = source->first();
    if (!policy) {
        return 1;
    }
    return options.isLive() ? watchRouters(options, *source, policy)
                            : watchRecordings(options, policy);
}

} // namespace

void addWatchCommand(Commands & commands) {
    auto const options = std::make_shared<WatchOptions>();
    auto & command = commands.add(
        "watch", "Tell whether a function does with routers' routes what the routers did",
        "Hears by BMP what routers have in their tables before and after policy, evaluates the\n"
        "function for each route before it, and compares verdict and attributes with the route\n"
        "behind it. Routers connect to --bmp or are connected to by --bmp-connect; nothing is\n"
        "ever sent to them. Shows what is at hand until it is interrupted, and with --once ends\n"
        "when the tables have settled, with 1 where routes differ; so it does with --replay. A\n"
        "recording is what one connection of a router brought, byte for byte, plain or\n"
        "compressed; further ones of the same router are its later connections. Updates that a\n"
        "collector received, as MRT or lines of RIS Live, stand before policy. What is not shown\n"
        "by a router is not claimed to be equal: the summary begins with how many routes were\n"
        "compared.",
        "qcf watch policy.qcf --function import --bmp 127.0.0.1:11019",
        [options] { return watch(*options); });
    options->addTo(command);
}
