#include "Agent/Routes/AppliedChanges.h"
#include "Command/Command.h"
#include "Command/Decisions.h"
#include "Command/Output.h"
#include "Command/PolicyPlaces.h"
#include "Command/PreparedPolicy.h"
#include "Command/Readiness.h"
#include "Command/RouteSelection.h"
#include "Live/Board.h"
#include "Live/LiveEvents.h"
#include "Platform/Render/Utf8.h"
#include "Platform/Routing/TextPieces.h"

#include <algorithm>

/// `qcf watch`: what routers hold, by the streams that they send, and whether the policy does what
/// theirs did.
namespace {

using namespace Qcf::Live; // NOLINT(google-build-using-namespace): what this command is about

struct Options {
    PolicyArguments policy;
    LiveSettings settings;
    RouteSelection selection = {};
    std::vector<String> replays;
    std::vector<String> tolerated;
    std::vector<String> vrfs;
    String rib = ribName(Rib::inPre);
    String against;
    String router; ///< of which alone is told; empty for all
    String output = "table";
    bool once = false;
};

/// Evaluates single routes once more to see which statement decides.
class Decider {
public:
    explicit Decider(PreparedPolicy const & prepared)
        : function_(prepared.function),
          agent_(makePtr<Qcf::Agent::AgentContext>(prepared.matchers)),
          context_(agent_),
          places_(prepared.file),
          decisions_(&places_) {
        agent_->evaluationObserverIs(&deciding_);
    }
    Decider(Decider const &) = delete;
    Decider & operator=(Decider const &) = delete;

    DecidedBy of(Qcf::Agent::Route const & route) {
        agent_->routeIs(route);
        function_->eval(context_);
        ShownDecision shown = decisions_.of(deciding_);
        return {shown.place, std::move(shown.reason)};
    }

private:
    PtrConst<Qcf::Eval::Function> function_;
    Ptr<Qcf::Agent::AgentContext> agent_;
    Ptr<Qcf::Eval::EvalContextBase> context_;
    Qcf::Watch::Deciding deciding_;
    PolicyPlaces places_;
    Decisions decisions_;
};

/// What routers' notes and differences are written as.
class Teller final : public LiveListener {
public:
    Teller(Options const & options, PreparedPolicy const & prepared)
        : options_(options),
          decider_(prepared),
          isJson_(options.output == "jsonl"),
          events_([](std::string_view line) { standardOutput().write(line); }) {}

    void note(Where const & where, String const & text) override {
        // For programs, and for people who look on.
        if (isJson_) {
            events_.note(where, text);
        } else {
            tellLine(visibleText(where.text() + ": " + text));
        }
    }
    void peer(Where const & where, bool isUp, U8 reason) override {
        if (isJson_) {
            events_.peer(where, isUp, reason);
        }
    }
    void sync(Where const & where, AddressFamily family, U64 routes) override {
        if (isJson_) {
            events_.sync(where, family, routes);
        }
    }

    void differs(RouteDifference const & difference) {
        bool const isAsked = options_.router.empty() || options_.router == difference.router;
        if (!isAsked || !options_.selection.selectsRoute(difference.before)) {
            return;
        }
        if (isJson_) {
            events_.differs(difference, options_.settings.rib, decider_.of(difference.before));
        } else if (options_.output == "table") {
            standardOutput().write(lineOf(difference));
        }
    }

    void board(Board const & board) {
        for (auto const & [where, text] : board.advice()) {
            note(where, text);
        }
        if (isJson_) {
            events_.summary(board.total());
            return;
        }
        if (options_.output == "table") {
            standardOutput().write('\n' + visibleLines(board.tables()) + '\n');
        }
        standardOutput().write(board.summary());
    }

private:
    /// "edge1 192.0.2.1  10.0.0.0/8  attributes  p.qcf:7  med: 20 (engine), 0 (router)".
    String lineOf(RouteDifference const & difference);

    Options const & options_;
    Decider decider_;
    bool isJson_;
    LiveEvents events_;
};

String Teller::lineOf(RouteDifference const & difference) {
    String line = Where{difference.router, difference.peer.key.address}.text() + "  " +
                  difference.before.ipPrefix.toString() + "  " + compareKindName(difference.kind);
    DecidedBy const decided = decider_.of(difference.before);
    line += "  " + (decided.place != nullptr ? decided.place->text() : String("-"));
    if (difference.underlying == CompareKind::verdict) {
        line += difference.engine != nullptr ? "  engine accepts, the router lacks it"
                                             : "  engine rejects, the router has it";
    }
    for (std::size_t i = 0; i < comparedAttributes; ++i) {
        auto const attribute = static_cast<ComparedAttribute>(i);
        if (difference.differing.has(attribute)) {
            char const * const name = comparedAttributeName(attribute);
            line += String("  ") + name + ": " +
                    Qcf::Agent::attributeText(*difference.engine, name) + " (engine), " +
                    Qcf::Agent::attributeText(*difference.after, name) + " (router)";
        }
    }
    return visibleText(line) + '\n';
}

/// The table that a table is compared with unless another one is given.
Rib usualAgainst(Rib rib) { return rib == Rib::outPre ? Rib::outPost : Rib::inPost; }

void vrfIs(Options & options, String const & text) {
    auto const at = text.rfind('=');
    constexpr U64 most = 0xffffff;
    auto const id = at == String::npos
                        ? std::nullopt
                        : Routing::TextPieces::parseDecimal(text.substr(at + 1), most);
    if (!id || at == 0) {
        throw UsageError("--vrf wants NAME=ID with an ID up to 16777215, found \"" +
                         oneLine(text, 40) + '"');
    }
    options.settings.vrfs[text.substr(0, at)] = static_cast<U32>(*id);
}

Tolerance toleranceOf(Options const & options) {
    auto const has = [&](char const * word) {
        return std::ranges::find(options.tolerated, word) != options.tolerated.end();
    };
    return {.blackholeNoExport = has("blackhole-no-export"),
            .localPreference = has("local-preference"),
            .nextHop = has("next-hop")};
}

/// Takes over what the words of the options say.
void readWords(Options & options) {
    options.settings.rib = *ribOf(options.rib);
    options.settings.against =
        options.against.empty() ? usualAgainst(options.settings.rib) : *ribOf(options.against);
    if (options.settings.rib == options.settings.against) {
        throw UsageError("--against wants another table than --rib");
    }
    for (String const & vrf : options.vrfs) {
        vrfIs(options, vrf);
    }
}

int watch(Options & options) {
    readWords(options);
    options.policy.checkInputs(options.replays);
    PreparedPolicy const prepared = preparePolicy(options.policy);
    if (!prepared.function) {
        return 1;
    }
    Teller teller(options, prepared);
    RouterSet routers(options.settings, prepared.function, prepared.matchers, teller);
    bool isWhole = true;
    for (String const & path : options.replays) {
        Qcf::Lists::ByteSource source(Qcf::Lists::openFileStream(path));
        isWhole = replay(routers, std::move(source), path) && isWhole;
    }
    Board const board =
        Board::of(routers, toleranceOf(options),
                  [&teller](RouteDifference const & difference) { teller.differs(difference); });
    teller.board(board);
    return isWhole && board.total().failures() == 0 ? 0 : 1;
}

void addTables(CLI::App & command, Options & options) {
    std::vector<String> const names = {ribName(Rib::inPre), ribName(Rib::inPost),
                                       ribName(Rib::outPre), ribName(Rib::outPost)};
    command.add_option("--rib", options.rib, "Table whose routes are evaluated")
        ->check(CLI::IsMember(names))
        ->capture_default_str();
    command
        .add_option("--against", options.against,
                    "Table that they are compared with; that behind the policy unless given")
        ->check(CLI::IsMember(names));
    command.add_flag("--trust-flags", options.settings.trustFlags,
                     "Read messages as they were declared, without looking at how they are");
    addNumber(command, "--max-routes", options.settings.maxRoutes, "Routes to keep at most", 1);
    command
        .add_option("--vrf", options.vrfs, "The vrf_id of a VRF that a router names; repeatable")
        ->type_name("NAME=ID");
}

} // namespace

void addWatchCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "watch", "Tell whether a function does with routers' routes what the routers did",
        "Reads what routers tell by BMP of their tables before and after policy, evaluates the\n"
        "function for each route before it, and compares verdict and attributes with the route\n"
        "behind it. Ends with 1 where routes differ. A recording is what one connection of a\n"
        "router brought, byte for byte, plain or compressed; further ones of the same router are\n"
        "its later connections. What is not shown by a router is not claimed to be equal: the\n"
        "summary begins with how many routes were compared.",
        "qcf watch policy.qcf --function import --replay edge1.bmp.gz --once --output none",
        [options] { return watch(*options); });
    options->policy.addTo(command);
    command
        .add_option("--replay", options->replays, "Recorded streams to read; - for standard input")
        ->required()
        ->type_name("FILE");
    command.add_flag("--once", options->once, "End when all was read, as recordings always do");
    addTables(command, *options);
    command
        .add_option("--tolerate", options->tolerated,
                    "Differences that do no harm: blackhole-no-export, local-preference, next-hop")
        ->check(CLI::IsMember({"blackhole-no-export", "local-preference", "next-hop"}));
    options->selection.addRoutesTo(command);
    command.add_option("--router", options->router, "Tell of routes of this router alone")
        ->type_name("NAME");
    command
        .add_option("--output", options->output,
                    "table, jsonl (an event a line) or none (the summary alone)")
        ->check(CLI::IsMember({"table", "jsonl", "none"}))
        ->capture_default_str();
}
