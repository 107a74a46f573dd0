#include "Agent/Evaluation/AgentContext.h"
#include "Command/AgentMetrics.h"
#include "Command/Command.h"
#include "Command/CounterReport.h"
#include "Command/Faults.h"
#include "Command/Following.h"
#include "Command/MetricsArguments.h"
#include "Command/Output.h"
#include "Command/PolicyFile.h"
#include "Command/PublishedPolicy.h"
#include "Command/Readiness.h"
#include "Command/RedisArguments.h"
#include "Command/RouteRun.h"
#include "Command/Signals.h"
#include "Lists/ByteSource.h"
#include "Lists/ListsDocument.h"
#include "Platform/Service/ServiceManager.h"

#include <memory>

/// Following and evaluating are apart: the follower's thread keeps the view in step with the
/// server, the main thread takes from the view whatever is newest when it is done with the last
/// table.
namespace {

using Qcf::Eval::AetNodeBase;
using Qcf::Eval::Function;
using Qcf::Lists::NamedLists;
using Qcf::Mirror::PolicyVersion;

struct Options {
    RedisArguments redis;
    String function;
    String lists;
    bool allowUndefinedLists = false;
    bool once = false;
    U64 wait = 10;
    U64 counters = 0; ///< seconds; 0 for no counts
    MetricsArguments metrics;
    String logFormat; ///< empty for the usual one
    RouteRunOptions run;
};

/// Evaluates the routes with one version, whatever is published meanwhile; false, and told why,
/// when a name that the function reaches is not defined.
bool evaluate(PtrConst<PolicyVersion> const & version, Options const & options,
              PtrConst<NamedLists> const & own, AgentMetrics & shown) {
    String const subject = options.redis.name + " version " + std::to_string(version->id().number);
    // No fault of usage: another version may have the function.
    auto const * const function = &findFunction(*version, subject, options.function);
    checkFunction(*function);
    auto const lists = listsFor(*version, own);
    auto const places = std::make_shared<PublishedPlaces const>(subject, version);
    // What came from no text stands in no file: a key and the function around it are what can be
    // looked up there.
    auto const placeOf = [&](AetNodeBase const & node, Function const & within) {
        auto const place = places->of(node, within);
        String const inText = place.isInText() ? " (" + place.text() + ")" : String();
        return subject + ": function \"" + within.funcName() + "\", node " +
               std::to_string(node.aetNodeKey()) + inText;
    };
    if (!Readiness(subject, options.allowUndefinedLists).of(*function, placeOf, lists.get())) {
        return false;
    }
    // Bound anew for each version, since each has slots of its own.
    auto const matchers = Qcf::Lists::bindLists(version->slots(), lists.get());
    std::optional<CounterReport> report;
    if (options.counters != 0) {
        report.emplace(subject, PtrConst<Function>(function), places,
                       std::chrono::seconds(options.counters));
    }
    shown.begins(PtrConst<Function>(function));
    RouteRunOptions run = options.run;
    run.nodePlaces = run.why ? places : nullptr;
    run.counted = [&](RouteTally const & more) { shown.counted(more); };
    run.wasRead = [&](Qcf::Agent::ReadStatistics const & read) { shown.wasRead(read); };
    runRoutes(run, PtrConst<Function>(function),
              [&] { return makePtr<Qcf::Agent::AgentContext>(matchers); });
    shown.evaluated(version->id().number, version->id().digest.toString());
    // The next version may be long in coming; what was told about this one is not to wait for it.
    standardOutput().flush();
    return true;
}

/// Evaluates with a version as far as it is good; whether it is. A bad version is no end: the one
/// who published it may publish a better one.
bool tryVersion(PtrConst<PolicyVersion> const & version, Options const & options,
                PtrConst<NamedLists> const & lists, AgentMetrics & shown) {
    bool done = false;
    try {
        done = evaluate(version, options, lists, shown);
    } catch (DocumentError const & error) {
        tellFault(error);
    } catch (Qcf::Lists::FileError const & error) {
        // A table that is away for a moment is there again with the next version.
        tellError(error.what());
    }
    if (!done) {
        shown.failed();
    }
    return done;
}

/// The lists that options name; null where they name none.
PtrConst<NamedLists> ownLists(Options const & options) {
    return options.lists.empty() ? nullptr : PtrConst<NamedLists>(readListsOf(options.lists));
}

/// The lists as they are in the file now, or those before where it cannot be read.
PtrConst<NamedLists> readAgain(Options const & options, PtrConst<NamedLists> const & before) {
    tellLine("reads lists and routes again");
    try {
        return ownLists(options);
    } catch (DocumentError const & error) {
        tellFault(error);
    } catch (Qcf::Lists::FileError const & error) {
        tellError(error.what());
    }
    tellWarning("stays with the lists that it has");
    return before;
}

/// Tells which version is in use after one that is not, 0 for none.
void tellStanding(Options const & options, U64 good) {
    tellWarning(options.redis.name + (good == 0 ? ": waits for a version that is good"
                                                : ": stays with version " + std::to_string(good)));
}

/// Ends a run that was to evaluate with one version and came to none.
int failOnce(Options const & options, Following & following) {
    if (stopIsAsked()) {
        tellError(options.redis.name + ": was stopped before there was a version");
        return 1;
    }
    auto const trouble = following.trouble();
    U64 const published = following.published();
    throw DocumentError(
        !trouble.empty() ? trouble
        : published == 0 ? "nothing is published under " + options.redis.name
                         : options.redis.name + ": version " + std::to_string(published) +
                               " is published, and cannot be used here; the lines above say why");
}

int follow(Options const & options, Following & following, PtrConst<NamedLists> lists,
           AgentMetrics & shown) {
    // A number that can still be added to a time of the clock.
    constexpr std::chrono::seconds forEver{std::chrono::hours(24 * 365)};
    String last;
    U64 good = 0; ///< the version that was evaluated last
    for (;;) {
        auto const patience = options.once ? std::chrono::seconds(options.wait) : forEver;
        // Versions that came and went while this one was evaluated are passed over.
        auto const version = following.next(last, patience);
        if (!version) {
            return options.once ? failOnce(options, following) : 0;
        }
        if (reloadIsTaken()) {
            lists = readAgain(options, lists);
        }
        // Of a bad version as well: it would not be better the next time.
        last = version->id().id;
        // Before its routes are evaluated, so that it is seen which version they are of.
        tellLine(options.redis.name + ' ' + version->id().toString() + ": " +
                 std::to_string(version->functions().size()) + " functions, " +
                 std::to_string(version->nodes()) + " nodes");
        bool const done = tryVersion(version, options, lists, shown);
        if (options.once) {
            return done ? 0 : 1;
        }
        if (done) {
            good = version->id().number;
            notifyServiceManager("STATUS=" + options.redis.name + " version " +
                                 std::to_string(good));
        } else {
            tellStanding(options, good);
        }
    }
}

int agent(Options const & options) {
    logFormatIs(options.logFormat);
    // Each version reads its table from the beginning, which standard input can be once.
    if (std::ranges::count(options.run.routes, "-") != 0 &&
        (!options.once || options.lists == "-")) {
        throw UsageError("routes on standard input want --once, and no other file there");
    }
    // What can be wrong without a server is found out before one is asked.
    static_cast<void>(options.redis.options());
    auto const targets = options.metrics.targets();
    auto const lists = ownLists(options);
    // What ends the command before it has begun is told as other commands do.
    if (options.logFormat.empty() && !options.once) {
        logFormatIs("text");
    }
    AgentMetrics shown(options.redis.name, options.function);
    Qcf::Eval::StatementCounts::enabledIs(options.counters != 0 || !targets.empty());
    ShownMetrics const places(shown.metrics(), targets);
    // Only from here on: before, a signal ends the process at once, and nothing is lost by it.
    stopOnSignals();
    bool const isWatched = options.run.why || options.run.log;
    if (isWatched && Qcf::Eval::StatementCounts::enabled()) {
        tellWarning(String(options.run.why ? "--why" : "--log") +
                    " looks at each evaluation, and then no entries of statements are counted");
    }
    if (!options.once) {
        reloadOnSignal();
    }
    Following following(options.redis, [&shown](bool answered, U64 published) {
        answered ? shown.heard(published) : shown.lost();
    });
    // A server that is not there yet does not keep a machine from starting.
    notifyServiceManager("READY=1\nSTATUS=follows " + options.redis.name);
    int const exitCode = follow(options, following, lists, shown);
    notifyServiceManager("STOPPING=1");
    return exitCode;
}

} // namespace

void addAgentCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "agent", "Follow a name in Redis and evaluate routes with what is published",
        "Evaluates the table with each version that is published, until it is interrupted; with\n"
        "--once with the current one alone. A version that cannot be evaluated, or names a list\n"
        "that nothing defines, is told and passed over: the agent stays with the one before.\n"
        "While the server is away the last complete version stays, and the agent catches up by\n"
        "itself. SIGHUP, where there is no terminal, makes it read lists and routes again.",
        "qcf agent --redis redis://localhost --name edge --routes table.mrt --function import",
        [options] { return agent(*options); });
    options->redis.addTo(command);
    command.add_option("--function", options->function, "Function to evaluate")
        ->required()
        ->type_name("NAME");
    command
        .add_option("--lists", options->lists,
                    "Lists that the functions refer to by name, in the place of published ones")
        ->type_name("FILE");
    addAllowUndefinedLists(command, options->allowUndefinedLists);
    command.add_flag("--once", options->once, "Evaluate with the current version, and end");
    addNumber(command, "--wait", options->wait, "Seconds that --once waits for a version", 0, 86400)
        .default_str("10");
    addNumber(command, "--counters", options->counters,
              "Tell every so many seconds, and at the end, how often each statement was entered\n"
              "and how many routes it decided",
              1, 86400)
        .type_name("SECONDS");
    command.add_flag("--why", options->run.why,
                     "Tell which statement decided, by the text's lines where they were published");
    options->metrics.addTo(command);
    addLogFormat(command, options->logFormat);
    options->run.addTo(command);
}
