#include "Agent/Evaluation/AgentContextGenerated.h"
#include "QcfLib/Plan.h"
#include "bench/Contenders.h"
#include "bench/EngineTrees.h"
#include "bench/SharedWrites.h"

namespace Qcf::Bench {

namespace {

/// One evaluation of the engine, as an agent does it: `routeIs` resets the context, `eval` flushes.
class EngineStep {
public:
    explicit EngineStep(EngineProgram const & program)
        : function_(*program.function),
          agent_(makePtr<Agent::AgentContextBase>(program.matchers, nullptr, nullptr)),
          context_(agent_) {}

    bool operator()(Agent::Route const & route) {
        agent_->routeIs(route);
        return function_.eval(context_).isTrue();
    }
    Agent::RouteChanges const & changes() const { return agent_->changes(); }

private:
    Eval::Function const & function_;
    Ptr<Agent::AgentContextBase> agent_;
    Ptr<Eval::EvalContextBase> context_;
};

/// Chooses between tree and plan for the whole process before it evaluates; threads that run at the
/// same time run the same form.
class EngineRunner final : public Runner {
public:
    EngineRunner(EngineProgram const & program, bool byPlan) : loop_(program), byPlan_(byPlan) {}

    U64 run(Slice const & routes) override {
        Eval::Plan::enabledIs(byPlan_);
        return loop_.run(routes);
    }
    U64 checksum(Slice const & routes) override {
        Eval::Plan::enabledIs(byPlan_);
        return loop_.checksum(routes);
    }

private:
    LoopRunner<EngineStep> loop_;
    bool byPlan_;
};

class EngineContender final : public Contender {
public:
    EngineContender(char const * name, PolicyData const & data, bool byPlan)
        : Contender(name), byPlan_(byPlan) {
        for (U32 policy = 0; policy < policyCount; ++policy) {
            programs_.push_back(engineProgram(static_cast<Policy>(policy), data));
        }
    }

    std::unique_ptr<Runner> runner(Policy policy) const override {
        return std::make_unique<EngineRunner>(programs_[static_cast<U8>(policy)], byPlan_);
    }

    std::vector<void const *> sharedCounters(Policy policy) const override {
        return Bench::sharedCounters(programs_[static_cast<U8>(policy)]);
    }

private:
    std::vector<EngineProgram> programs_;
    bool byPlan_;
};

} // namespace

void addEngine(Contenders & contenders, PolicyData const & data) {
    contenders.push_back(std::make_unique<EngineContender>("engine-plan", data, true));
    contenders.push_back(std::make_unique<EngineContender>("engine-tree", data, false));
}

} // namespace Qcf::Bench
