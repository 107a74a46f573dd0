#include "Agent/Evaluation/AgentContext.h"
#include "Agent/Evaluation/ParallelEvaluation.h"
#include "Agent/Tables/RouteFile.h"
#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PolicyFile.h"
#include "Command/ProgramFile.h"
#include "Command/Progress.h"
#include "Command/Readiness.h"
#include "Watch/ProfileReport.h"
#include "Watch/TextPlaces.h"

#include <deque>
#include <memory>

/// What the clauses of a policy do to a table: each thread counts what it sees, and it is added up
/// at the end.
namespace {

namespace Watch = Qcf::Watch;
using Qcf::Eval::AetNodeBase;
using Qcf::Eval::Function;

struct Options {
    PolicyFile::Options policy;
    String function;
    String lists;
    bool allowUndefinedLists = false;
    String routes;
    bool time = false;
    String format = "text";
    U64 threads = 1;
    U64 limit = ~U64{0};
};

/// Places as the policy's file has them.
class PolicyPlaces final : public Watch::NodePlaces {
public:
    PolicyPlaces(PolicyFile const & policy, String const & path) : policy_(policy), path_(path) {
        if (policy.text() != nullptr) {
            text_.emplace(policy.text()->map(), policy.sources());
        }
    }

    Watch::NodePlace of(AetNodeBase const & node, Function const & within) const override {
        if (auto const * const at = policy_.mappedPlace(node)) {
            return {policy_.map().fileName(*at),
                    {},
                    at->begin.line,
                    at->begin.column,
                    at->end.line,
                    at->end.column};
        }
        String const place = policy_.placeOf(node, within);
        bool const isBelow = place.starts_with(path_);
        return {path_, isBelow ? place.substr(path_.size()) : String()};
    }
    String line(AetNodeBase const & node, Function const & within) const override {
        return text_ ? text_->line(node, within) : node.typeData().name;
    }
    String reason(AetNodeBase const & node) const override {
        auto const * const at = policy_.mappedPlace(node);
        return at == nullptr ? String() : at->reason;
    }

private:
    PolicyFile const & policy_;
    String const & path_;
    std::optional<Watch::TextPlaces> text_;
};

void checkInputs(Options const & options) {
    int const inputs = (options.policy.path == "-" ? 1 : 0) + (options.routes == "-" ? 1 : 0) +
                       (options.lists == "-" ? 1 : 0);
    if (inputs > 1) {
        throw UsageError("only one file can be standard input");
    }
}

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

Watch::Profile profileOf(Options const & options, PtrConst<Function> const & function,
                         Watch::NodeNumbers const & numbers,
                         PtrConst<Qcf::ExternalMatchersBase> const & matchers) {
    auto const reader = Qcf::Agent::openRoutes(options.routes, tellLine);
    Progress progress("routes");
    U64 routes = 0;
    std::deque<Watch::Profiler> profilers;
    Qcf::Agent::TableRun run;
    run.function = function;
    run.makeContext = [&] {
        auto const context = makePtr<Qcf::Agent::AgentContext>(matchers);
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
    checkInputs(options);
    PolicyFile const policy = PolicyFile::read(options.policy);
    auto const function = findFunction(policy.program(), options.policy.path, options.function);
    if (auto const & fault = policy.program().faultOf(*function).eval; !fault.empty()) {
        throw DocumentError(options.policy.path + ": function " + options.function + ": " + fault);
    }
    auto const lists = policy.listsWith(options.lists);
    auto const placeOf = [&policy](auto const &... at) { return policy.placeOf(at...); };
    Readiness const readiness(options.policy.path, options.allowUndefinedLists);
    if (!readiness.of(*function, placeOf, lists.get())) {
        return 1;
    }
    Watch::NodeNumbers const numbers(std::span(&function, 1));
    auto const matchers = Qcf::Lists::bindLists(policy.program().slots, lists.get());
    auto const total = profileOf(options, function, numbers, matchers);
    PolicyPlaces const places(policy, options.policy.path);
    write(options.format, {numbers, total, places, options.policy.path});
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
    command.add_option("--function", options->function, "Function to evaluate")
        ->required()
        ->type_name("NAME");
    command
        .add_option("--routes", options->routes,
                    "Table of routes: MRT or JSON lines, also compressed")
        ->required()
        ->type_name("FILE");
    command
        .add_option("--lists", options->lists,
                    "Lists that the policy refers to by name: a document or a text")
        ->type_name("FILE");
    addAllowUndefinedLists(command, options->allowUndefinedLists);
    command.add_flag("--time", options->time, "Measure the time of each node alone");
    command.add_option("--format", options->format, "text, json or folded")
        ->check(CLI::IsMember({"text", "json", "folded"}))
        ->capture_default_str();
    constexpr U64 mostThreads = 256;
    addNumber(command, "--threads", options->threads, "Threads that evaluate", 1, mostThreads)
        .default_str("1");
    addNumber(command, "--limit", options->limit, "Routes to evaluate at most");
}
