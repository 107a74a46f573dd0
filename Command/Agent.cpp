#include "Agent/Evaluation/AgentContext.h"
#include "Command/Command.h"
#include "Command/CounterReport.h"
#include "Command/Output.h"
#include "Command/PolicyFile.h"
#include "Command/PublishedPolicy.h"
#include "Command/Readiness.h"
#include "Command/RedisArguments.h"
#include "Command/RouteRun.h"
#include "Lists/ListsDocument.h"
#include "Mirror/Redis/RedisFollower.h"

#include <condition_variable>
#include <csignal>
#include <memory>
#include <thread>

/// Following and evaluating are apart: the follower's thread keeps the view in step with the
/// server, the main thread takes from the view whatever is newest when it is done with the last
/// table.
namespace {

using Qcf::Eval::AetNodeBase;
using Qcf::Eval::Function;
using Qcf::Mirror::PolicyVersion;
using namespace std::chrono_literals;

struct Options {
    RedisArguments redis;
    String function;
    String lists;
    bool allowUndefinedLists = false;
    bool once = false;
    U64 wait = 10;
    U64 counters = 0; ///< seconds; 0 for no counts
    RouteRunOptions run;
};

// Of the one type that a signal's handler may write to.
volatile std::sig_atomic_t stopAsked = 0;

/// Ends after the table that is being evaluated; a second signal ends at once.
void stopOnSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) { stopAsked = 1; };
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

/// Follows on a thread of its own, so that a long table does not keep the agent from the news.
class Following {
public:
    Following(Qcf::Mirror::RedisOptions redis, String name)
        : mirror_(std::move(name)),
          follower_(std::move(redis), mirror_, tellLine),
          thread_([this](std::stop_token const & stop) { run(stop); }) {}

    /// The next version after `last`; null when a stop was asked for or the time is over.
    PtrConst<PolicyVersion> next(String const & last, std::chrono::seconds atMost) {
        // By the clock that nobody sets, lest a corrected time of day ends the waiting.
        auto const end = std::chrono::steady_clock::now() + atMost;
        std::unique_lock lock(mutex_);
        while (stopAsked == 0 && std::chrono::steady_clock::now() < end) {
            auto version = mirror_.view().current();
            // As long as nothing was published the id is empty, as `last` is at the beginning.
            if (version->id().id != last) {
                return version;
            }
            // Not without limit: a signal notifies nobody, and news may come between the look and
            // the wait.
            news_.wait_for(lock, 50ms);
        }
        return nullptr;
    }

private:
    // The wait bounds how long the end of the process takes, since a poll is not broken off.
    void run(std::stop_token const & stop) {
        while (!stop.stop_requested()) {
            if (follower_.poll(200ms)) {
                news_.notify_all();
            }
        }
    }

    std::mutex mutex_;
    std::condition_variable news_;
    Qcf::Mirror::FollowedStore mirror_;
    Qcf::Mirror::RedisFollower follower_;
    // The last member, so that it starts when all else is there, and is joined before anything
    // goes.
    std::jthread thread_;
};

/// Evaluates the routes with one version, whatever is published meanwhile; false, and told why,
/// when a name that the function reaches is not defined.
bool evaluate(PolicyVersion const & version, Options const & options,
              Qcf::Lists::NamedLists const * lists) {
    auto const * const function = version.find(options.function);
    // No fault of usage: another version may have the function.
    if (function == nullptr) {
        throw DocumentError(options.redis.name + ' ' + version.id().toString() + ": no function " +
                            options.function);
    }
    checkFunction(*function);
    String const subject = options.redis.name + " version " + std::to_string(version.id().number);
    // Nodes of a store stand in no file: a key and the function around it are what can be looked up
    // there.
    auto const placeOf = [&](AetNodeBase const & node, Function const & within) {
        return subject + ": function \"" + within.funcName() + "\", node " +
               std::to_string(node.aetNodeKey());
    };
    if (!Readiness(subject, options.allowUndefinedLists).of(*function, placeOf, lists)) {
        return false;
    }
    // Bound anew for each version, since each has slots of its own.
    auto const matchers = Qcf::Lists::bindLists(version.slots(), lists);
    std::optional<CounterReport> report;
    if (options.counters != 0) {
        report.emplace(subject, PtrConst<Function>(function),
                       std::chrono::seconds(options.counters));
    }
    runRoutes(options.run, PtrConst<Function>(function),
              [&] { return makePtr<Qcf::Agent::AgentContext>(matchers); });
    // The next version may be long in coming; what was told about this one is not to wait for it.
    standardOutput().flush();
    return true;
}

/// Evaluates with a version as far as it is good; whether it is. A bad version is no end: the one
/// who published it may publish a better one.
bool tryVersion(PolicyVersion const & version, Options const & options,
                Qcf::Lists::NamedLists const * lists) {
    try {
        return evaluate(version, options, lists);
    } catch (DocumentError const & error) {
        tellLine(error.what());
        return false;
    }
}

int follow(Options const & options, Following & following, Qcf::Lists::NamedLists const * lists) {
    // A number that can still be added to a time of the clock.
    constexpr std::chrono::seconds forEver{std::chrono::hours(24 * 365)};
    String last;
    U64 good = 0; ///< the version that was evaluated last
    for (;;) {
        auto const patience = options.once ? std::chrono::seconds(options.wait) : forEver;
        // Versions that came and went while this one was evaluated are passed over.
        auto const version = following.next(last, patience);
        if (!version) {
            // An end that was asked for is no failure.
            if (options.once && stopAsked == 0) {
                throw DocumentError("nothing is published under " + options.redis.name);
            }
            return 0;
        }
        // Of a bad version as well: it would not be better the next time.
        last = version->id().id;
        // Before its routes are evaluated, so that it is seen which version they are of.
        tellLine(options.redis.name + ' ' + version->id().toString() + ": " +
                 std::to_string(version->functions().size()) + " functions, " +
                 std::to_string(version->nodes()) + " nodes");
        bool const done = tryVersion(*version, options, lists);
        if (options.once) {
            return done ? 0 : 1;
        }
        if (done) {
            good = version->id().number;
        } else {
            tellLine(options.redis.name + (good == 0
                                               ? ": waits for a version that is good"
                                               : ": stays with version " + std::to_string(good)));
        }
    }
}

int agent(Options const & options) {
    // Each version reads its table from the beginning, which standard input can be once.
    if (options.run.routes == "-" && (!options.once || options.lists == "-")) {
        throw UsageError("routes on standard input want --once, and no other file there");
    }
    // What can be wrong without a server is found out before one is asked.
    auto const redis = options.redis.options();
    // Read once: other lists want another process.
    PtrConst<Qcf::Lists::NamedLists> lists;
    if (!options.lists.empty()) {
        lists = readListsOf(options.lists);
    }
    Qcf::Eval::StatementCounts::enabledIs(options.counters != 0);
    // Only from here on: before, a signal ends the process at once, and nothing is lost by it.
    stopOnSignals();
    Following following(redis, options.redis.name);
    return follow(options, following, lists.get());
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
        "itself.",
        "qcf agent --redis redis://localhost --name edge --routes table.mrt --function import",
        [options] { return agent(*options); });
    options->redis.addTo(command);
    command.add_option("--function", options->function, "Function to evaluate")
        ->required()
        ->type_name("NAME");
    command.add_option("--lists", options->lists, "Lists that the functions refer to by name")
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
    options->run.addTo(command);
}
