#include "Agent/Evaluation/AgentContext.h"
#include "Command/Colours.h"
#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PolicyPlaces.h"
#include "Command/PreparedPolicy.h"
#include "Command/Progress.h"
#include "Command/Readiness.h"
#include "Command/RouteRun.h"
#include "Command/RouteSelection.h"
#include "Command/TableArguments.h"
#include "Platform/Render/RendererV2.h"
#include "Questions/FlipText.h"
#include "Watch/ExplanationText.h"

#include <optional>
#include <unordered_map>

#include <unistd.h>

/// Each thread has a context that is watched; its sink makes text of what was seen before the
/// context gets the next route.
namespace {

using Qcf::Agent::AgentContext;
using Qcf::Agent::AgentContextBase;
using Qcf::Agent::Evaluated;
using Qcf::Questions::FlipFinder;
using Qcf::Questions::FlipTo;
using Qcf::Watch::Watched;

struct Options {
    PolicyArguments policy;
    RouteSelection selection;
    std::optional<U64> route = {}; ///< missing for every one
    std::vector<String> routes;
    String format = "text";
    bool all = false;
    String flip; ///< accept, reject or any; empty for none
    Qcf::Questions::FlipOptions flips = {};
    U64 threads = 1;
    U64 limit = ~U64{0};
};

/// A thread's context, which must be there until nobody watches it.
struct Watcher {
    explicit Watcher(Ptr<AgentContextBase> of) : context(std::move(of)), watched(*context) {}
    Ptr<AgentContextBase> context;
    Watched watched;
};

/// What the threads of a run share; used in turn, but for what does not change any more.
struct Run {
    Options const & options;
    PolicyPlaces const & places;
    PreparedPolicy const & prepared;
    /// Null where no flips are asked for.
    std::unique_ptr<Qcf::Questions::FlipGround const> ground = {};
    /// By the context that each watches; complete before the first route.
    std::unordered_map<AgentContextBase const *, std::unique_ptr<Watcher>> watchers = {};
    Progress progress{"routes"};
    U64 routes = 0;
};

class ExplainingSink final : public Qcf::Agent::EvaluationSink {
public:
    explicit ExplainingSink(Run & run) : run_(run), renderer_(text_) {
        if (run.ground) {
            flips_ =
                std::make_unique<FlipFinder>(run.prepared.function, *run.ground,
                                             run.prepared.matchers, run.places, run.options.flips);
        }
    }

    void take(Evaluated const & evaluated) override {
        Watched & watched = run_.watchers.at(&evaluated.context)->watched;
        if (!run_.options.selection.selects(evaluated)) {
            watched.clear();
            return;
        }
        Qcf::Watch::ExplainedRoute const route{evaluated, watched, run_.places};
        tell(route);
        ++routes_;
        // What a route was not seen of must not be taken for the next one's.
        watched.clear();
    }

    void deliver() override {
        run_.routes += std::exchange(routes_, 0);
        run_.progress.done(run_.routes);
        standardOutput().write(run_.options.format == "json" ? text_ : shown(text_));
        text_.clear();
    }

private:
    static String shown(String const & text) {
        constexpr MarkedWord words[] = {{"  ", "accepted (true)", Colour::good},
                                        {"  ", "rejected (false)", Colour::bad},
                                        {"  ", "undecided (unknown)", Colour::notice},
                                        {" ", "<- decides", Colour::notice}};
        return colouredWords(text, words, STDOUT_FILENO);
    }

    void tell(Qcf::Watch::ExplainedRoute const & route) {
        auto const report =
            flips_ ? std::optional(flips_->find(route.evaluated.route)) : std::nullopt;
        if (run_.options.format != "json") {
            appendExplanation(text_, route, run_.options.all);
            if (report) {
                appendFlips(text_, *report, run_.places);
            }
            return;
        }
        renderExplanation(route, renderer_, [&] {
            if (report) {
                renderFlips(*report, route.evaluated.route, run_.places, renderer_);
            }
        });
        renderer_.endDocument();
    }

    Run & run_;
    std::unique_ptr<FlipFinder> flips_;
    String text_;
    RendererV2 renderer_;
    U64 routes_ = 0;
};

/// Says that no route was told of, and answers the exit code: a number names one that must be
/// there.
int tellNone(Options const & options, U64 routes) {
    if (options.route) {
        tellLine(tableName(options.routes) + ": route " + std::to_string(*options.route) +
                 " is not in the table, or not selected");
        return 1;
    }
    tellLine(tableName(options.routes) + ": no route was selected of " + std::to_string(routes));
    return 0;
}

int explain(Options const & options) {
    options.policy.checkInputs(options.routes);
    if (!options.flip.empty() && options.policy.lists == "-") {
        throw UsageError("--flip reads the lists twice, and standard input can be read once");
    }
    Qcf::Agent::TableRun tableRun;
    tableRun.threads = static_cast<U32>(options.threads);
    tableRun.limit = options.limit;
    if (options.route && *options.route < options.limit) {
        tableRun.limit = *options.route + 1;
    }
    tableRun.select = [&options](U64 number, Qcf::Agent::Route const & route) {
        bool const isAsked = !options.route || *options.route == number;
        return isAsked && options.selection.selectsRoute(route);
    };
    PreparedPolicy const prepared = preparePolicy(options.policy);
    if (!prepared.function) {
        return 1;
    }
    PolicyPlaces const places(prepared.file);
    auto const reader = openTable(options.routes, options.threads).reader;
    Run run{options, places, prepared};
    if (!options.flip.empty()) {
        run.ground = std::make_unique<Qcf::Questions::FlipGround const>(
            *prepared.function, prepared.file->listRecordsWith(options.policy.lists));
    }
    tableRun.function = prepared.function;
    tableRun.makeContext = [&]() -> Ptr<AgentContextBase> {
        Ptr<AgentContextBase> context = makePtr<AgentContext>(prepared.matchers);
        run.watchers.emplace(context.get(), std::make_unique<Watcher>(context));
        return context;
    };
    tableRun.makeSink = [&] { return std::make_unique<ExplainingSink>(run); };
    evaluateAndFinish(*reader, tableRun, [] {});
    return run.routes == 0 ? tellNone(options, reader->statistics().routes) : 0;
}

void addFlipOptions(CLI::App & command, Options & options) {
    auto & flip =
        *command
             .add_option_function<String>(
                 "--flip",
                 [&options](String const & to) {
                     options.flip = to;
                     options.flips.to = to == "accept"   ? FlipTo::accept
                                        : to == "reject" ? FlipTo::reject
                                                         : FlipTo::any;
                 },
                 "Look for the smallest change of the route that turns its verdict: accept, "
                 "reject or any")
             ->check(CLI::IsMember({"accept", "reject", "any"}));
    addNumber(command, "--max", options.flips.most, "Flips to tell of a route at most", 1)
        .default_str("5");
    command.get_option("--max")->needs(&flip);
    command.add_flag("--pairs", options.flips.pairs, "Change two attributes at once, too")
        ->needs(&flip);
}

} // namespace

void addExplainCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "explain", "Tell which statement decided about routes, and why",
        "Shows for each route the tests that led to its verdict, with the values that they read,\n"
        "what the entries of lists wanted, why something is unknown, and what was changed. What\n"
        "the route came without is marked with the default that it has. --all shows everything\n"
        "that was evaluated; in JSON the tree is always whole.",
        "qcf explain policy.qcf --function import --routes table.mrt.gz --prefix 10.0.0.0/8/longer",
        [options] { return explain(*options); });
    options->policy.addTo(command);
    addRoutes(command, options->routes);
    addNumber(command, "--route", options->route, "Number of the one route to tell of, from 0 on");
    options->selection.addTo(command);
    command.add_option("--format", options->format, "text or json (an object a line)")
        ->check(CLI::IsMember({"text", "json"}))
        ->capture_default_str();
    command.add_flag("--all", options->all, "Show everything that was evaluated");
    addFlipOptions(command, *options);
    addThreads(command, options->threads);
    addNumber(command, "--limit", options->limit, "Routes to read at most");
}
