#include "Command/RouteRun.h"

#include "Agent/Routes/ValueRenderer.h"
#include "Agent/Tables/RouteFile.h"
#include "Command/Output.h"
#include "Command/Progress.h"
#include "Command/Readiness.h"
#include "Command/RouteTally.h"
#include "Command/RouteText.h"
#include "QcfLib/QcfEval.h"

/// Text is made by all threads side by side, and written in the order of the table: the sinks do
/// the one as they take routes, and the other as they deliver them.
namespace {

using Qcf::Agent::Evaluated;

/// What the threads of a run share; used in turn.
struct Run {
    bool log = false;
    RouteSelection const * selection = nullptr;
    /// Null where places are not asked for.
    Qcf::Text::PlaceMap const * places = nullptr;
    RouteTally tally;
    Progress progress{"routes"};
};

/// Counts routes; sinks that also make text of them derive from it.
class CountingSink : public Qcf::Agent::EvaluationSink {
public:
    explicit CountingSink(Run & run) : run_(run) {}

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
    bool selects(Evaluated const & evaluated) const { return run_.selection->selects(evaluated); }
    bool log() const { return run_.log; }
    Qcf::Text::PlaceMap const * places() const { return run_.places; }
    String & text() { return text_; }

private:
    Run & run_;
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
        appendRouteLine(text(), evaluated);
        if (log()) {
            appendLogLines(text(), evaluated, places());
        }
    }
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
        renderRoute(evaluated, log(), places(), renderer_, values_);
        renderer_.endDocument();
    }

private:
    RendererV2 renderer_;
    Qcf::Agent::ValueRenderer values_;
};

std::unique_ptr<Qcf::Agent::EvaluationSink> makeSink(String const & output, Run & run) {
    if (output == "jsonl") {
        return std::make_unique<JsonLinesSink>(run);
    }
    if (output == "table") {
        return std::make_unique<TableSink>(run);
    }
    return std::make_unique<CountingSink>(run);
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
    Run run;
    run.log = options.log;
    run.selection = &options.selection;
    run.places = options.places ? options.map.get() : nullptr;
    Qcf::Agent::TableRun tableRun;
    tableRun.function = std::move(function);
    tableRun.makeContext = std::move(makeContext);
    tableRun.makeSink = [&] { return makeSink(options.output, run); };
    tableRun.threads = static_cast<U32>(options.threads);
    tableRun.limit = options.limit;
    tableRun.log = options.log;
    if (options.output == "table") {
        standardOutput().write(routeHeading());
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
