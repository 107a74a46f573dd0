#include "Agent/Evaluation/AgentContext.h"
#include "Agent/Evaluation/ParallelEvaluation.h"
#include "Agent/Tables/RouteFile.h"
#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PolicyPlaces.h"
#include "Command/PreparedPolicy.h"
#include "Command/Progress.h"
#include "Command/Readiness.h"
#include "Watch/ProfileReport.h"

#include <deque>
#include <memory>

/// What the clauses of a policy do to a table: each thread counts what it sees, and it is added up
/// at the end.
namespace {

namespace Watch = Qcf::Watch;

struct Options {
    PolicyArguments policy;
    String routes;
    bool time = false;
    String format = "text";
    U64 threads = 1;
    U64 limit = ~U64{0};
};

/// Profiles count by themselves; a sink only shows that the work goes on.
class ProgressSink final : public Qcf::Agent::EvaluationSink {
public:
    ProgressSink(Progress & progress, U64 & routes) : progress_(progress), routes_(routes) {}
    void take(Qcf::Agent::Evaluated const & /*evaluated*/) override { ++taken_; }
    void deliver() override {
        routes_ += taken_;
        taken_ = 0;
        progress_.done(routes_);
    }

private:
    Progress & progress_;
    U64 & routes_;
    U64 taken_ = 0;
};

Watch::Profile profileOf(Options const & options, PreparedPolicy const & prepared,
                         Watch::NodeNumbers const & numbers) {
    auto const reader = Qcf::Agent::openRoutes(options.routes, tellLine);
    Progress progress("routes");
    U64 routes = 0;
    std::deque<Watch::Profiler> profilers;
    Qcf::Agent::TableRun run;
    run.function = prepared.function;
    run.makeContext = [&] {
        auto const context = makePtr<Qcf::Agent::AgentContext>(prepared.matchers);
        context->evaluationObserverIs(&profilers.emplace_back(
            numbers, Watch::Profiler::Options{options.time, options.format == "folded"}));
        return Ptr<Qcf::Agent::AgentContextBase>(context);
    };
    run.makeSink = [&] { return std::make_unique<ProgressSink>(progress, routes); };
    run.threads = static_cast<U32>(options.threads);
    run.limit = options.limit;
    evaluateTable(*reader, run);
    Watch::Profile total;
    for (Watch::Profiler const & profiler : profilers) {
        total.add(profiler.profile());
    }
    return total;
}

void write(String const & format, Watch::ProfileView const & view) {
    String text;
    if (format == "json") {
        RendererV2 renderer(text);
        renderProfile(view, renderer);
    } else {
        text = format == "folded" ? foldedText(view) : profileText(view);
    }
    standardOutput().write(text);
}

int profile(Options const & options) {
    options.policy.checkInputs(options.routes);
    PreparedPolicy const prepared = preparePolicy(options.policy);
    if (!prepared.function) {
        return 1;
    }
    Watch::NodeNumbers const numbers(std::span(&prepared.function, 1));
    auto const total = profileOf(options, prepared, numbers);
    PolicyPlaces const places(prepared.file);
    write(options.format, {numbers, total, places, prepared.file->path()});
    return 0;
}

} // namespace

void addProfileCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "profile", "Count what the clauses of a function do to a table of routes",
        "Shows which statements decided the verdicts, and of each statement and condition how "
        "often\n"
        "it was entered, true, false and unknown. With --time the clock is asked when a node is\n"
        "entered and left: the times are those of an evaluation that is watched, not of the "
        "function\n"
        "as it usually runs. With --format folded the output is for tools that draw flame graphs.",
        "qcf profile policy.qcf --function import --routes table.mrt.gz",
        [options] { return profile(*options); });
    options->policy.addTo(command);
    command
        .add_option("--routes", options->routes,
                    "Table of routes: MRT or JSON lines, also compressed")
        ->required()
        ->type_name("FILE");
    command.add_flag("--time", options->time, "Measure the time of each node alone");
    command.add_option("--format", options->format, "text, json or folded")
        ->check(CLI::IsMember({"text", "json", "folded"}))
        ->capture_default_str();
    constexpr U64 mostThreads = 256;
    addNumber(command, "--threads", options->threads, "Threads that evaluate", 1, mostThreads)
        .default_str("1");
    addNumber(command, "--limit", options->limit, "Routes to evaluate at most");
}
