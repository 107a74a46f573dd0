#include "Agent/Evaluation/AgentContext.h"
#include "Agent/Tables/RouteFile.h"
#include "Agent/Tables/TableGenerator.h"
#include "Documents/Program.h"
#include "Lists/ListBinding.h"
#include "Lists/ListsDocument.h"
#include "QcfLib/StatementCounts.h"
#include "tests/support/CountingObserver.h"

#include <thread>

#include <gtest/gtest.h>

/// The example policies over their routes and a generated table: what plans count on one and on two
/// threads is what an observer counts.
using namespace Qcf::Agent;
using namespace Qcf::Eval;

namespace {

struct Example {
    char const * name;
    char const * function;
    bool hasLists = true;
};

/// A program read for one way of counting, so that its counts are this way's alone.
struct Policy {
    explicit Policy(Example const & example)
        : path(String(QCF_SOURCE_DIR) + "/examples/" + example.name),
          program(Qcf::Documents::readProgramFile(path + ".json")),
          function(program.find(example.function)),
          lists(example.hasLists ? Qcf::Lists::readListsFile(path + ".lists.json") : nullptr) {}

    Ptr<AgentContext> context() const {
        return makePtr<AgentContext>(Qcf::Lists::bindLists(program.slots, lists.get()));
    }

    String path;
    Qcf::Documents::Program program;
    PtrConst<Function> function;
    PtrConst<Qcf::Lists::NamedLists> lists;
};

std::vector<Route> routesOf(Policy const & policy, bool hasRoutes) {
    std::vector<Route> routes;
    Route route;
    if (hasRoutes) {
        auto const reader = openRoutes(policy.path + ".routes.jsonl", [](String const &) {});
        while (reader->next(route)) {
            routes.push_back(route);
        }
    }
    for (TableGenerator table(3000, 1); table.next(route);) {
        routes.push_back(route);
    }
    return routes;
}

/// Every `step`th route from `first` on.
void evaluate(Function const & function, Ptr<AgentContext> const & context,
              std::vector<Route> const & routes, std::size_t first, std::size_t step) {
    Ptr<EvalContextBase> const base = context;
    for (std::size_t i = first; i < routes.size(); i += step) {
        context->routeIs(routes[i]);
        function.eval(base);
    }
}

using Counts = std::map<std::pair<String, U64>, std::pair<U64, U64>>;

Counts watched(Example const & example) {
    Policy const policy(example);
    test::CountingObserver observer;
    auto const context = policy.context();
    context->evaluationObserverIs(&observer);
    evaluate(*policy.function, context, routesOf(policy, example.hasLists), 0, 1);
    Counts counts;
    for (auto const & [place, count] : observer.counts) {
        counts[{place.first->funcName(), place.second->aetNodeKey()}] = {count.entries,
                                                                         count.verdicts};
    }
    return counts;
}

Counts counted(Example const & example, std::size_t threads) {
    StatementCounts::enabledIs(true);
    Policy const policy(example);
    auto const routes = routesOf(policy, example.hasLists);
    {
        std::vector<std::jthread> running;
        for (std::size_t i = 0; i < threads; ++i) {
            running.emplace_back(
                [&, i] { evaluate(*policy.function, policy.context(), routes, i, threads); });
        }
    }
    StatementCounts::enabledIs(false);
    Counts counts;
    auto const all = StatementCounts::now();
    U64 verdicts = 0;
    for (auto const & function : policy.program.functions) {
        for (StatementCount const & count : all.of(*function)) {
            if (count.entries + count.verdicts != 0) {
                counts[{function->funcName(), count.node->aetNodeKey()}] = {count.entries,
                                                                            count.verdicts};
            }
            verdicts += count.verdicts;
        }
    }
    EXPECT_EQ(verdicts, routes.size());
    return counts;
}

class ExampleCounts : public testing::TestWithParam<Example> {};

TEST_P(ExampleCounts, AreThoseOfAnObserverOnAnyNumberOfThreads) {
    Counts const expected = watched(GetParam());
    EXPECT_GT(expected.size(), 1U);
    EXPECT_EQ(counted(GetParam(), 1), expected);
    EXPECT_EQ(counted(GetParam(), 2), expected);
}

INSTANTIATE_TEST_SUITE_P(Policies, ExampleCounts,
                         testing::Values(Example{"transit-import", "transit_import"},
                                         Example{"route-server-export", "export_to_64501"},
                                         Example{"route-server-export", "export_to_64502"},
                                         Example{"fabric", "fabric_import"},
                                         Example{"fabric", "fabric_export"},
                                         Example{"import-filter", "import_filter", false}),
                         [](auto const & each) { return String(each.param.function); });

} // namespace
