#include "Command/WatchLive.h"
#include "Command/WatchOptions.h"
#include "Command/WatchPolicy.h"
#include "Command/WatchTeller.h"

/// `qcf watch`: what routers hold, by the streams that they send, and whether the policy does what
/// theirs did.
namespace {

using namespace Qcf::Live; // NOLINT(google-build-using-namespace): what this command is about

int watchRecordings(WatchOptions const & options, WatchPolicy::Policy const & policy) {
    WatchTeller teller(options, policy);
    RouterSet routers(options.settings, policy, teller);
    bool isWhole = true;
    for (String const & path : options.replays) {
        Qcf::Lists::ByteSource source(Qcf::Lists::openFileStream(path));
        isWhole = replay(routers, std::move(source), path) && isWhole;
    }
    Board const board =
        Board::of(routers, options.tolerance(),
                  [&teller](RouteDifference const & difference) { teller.differs(difference); });
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
        "compressed; further ones of the same router are its later connections. What is not\n"
        "shown by a router is not claimed to be equal: the summary begins with how many routes\n"
        "were compared.",
        "qcf watch policy.qcf --function import --bmp 127.0.0.1:11019",
        [options] { return watch(*options); });
    options->addTo(command);
}
