#include "Command/WatchOptions.h"

#include "Command/Durations.h"
#include "Command/TableArguments.h"
#include "Platform/Render/Utf8.h"
#include "Platform/Routing/TextPieces.h"

#include <algorithm>
#include <filesystem>

namespace {

using namespace Qcf::Live; // NOLINT(google-build-using-namespace): what this command is about

/// The table that a table is compared with unless another one is given.
Rib usualAgainst(Rib rib) {
    return rib == Rib::outPre || rib == Rib::loc ? Rib::outPost : Rib::inPost;
}

/// What `parse` reads of each text; throws with what was wanted where it reads nothing.
template <typename Parse>
auto readAll(std::vector<String> const & texts, Parse parse, String const & wanted) {
    std::vector<typename decltype(parse(texts.front()))::value_type> values;
    for (String const & text : texts) {
        auto const value = parse(text);
        if (!value) {
            throw UsageError(wanted + ", found \"" + oneLine(text, 60) + '"');
        }
        values.push_back(*value);
    }
    return values;
}

} // namespace

void WatchOptions::addTo(CLI::App & command) {
    addPolicy(command);
    addInputs(command);
    addTables(command);
    command
        .add_option("--tolerate", tolerated_,
                    "Differences that do no harm: blackhole-no-export, local-preference, next-hop")
        ->check(CLI::IsMember({"blackhole-no-export", "local-preference", "next-hop"}));
    selection.addRoutesTo(command);
    command
        .add_option(
            "--only", only,
            "Tell of routes alone that are accepted, rejected, unknown, changed (verdict or\n"
            "what is written) or differs (from what the router has)")
        ->check(CLI::IsMember({"accepted", "rejected", "unknown", "changed", "differs"}));
    command.add_option("--router", router, "Tell of routes of this router alone")
        ->type_name("NAME");
    command
        .add_option("--output", output,
                    "table, jsonl (an event a line) or none (the summary alone)")
        ->check(CLI::IsMember({"table", "jsonl", "none"}))
        ->capture_default_str();
}

void WatchOptions::addPolicy(CLI::App & command) {
    policy.addTo(command);
    redis.addTo(command);
    // The policy is a file or published.
    for (char const * const name : {"document", "--redis", "--name"}) {
        command.get_option(name)->required(false);
    }
    addThreads(command, threads);
    metrics.addTo(command);
}

void WatchOptions::addTables(CLI::App & command) {
    std::vector<String> names;
    for (std::size_t i = 0; i < ribs; ++i) {
        names.emplace_back(ribName(static_cast<Rib>(i)));
    }
    command.add_option("--rib", rib_, "Table whose routes are evaluated")
        ->check(CLI::IsMember(names))
        ->capture_default_str();
    command
        .add_option("--against", against_,
                    "Table that they are compared with; that behind the policy unless given")
        ->check(CLI::IsMember(names));
    command.add_flag("--trust-flags", settings.trustFlags,
                     "Read messages as they were declared, without looking at how they are");
    addNumber(command, "--max-routes", settings.maxRoutes, "Routes to keep at most", 1);
    command.add_option("--vrf", vrfs_, "The vrf_id of a VRF that a router names; repeatable")
        ->type_name("NAME=ID");
    command
        .add_option("--keep-only", keptPeers_,
                    "Keep routes of this peer alone, for less memory; repeatable")
        ->type_name("ADDRESS")
        ->allow_extra_args(false);
}

void WatchOptions::addInputs(CLI::App & command) {
    command.add_option("--replay", replays, "Recorded streams to read; - for standard input")
        ->type_name("FILE");
    command.add_flag("--pace", isPaced,
                     "Read MRT and lines of RIS Live as slowly as they were recorded");
    command.add_flag("--once", station.once,
                     "End when the tables of all routers have settled, as recordings always do");
    addRouters(command);
}

void WatchOptions::addRouters(CLI::App & command) {
    command
        .add_option("--bmp", listen_, "Listen here for routers; repeatable. Port 0 is any free one")
        ->type_name("ADDRESS:PORT")
        ->allow_extra_args(false);
    command.add_option("--bmp-connect", connect_, "Connect to a router that listens; repeatable")
        ->type_name("ADDRESS:PORT")
        ->allow_extra_args(false);
    command
        .add_option("--allow", allowed_,
                    "Who may connect to --bmp, and nobody else; this machine alone unless given.\n"
                    "Repeatable")
        ->type_name("PREFIX")
        ->allow_extra_args(false);
    addDuration(command, "--settle", settings.settle,
                "Without any message for so long a router has sent all (5s)",
                std::chrono::milliseconds(100));
    addDuration(command, "--keep", station.keep,
                "How long tables stay, as stale, of a router that has gone (300s)");
    addDuration(command, "--message-time", station.messageTime,
                "Close a connection where one message takes longer than that (60s)");
    command.add_flag("--resync", station.resync,
                     "Close the connection of each router once, when it has settled, so that it\n"
                     "sends everything again: some show rejected routes only then");
    command
        .add_option("--record", station.recordings,
                    "Folder where what routers send is kept for --replay, at most 640 MiB a router")
        ->type_name("DIR");
}

bool WatchOptions::isOnly(Verdict verdict) const {
    constexpr std::array<std::string_view, 3> names = {"rejected", "accepted", "unknown"};
    auto const at = static_cast<std::size_t>(verdict);
    return at < names.size() && names[at] == only;
}

bool WatchOptions::isSelected(String const & ofRouter, IpGenAddr const & peer,
                              IpGenPrefix const & prefix) const {
    // Of a Loc-RIB no route says which peer it is about.
    Qcf::Agent::Route shown;
    shown.ipPrefix = prefix;
    shown.sourceSessionRemoteIpAddress = peer;
    return (router.empty() || router == ofRouter) && selection.selectsRoute(shown);
}

// A route that was as asked for and is not any more is told of, too.
bool WatchOptions::isAsked(RouteNews const & news) const {
    bool const isSuch = only.empty() || isOnly(news.verdict) || isOnly(news.was) ||
                        (only == "changed" && news.was != Verdict::none);
    return isSuch && isSelected(news.where.router, news.where.peer, news.key.prefix);
}

bool WatchOptions::isAsked(RouteDifference const & difference) const {
    Verdict const verdict = difference.underlying == CompareKind::unknown ? Verdict::unknown
                            : difference.engine != nullptr                ? Verdict::accepted
                                                                          : Verdict::rejected;
    return (only.empty() || only == "differs" || isOnly(verdict)) &&
           isSelected(difference.router, difference.peer.key.address, difference.before.ipPrefix);
}

void WatchOptions::read() {
    readPolicy();
    readTables();
    readRouters();
    if (isLive() == !replays.empty()) {
        throw UsageError(isLive() ? "reads recordings or hears routers, not both at once"
                                  : "wants --replay FILE, --bmp ADDRESS:PORT or --bmp-connect "
                                    "ADDRESS:PORT");
    }
    if (isPaced && isLive()) {
        throw UsageError("--pace wants --replay");
    }
    if (only == "changed" && !isJson()) {
        throw UsageError("--only changed wants --output jsonl: else differences alone are told");
    }
    if (!isLive() && !station.recordings.empty()) {
        throw UsageError("--record wants --bmp or --bmp-connect");
    }
    if (!isLive() && !metrics.places.empty()) {
        throw UsageError("--metrics wants --bmp or --bmp-connect");
    }
}

void WatchOptions::readPolicy() {
    if (policy.policy.path.empty() == redis.name.empty() ||
        redis.name.empty() != redis.url.empty()) {
        throw UsageError("wants a policy's file, or --redis URL and --name NAME");
    }
    if (isPublished() && !policy.policy.map.empty()) {
        throw UsageError("--map is for a document in a file");
    }
}

void WatchOptions::readTables() {
    settings.rib = *ribOf(rib_);
    settings.against = against_.empty() ? usualAgainst(settings.rib) : *ribOf(against_);
    if (settings.rib == settings.against) {
        throw UsageError("--against wants another table than --rib");
    }
    for (String const & vrf : vrfs_) {
        vrfIs(vrf);
    }
    settings.keptPeers = readAll(
        keptPeers_, [](String const & text) { return IpGenAddr::parse(text); },
        "--keep-only wants the address of a peer");
}

void WatchOptions::readRouters() {
    auto const at = [](String const & text) { return StationAddress::parse(text); };
    String const form = " wants ADDRESS:PORT, as 127.0.0.1:11019 or [::1]:11019";
    station.listen = readAll(listen_, at, "--bmp" + form);
    station.connect = readAll(connect_, at, "--bmp-connect" + form);
    station.allowed = readAll(
        allowed_, [](String const & text) { return IpGenPrefix::parse(text); },
        "--allow wants a prefix such as 192.0.2.0/24");
    for (StationAddress const & listen : station.listen) {
        // The protocol knows neither passwords nor keys.
        if (!listen.isLocal() && station.allowed.empty()) {
            throw UsageError("--bmp: other machines reach " + listen.text() +
                             "; say with --allow PREFIX which of them may connect");
        }
    }
    if (!station.recordings.empty()) {
        std::error_code error;
        std::filesystem::create_directories(station.recordings, error);
        if (error) {
            throw UsageError("--record " + oneLine(station.recordings, 100) + ": " +
                             error.message());
        }
    }
}

void WatchOptions::vrfIs(String const & text) {
    auto const at = text.rfind('=');
    constexpr U64 most = 0xffffff;
    auto const id = at == String::npos
                        ? std::nullopt
                        : Routing::TextPieces::parseDecimal(text.substr(at + 1), most);
    if (!id || at == 0) {
        throw UsageError("--vrf wants NAME=ID with an ID up to 16777215, found \"" +
                         oneLine(text, 40) + '"');
    }
    settings.vrfs[text.substr(0, at)] = static_cast<U32>(*id);
}

Tolerance WatchOptions::tolerance() const {
    auto const has = [&](char const * word) {
        return std::ranges::find(tolerated_, word) != tolerated_.end();
    };
    return {.blackholeNoExport = has("blackhole-no-export"),
            .localPreference = has("local-preference"),
            .nextHop = has("next-hop")};
}
