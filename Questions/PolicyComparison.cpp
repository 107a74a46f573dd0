#include "Questions/PolicyComparison.h"

#include "Questions/BrokenTable.h"

namespace Qcf::Questions {

using Agent::Evaluated;

RouteComparer::RouteComparer(Comparison const & comparison)
    : comparison_(comparison),
      newer_(comparison.newer),
      watchedOlder_(comparison.older),
      watchedNewer_(comparison.newer) {}

void RouteComparer::take(Evaluated const & older) {
    Agent::Route const * route = &older.route;
    if (comparison_.alter) {
        comparison_.alter(older.route, altered_);
        route = &altered_;
    }
    Evaluated const newer{older.number, *route, newer_.eval(*route), newer_.context()};
    if (comparison_.selects && !comparison_.selects(older, newer)) {
        return;
    }
    if (isSameOutcome({older.result, older.context}, {newer.result, newer.context})) {
        groups_.addSame();
    } else {
        note(older, newer);
    }
}

void RouteComparer::note(Evaluated const & older, Evaluated const & newer) {
    RouteDifference difference;
    difference.outcome = differenceOf({older.result, older.context}, {newer.result, newer.context});
    watchedOlder_.side.eval(older.route);
    watchedNewer_.side.eval(newer.route);
    Watch::TraceNode const * const first = watchedOlder_.watched.root();
    Watch::TraceNode const * const second = watchedNewer_.watched.root();
    if (first != nullptr && second != nullptr) {
        Divergence const at = traces_.of(*first, *second);
        difference.older = PartingStatement::of(at.older);
        difference.newer = PartingStatement::of(at.newer);
    }
    difference.route = older.number;
    difference.prefix = older.route.ipPrefix;
    difference.peer = older.route.sourceSessionRemoteIpAddress;
    groups_.add(std::move(difference));
    watchedOlder_.watched.clear();
    watchedNewer_.watched.clear();
}

namespace {

class ComparingSink final : public Agent::EvaluationSink {
public:
    ComparingSink(ComparisonRun const & run, DifferenceGroups & total)
        : run_(run), comparer_(run.comparison), total_(total) {}

    void take(Evaluated const & evaluated) override { comparer_.take(evaluated); }
    void deliver() override {
        total_.add(comparer_.takeGroups());
        if (run_.done) {
            run_.done(total_.routes());
        }
    }

private:
    ComparisonRun const & run_;
    RouteComparer comparer_;
    DifferenceGroups & total_;
};

} // namespace

DifferenceGroups compareOverTable(Agent::RouteReader & reader, ComparisonRun const & run,
                                  std::exception_ptr * brokenOff) {
    DifferenceGroups total;
    Agent::TableRun tableRun;
    tableRun.function = run.comparison.older.function;
    tableRun.makeContext = [&]() -> Ptr<Agent::AgentContextBase> {
        return makePtr<Agent::AgentContext>(run.comparison.older.matchers);
    };
    tableRun.makeSink = [&] { return std::make_unique<ComparingSink>(run, total); };
    tableRun.threads = run.threads;
    tableRun.limit = run.limit;
    tableRun.select = run.select;
    evaluateUntilBroken(reader, tableRun, brokenOff);
    return total;
}

} // namespace Qcf::Questions
