#include "Command/RouteRun.h"

#include "Agent/Routes/ValueRenderer.h"
#include "Command/Decisions.h"
#include "Command/Output.h"
#include "Command/Progress.h"
#include "Command/Readiness.h"
#include "Command/RouteText.h"
#include "Command/TableArguments.h"
#include "QcfLib/QcfEval.h"
#include "Watch/Deciding.h"

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
    Run(RouteRunOptions const & runOptions, Qcf::Agent::RouteFiles const * several)
        : options(runOptions), files(several), decisions(runOptions.nodePlaces.get()) {}

    RouteRunOptions const & options;
    /// Where the table has several files; else null.
    Qcf::Agent::RouteFiles const * files;
    /// Where it is to be told what decided: by context, complete before the first route.
    std::unordered_map<Qcf::Agent::AgentContextBase const *, std::unique_ptr<Watcher>> watchers;
    RouteTally tally;
    Decisions decisions;
    Progress progress{"routes"};
};

/// Counts routes; sinks that also make text of them derive from it.
class CountingSink : public Qcf::Agent::EvaluationSink {
public:
    explicit CountingSink(Run & run) : run_(run), decisions_(run.options.nodePlaces.get()) {}

    void take(Evaluated const & evaluated) override {
        tally_.add(evaluated);
        if (run_.options.why) {
            auto & deciding = run_.watchers.at(&evaluated.context)->deciding;
            decisions_.count(deciding);
            decision_ = tellsRoutes() ? decisions_.of(deciding) : ShownDecision{};
            deciding.clear();
        }
    }

    // In turn with the other sinks, so that the shared counts need no lock.
    void deliver() override {
        run_.tally.add(tally_);
        if (run_.options.counted) {
            run_.options.counted(tally_);
        }
        tally_ = RouteTally();
        run_.decisions.take(decisions_);
        run_.progress.done(run_.tally.routes);
        standardOutput().write(text_);
        // It keeps its storage for the next stretch.
        text_.clear();
    }

protected:
    bool selects(Evaluated const & evaluated) const {
        return run_.options.selection.selects(evaluated);
    }
    /// Whether routes are told, and not the summary alone.
    virtual bool tellsRoutes() const { return false; }
    /// What is to be shown of the route that was taken last.
    RouteDetails details(Evaluated const & evaluated) const {
        RouteRunOptions const & options = run_.options;
        return {options.log, options.places ? options.map.get() : nullptr,
                options.why ? &decision_ : nullptr,
                run_.files != nullptr ? &run_.files->fileOf(evaluated.number) : nullptr};
    }
    String & text() { return text_; }

private:
    Run & run_;
    Decisions decisions_;
    ShownDecision decision_{};
    RouteTally tally_;
    String text_;
};

class TableSink final : public CountingSink {
public:
    using CountingSink::CountingSink;

    void take(Evaluated const & evaluated) override {
        CountingSink::take(evaluated);
        if (!selects(evaluated)) {
            return;
        }
        RouteDetails const shown = details(evaluated);
        appendRouteLine(text(), evaluated, shown);
        if (shown.log) {
            appendLogLines(text(), evaluated, shown.places);
        }
    }

protected:
    bool tellsRoutes() const override { return true; }
};

class JsonLinesSink final : public CountingSink {
public:
    // The renderer appends to the sink's own text, and goes on in it after each stretch.
    explicit JsonLinesSink(Run & run) : CountingSink(run), renderer_(text()), values_(renderer_) {}

    void take(Evaluated const & evaluated) override {
        CountingSink::take(evaluated);
        if (!selects(evaluated)) {
            return;
        }
        renderRoute(evaluated, details(evaluated), renderer_, values_);
        renderer_.endDocument();
    }

protected:
    bool tellsRoutes() const override { return true; }

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

/// With what sees its evaluations, where it is to be told what decided.
Ptr<Qcf::Agent::AgentContextBase> madeContext(Run & run, MakeContext const & makeContext) {
    auto context = makeContext();
    if (run.options.why) {
        run.watchers.emplace(context.get(), std::make_unique<Watcher>(context));
    }
    return context;
}

// Lines of JSON are for programs: a summary among them would be none.
void writeSummary(Run const & run, Qcf::Eval::Function const & function,
                  Qcf::Agent::ReadStatistics const & statistics) {
    if (run.options.output == "jsonl") {
        return;
    }
    if (run.options.output == "table") {
        standardOutput().write("\n");
    }
    standardOutput().write(run.tally.summary(statistics, run.progress.seconds()));
    // Of a function that expects arguments nothing is evaluated, which was told before.
    if (run.options.why && !function.argumentsExpected()) {
        standardOutput().write(run.decisions.text(run.tally.routes));
    }
}

} // namespace

void RouteRunOptions::addTo(CLI::App & command) {
    // A bound against mistyped numbers.
    addRoutes(command, routes);
    command.add_option("--output", output, "table, jsonl or none (the summary alone)")
        ->check(CLI::IsMember({"table", "jsonl", "none"}))
        ->capture_default_str();
    command.add_flag("--log", log, "Tell the result of every node that was evaluated");
    addThreads(command, threads);
    addNumber(command, "--limit", limit, "Routes to evaluate at most");
    selection.addTo(command);
}

// Where nobody reads any more there is nothing to finish.
void evaluateAndFinish(Qcf::Agent::RouteReader & reader, Qcf::Agent::TableRun const & run,
                       std::function<void()> const & finish) {
    try {
        evaluateTable(reader, run);
    } catch (ClosedOutput const &) {
        throw;
    } catch (...) {
        finish();
        standardOutput().flush();
        throw;
    }
    finish();
}

void runRoutes(RouteRunOptions const & options, PtrConst<Qcf::Eval::Function> function,
               MakeContext makeContext) {
    // The file is opened before the clock of the run starts.
    auto const [reader, files] = openTable(options.routes, options.threads);
    Run run(options, files);
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
    evaluateAndFinish(*reader, tableRun, [&, &read = *reader] {
        if (options.wasRead) {
            options.wasRead(read.statistics());
        }
        writeSummary(run, *tableRun.function, read.statistics());
    });
}
