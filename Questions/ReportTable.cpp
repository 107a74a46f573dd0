#include "Questions/ReportCounts.h"
#include "Watch/Explanation.h"

#include <unordered_map>

/// One evaluation of a table by threads that each count for themselves.
namespace Qcf::Questions {

namespace {

/// What a thread has: the context that is counted, and another one for routes that came to no
/// verdict, which are evaluated once more to learn why. Those are few in a table, and their trees
/// would be too dear for all others.
class Counter {
public:
    Counter(ReportRun const & run, Watch::NodeNumbers const & numbers)
        : function_(run.function),
          observer_(numbers),
          context_(makePtr<Agent::AgentContext>(run.matchers)),
          asked_(makePtr<Agent::AgentContext>(run.matchers)),
          evaluating_(asked_),
          watched_(*asked_) {
        context_->evaluationObserverIs(&observer_);
        if (run.comparison != nullptr) {
            against_.emplace(*run.comparison);
        }
    }
    Counter(Counter const &) = delete;
    Counter & operator=(Counter const &) = delete;
    ~Counter() { context_->evaluationObserverIs(nullptr); }

    Ptr<Agent::AgentContextBase> const & context() const { return context_; }

    ReportCounts takeCounts() {
        auto counts = observer_.take();
        if (against_) {
            counts.differences = against_->comparer.takeGroups();
        }
        return counts;
    }

    void take(Agent::Evaluated const & evaluated) {
        observer_.routeDone(evaluated);
        if (against_) {
            against_->take(evaluated.number, evaluated.route);
        }
        if (evaluated.result.retVal() != Eval::QcfUnknown()) {
            return;
        }
        asked_->routeIs(evaluated.route);
        function_->eval(evaluating_);
        if (auto const * const root = watched_.root()) {
            observer_.unknownBecauseIs(root->unknownBecause);
        }
        watched_.clear();
    }

private:
    /// The policy before, with what compares it.
    struct Against {
        explicit Against(Comparison const & of)
            : comparison(of),
              comparer(of),
              agent(makePtr<Agent::AgentContext>(of.older.matchers)),
              context(agent) {}
        void take(U64 number, Agent::Route const & route) {
            agent->routeIs(route);
            auto const result = comparison.older.function->eval(context);
            comparer.take({number, route, result, *agent});
        }
        Comparison const & comparison;
        RouteComparer comparer;
        Ptr<Agent::AgentContextBase> agent;
        Ptr<Eval::EvalContextBase> context;
    };

    PtrConst<Eval::Function> function_;
    ReportObserver observer_;
    Ptr<Agent::AgentContextBase> context_;
    Ptr<Agent::AgentContextBase> asked_;
    Ptr<Eval::EvalContextBase> evaluating_;
    Watch::Watched watched_;
    std::optional<Against> against_;
};

using CounterOf = std::unordered_map<Agent::AgentContextBase const *, std::unique_ptr<Counter>>;

class CountingSink final : public Agent::EvaluationSink {
public:
    CountingSink(CounterOf & counters, ReportRun const & run, U64 & routes)
        : counters_(counters), run_(run), routes_(routes) {}

    void take(Agent::Evaluated const & evaluated) override {
        counters_.at(&evaluated.context)->take(evaluated);
        ++taken_;
    }
    void deliver() override {
        routes_ += std::exchange(taken_, 0);
        if (run_.progress) {
            run_.progress(routes_);
        }
    }

private:
    CounterOf & counters_;
    ReportRun const & run_;
    U64 & routes_;
    U64 taken_ = 0;
};

} // namespace

ReportCounts countTable(Agent::RouteReader & reader, ReportRun const & run,
                        Watch::NodeNumbers const & numbers) {
    CounterOf counters;
    U64 routes = 0;
    Agent::TableRun table;
    table.function = run.function;
    table.makeContext = [&] {
        auto counter = std::make_unique<Counter>(run, numbers);
        auto const context = counter->context();
        counters.emplace(context.get(), std::move(counter));
        return context;
    };
    table.makeSink = [&] { return std::make_unique<CountingSink>(counters, run, routes); };
    table.threads = run.threads;
    table.limit = run.limit;
    evaluateTable(reader, table);
    ReportCounts total;
    for (auto & [context, counter] : counters) {
        total.add(counter->takeCounts());
    }
    return total;
}

} // namespace Qcf::Questions
