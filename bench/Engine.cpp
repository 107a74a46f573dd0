#include "Agent/Evaluation/AgentContext.h"
#include "QcfLib/EvaluationObserver.h"
#include "QcfLib/Plan.h"
#include "QcfLib/StatementCounts.h"
#include "bench/Contenders.h"
#include "bench/EngineRunner.h"
#include "bench/EngineTrees.h"
#include "bench/SharedWrites.h"

namespace Qcf::Bench {

namespace {

using Form = EngineForm;

class NoObserver final : public Eval::EvaluationObserver {
public:
    void entered(Eval::Expression const & /*node*/, Eval::EvalContext & /*context*/) override {}
    void left(Eval::Expression const & /*node*/, Eval::EvalResult /*result*/,
              Eval::EvalContext & /*context*/) override {}
    void thrown(Eval::Expression const & /*node*/, Eval::EvalContext & /*context*/) override {}
};

/// Prefix lists are the engine's own matter; who has other lists is asked through its context.
Ptr<Agent::AgentContextBase> contextOf(EngineProgram const & program) {
    if (program.asksAgent) {
        return makePtr<Agent::AgentContext>(program.matchers);
    }
    return makePtr<Agent::AgentContextBase>(program.matchers, nullptr, nullptr);
}

/// One evaluation of the engine, as an agent does it: `routeIs` resets the context, `eval` flushes.
class EngineStep {
public:
    EngineStep(EngineProgram const & program, Form form)
        : function_(*program.function), agent_(contextOf(program)), context_(agent_) {
        agent_->evaluationObserverIs(form == Form::watchedTree ? &observer_ : nullptr);
    }

    bool operator()(Agent::Route const & route) {
        agent_->routeIs(route);
        return function_.eval(context_).isTrue();
    }
    Agent::RouteChanges const & changes() const { return agent_->changes(); }

private:
    Eval::Function const & function_;
    Ptr<Agent::AgentContextBase> agent_;
    Ptr<Eval::EvalContextBase> context_;
    NoObserver observer_;
};

/// Chooses the form for the whole process before it evaluates; threads that run at the
/// same time run the same form. The first route after another form waits for its plan.
class EngineRunner final : public Runner {
public:
    EngineRunner(EngineProgram const & program, Form form) : loop_(program, form), form_(form) {}

    U64 run(Slice const & routes) override {
        chooseForm();
        return loop_.run(routes);
    }
    U64 checksum(Slice const & routes) override {
        chooseForm();
        return loop_.checksum(routes);
    }

private:
    void chooseForm() const {
        Eval::Plan::enabledIs(form_ == Form::plan || form_ == Form::countingPlan);
        Eval::StatementCounts::enabledIs(form_ == Form::countingPlan);
    }

    LoopRunner<EngineStep> loop_;
    Form form_;
};

class EngineContender final : public Contender {
public:
    EngineContender(char const * name, PolicyData const & data, Form form)
        : Contender(name), form_(form) {
        for (U32 policy = 0; policy < policyCount; ++policy) {
            programs_.push_back(engineProgram(static_cast<Policy>(policy), data));
        }
    }

    std::unique_ptr<Runner> runner(Policy policy) const override {
        return engineRunner(programs_[static_cast<U8>(policy)], form_);
    }

    std::vector<void const *> sharedCounters(Policy policy) const override {
        return Bench::sharedCounters(programs_[static_cast<U8>(policy)]);
    }

private:
    std::vector<EngineProgram> programs_;
    Form form_;
};

} // namespace

std::unique_ptr<Runner> engineRunner(EngineProgram const & program, EngineForm form) {
    return std::make_unique<EngineRunner>(program, form);
}

void addEngine(Contenders & contenders, PolicyData const & data) {
    for (auto const & [name, form] : {std::pair("engine-plan", Form::plan),
                                      {"engine-counting", Form::countingPlan},
                                      {"engine-tree", Form::tree},
                                      {"engine-watched", Form::watchedTree}}) {
        contenders.push_back(std::make_unique<EngineContender>(name, data, form));
    }
}

} // namespace Qcf::Bench
