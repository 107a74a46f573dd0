#include "Command/RouteRun.h"

#include "Agent/Routes/ValueRenderer.h"
#include "Agent/Tables/RouteFile.h"
#include "Command/Output.h"
#include "Command/Progress.h"
#include "Command/Readiness.h"
#include "Command/RouteTally.h"
#include "Command/RouteText.h"
#include "QcfLib/QcfEval.h"
#include "Watch/Deciding.h"

#include <map>
#include <unordered_map>

/// Text is made by all threads side by side, and written in the order of the table: the sinks do
/// the one as they take routes, and the other as they deliver them.
namespace {

using Qcf::Agent::Evaluated;

/// A thread's context, with what sees which statements decide.
struct Watcher {
    explicit Watcher(Ptr<Qcf::Agent::AgentContextBase> of) : context(std::move(of)) {
        context->evaluationObserverIs(&deciding);
    }
    Ptr<Qcf::Agent::AgentContextBase> context;
    Qcf::Watch::Deciding deciding;
};

/// What the threads of a run share; used in turn, or not changed any more.
struct Run {
    explicit Run(RouteRunOptions const & runOptions) : options(runOptions) {}

    RouteRunOptions const & options;
    /// Where it is to be told what decided: by context, complete before the first route.
    std::unordered_map<Qcf::Agent::AgentContextBase const *, std::unique_ptr<Watcher>> watchers;
    RouteTally tally;
    Progress progress{"routes"};
};

/// Where statements stand, found out once each: a policy has few, a table many routes.
class KnownPlaces {
public:
    explicit KnownPlaces(Qcf::Watch::NodePlaces const * places) : places_(places) {}

    ShownDecision of(Qcf::Watch::Deciding const & deciding) {
        ShownDecision shown{nullptr, {}};
        for (Qcf::Watch::DecidingStatement const & statement : deciding.path()) {
            Known const & known = find(statement);
            shown.place = shown.place == nullptr ? &known.place : shown.place;
            if (!known.reason.empty()) {
                shown.reason = known.reason;
                break;
            }
        }
        return shown;
    }

private:
    struct Known {
        Qcf::Watch::NodePlace place;
        String reason;
    };
    using Key = std::pair<Qcf::Eval::Expression const *, Qcf::Eval::Function const *>;

    Known const & find(Qcf::Watch::DecidingStatement const & statement) {
        auto const [at, isNew] = known_.try_emplace(Key{statement.node, statement.within});
        if (isNew) {
            at->second = {places_->of(*statement.node, *statement.within),
                          places_->reason(*statement.node)};
        }
        return at->second;
    }

    Qcf::Watch::NodePlaces const * places_;
    std::map<Key, Known> known_;
};

/// Counts routes; sinks that also make text of them derive from it.
class CountingSink : public Qcf::Agent::EvaluationSink {
public:
    explicit CountingSink(Run & run) : run_(run), known_(run.options.nodePlaces.get()) {}

    void take(Evaluated const & evaluated) override { tally_.add(evaluated); }

    // In turn with the other sinks, so that the shared counts need no lock.
    void deliver() override {
        run_.tally.add(tally_);
        tally_ = RouteTally();
        run_.progress.done(run_.tally.routes);
        standardOutput().write(text_);
        // It keeps its storage for the next stretch.
        text_.clear();
    }

protected:
    bool selects(Evaluated const & evaluated) const {
        return run_.options.selection.selects(evaluated);
    }
    /// What is to be shown of the route; good until the next one is taken.
    RouteDetails detailsOf(Evaluated const & evaluated) {
        RouteRunOptions const & options = run_.options;
        RouteDetails details{options.log, options.places ? options.map.get() : nullptr};
        if (options.why) {
            auto & deciding = run_.watchers.at(&evaluated.context)->deciding;
            decision_ = known_.of(deciding);
            deciding.clear();
            details.decision = &decision_;
        }
        return details;
    }
    String & text() { return text_; }

private:
    Run & run_;
    KnownPlaces known_;
    ShownDecision decision_{};
    RouteTally tally_;
    String text_;
};

class TableSink final : public CountingSink {
public:
    using CountingSink::CountingSink;

    void take(Evaluated const & evaluated) override {
        CountingSink::take(evaluated);
        RouteDetails const details = detailsOf(evaluated);
        if (!selects(evaluated)) {
            return;
        }
        appendRouteLine(text(), evaluated, details);
        if (details.log) {
            appendLogLines(text(), evaluated, details.places);
        }
    }
};

class JsonLinesSink final : public CountingSink {
public:
    // The renderer appends to the sink's own text, and goes on in it after each stretch.
    explicit JsonLinesSink(Run & run) : CountingSink(run), renderer_(text()), values_(renderer_) {}

    void take(Evaluated const & evaluated) override {
        CountingSink::take(evaluated);
        RouteDetails const details = detailsOf(evaluated);
        if (!selects(evaluated)) {
            return;
        }
        renderRoute(evaluated, details, renderer_, values_);
        renderer_.endDocument();
    }

private:
    RendererV2 renderer_;
    Qcf::Agent::ValueRenderer values_;
};

std::unique_ptr<Qcf::Agent::EvaluationSink> makeSink(Run & run) {
    if (run.options.output == "jsonl") {
        return std::make_unique<JsonLinesSink>(run);
    }
    if (run.options.output == "table") {
        return std::make_unique<TableSink>(run);
    }
    return std::make_unique<CountingSink>(run);
}

/// With what sees its evaluations, where it is to be told what decided. A run whose routes nobody
/// is told of needs none.
Ptr<Qcf::Agent::AgentContextBase> madeContext(Run & run, MakeContext const & makeContext) {
    auto context = makeContext();
    if (run.options.why && run.options.output != "none") {
        run.watchers.emplace(context.get(), std::make_unique<Watcher>(context));
    }
    return context;
}

// Lines of JSON are for programs: a summary among them would be none.
void writeSummary(String const & output, Run const & run,
                  Qcf::Agent::ReadStatistics const & statistics) {
    if (output == "jsonl") {
        return;
    }
    if (output == "table") {
        standardOutput().write("\n");
    }
    standardOutput().write(run.tally.summary(statistics, run.progress.seconds()));
}

} // namespace

void RouteRunOptions::addTo(CLI::App & command) {
    // A bound against mistyped numbers.
    constexpr U64 mostThreads = 256;
    command.add_option("--routes", routes, "Table of routes: MRT or JSON lines, also compressed")
        ->required()
        ->type_name("FILE");
    command.add_option("--output", output, "table, jsonl or none (the summary alone)")
        ->check(CLI::IsMember({"table", "jsonl", "none"}))
        ->capture_default_str();
    command.add_flag("--log", log, "Tell the result of every node that was evaluated");
    addNumber(command, "--threads", threads, "Threads that evaluate", 1, mostThreads)
        .default_str("1");
    addNumber(command, "--limit", limit, "Routes to evaluate at most");
    selection.addTo(command);
}

// What was evaluated before a failure is summed up as well, and is written before the message about
// it. Where nobody reads any more there is nothing to sum up.
void runRoutes(RouteRunOptions const & options, PtrConst<Qcf::Eval::Function> function,
               MakeContext makeContext) {
    // The file is opened before the clock of the run starts.
    auto const reader = Qcf::Agent::openRoutes(options.routes, tellLine);
    Run run(options);
    Qcf::Agent::TableRun tableRun;
    tableRun.function = std::move(function);
    tableRun.makeContext = [&] { return madeContext(run, makeContext); };
    tableRun.makeSink = [&] { return makeSink(run); };
    tableRun.threads = static_cast<U32>(options.threads);
    tableRun.limit = options.limit;
    tableRun.log = options.log;
    if (options.output == "table") {
        standardOutput().write(routeHeading(options.why));
    }
    try {
        evaluateTable(*reader, tableRun);
    } catch (ClosedOutput const &) {
        throw;
    } catch (...) {
        writeSummary(options.output, run, reader->statistics());
        standardOutput().flush();
        throw;
    }
    writeSummary(options.output, run, reader->statistics());
}
