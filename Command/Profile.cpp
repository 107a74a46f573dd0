#include "Agent/Evaluation/AgentContext.h"
#include "Agent/Evaluation/ParallelEvaluation.h"
#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PolicyPlaces.h"
#include "Command/PreparedPolicy.h"
#include "Command/Progress.h"
#include "Command/Readiness.h"
#include "Command/RouteRun.h"
#include "Command/TableArguments.h"
#include "Watch/ProfileReport.h"

#include <memory>
#include <unordered_map>

/// What the clauses of a policy do to a table: each thread counts what it sees, and it is added up
/// at the end.
namespace {

namespace Watch = Qcf::Watch;

struct Options {
    PolicyArguments policy;
    std::vector<String> routes;
    bool time = false;
    String format = "text";
    U64 threads = 1;
    U64 limit = ~U64{0};
};

/// What the threads of a run share; used in turn, or not changed any more.
struct Run {
    /// By the context that each watches; complete before the first route.
    std::unordered_map<Qcf::Agent::AgentContextBase const *, std::unique_ptr<Watch::Profiler>>
        profilers = {};
    Watch::Profile total = {};
    Progress progress{"routes"};
};

/// Profiles count by themselves; a sink adds up what was counted of a stretch when its turn comes,
/// so that routes behind a fault of the table are not among it.
class ProfileSink final : public Qcf::Agent::EvaluationSink {
public:
    explicit ProfileSink(Run & run) : run_(run) {}
    void take(Qcf::Agent::Evaluated const & evaluated) override { context_ = &evaluated.context; }
    void deliver() override {
        if (context_ != nullptr) {
            Watch::Profiler & profiler = *run_.profilers.at(context_);
            run_.total.add(profiler.profile());
            profiler.clear();
        }
        run_.progress.done(run_.total.routes());
    }

private:
    Run & run_;
    /// That of the sink's thread; null before its first route.
    Qcf::Agent::AgentContextBase const * context_ = nullptr;
};

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
    PolicyPlaces const places(prepared.file);
    auto const reader = openTable(options.routes, options.threads).reader;
    Run run;
    Qcf::Agent::TableRun tableRun;
    tableRun.function = prepared.function;
    tableRun.makeContext = [&] {
        auto const context = makePtr<Qcf::Agent::AgentContext>(prepared.matchers);
        auto & profiler = run.profilers[context.get()];
        profiler = std::make_unique<Watch::Profiler>(
            numbers, Watch::Profiler::Options{options.time, options.format == "folded"});
        context->evaluationObserverIs(profiler.get());
        return Ptr<Qcf::Agent::AgentContextBase>(context);
    };
    tableRun.makeSink = [&] { return std::make_unique<ProfileSink>(run); };
    tableRun.threads = static_cast<U32>(options.threads);
    tableRun.limit = options.limit;
    evaluateAndFinish(*reader, tableRun, [&] {
        write(options.format, {numbers, run.total, places});
    });
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
    addRoutes(command, options->routes);
    command.add_flag("--time", options->time, "Measure the time of each node alone");
    command.add_option("--format", options->format, "text, json or folded")
        ->check(CLI::IsMember({"text", "json", "folded"}))
        ->capture_default_str();
    addThreads(command, options->threads);
    addNumber(command, "--limit", options->limit, "Routes to evaluate at most");
}
