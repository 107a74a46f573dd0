#include "bench/Micro.h"

#include "Agent/Evaluation/AgentContextGenerated.h"
#include "QcfLib/Plan.h"
#include "bench/EngineTrees.h"
#include "bench/Table.h"
#include "bench/TreeBuilder.h"

#include <benchmark/benchmark.h>

/// The hot paths one by one. Each evaluates one expression against routes that stay in the cache;
/// "reset" alone is what all of them contain.
namespace Qcf::Bench {

namespace {

using namespace Eval;            // NOLINT(google-build-using-namespace): every name here is
using namespace Eval::Attribute; // NOLINT(google-build-using-namespace): one of their nodes

constexpr std::size_t routeCount = 1024;

struct Fixture {
    Table table = Table::generated(20000).sample(routeCount);
    PolicyData data{table};
    TreeBuilder build;
    PtrConst<IntSetModifiable> community = build.make(communityFactory);
    PtrConst<CommunitySetModifiable> large = build.make(largeCommunityFactory);
    PtrConst<IntModifiable> med = build.make(medFactory);
    PtrConst<IntModifiable> localPref = build.make(localPrefFactory);
    PtrConst<Int> pathLength = build.make(asPathLengthFactory);
    PtrConst<Int> originAs = build.make(asPathOriginAsFactory);
    std::vector<U64> asns = clauseValues(Clause::Kind::originAs);

    std::vector<U64> clauseValues(Clause::Kind kind) const {
        for (Clause const & clause : data.p3.clauses) {
            if (clause.kind == kind) {
                return clause.values;
            }
        }
        return {};
    }
    static Fixture & shared() {
        static Fixture fixture;
        return fixture;
    }
};

/// Calls `work(context)` for route after route, after the reset that each route begins with.
template <typename Work>
void overRoutes(benchmark::State & state, PtrConst<ExternalMatchersBase> const & matchers,
                Work work) {
    auto const & routes = Fixture::shared().table.routes;
    auto const agent = makePtr<Agent::AgentContextBase>(matchers, nullptr, nullptr);
    Ptr<EvalContextBase> const context = agent;
    std::size_t next = 0;
    for (auto _ : state) {
        agent->routeIs(routes[next]);
        next = (next + 1) % routeCount;
        work(context);
    }
}

void reset(benchmark::State & state) {
    overRoutes(state, nullptr,
               [](auto const & context) { benchmark::DoNotOptimize(context.get()); });
}

void readAttribute(benchmark::State & state) {
    PtrConst<Int> const attribute = Fixture::shared().med;
    overRoutes(state, nullptr,
               [&](auto const & context) { benchmark::DoNotOptimize(attribute->getVal(context)); });
}

/// An expression made by `make(fixture)`, evaluated as it stands.
using MakeExpression = PtrConst<Expression> (*)(Fixture & fixture);

void expression(benchmark::State & state, MakeExpression make) {
    auto const node = make(Fixture::shared());
    overRoutes(state, nullptr,
               [&](auto const & context) { benchmark::DoNotOptimize(node->eval(context)); });
}

void function(benchmark::State & state, Policy policy, bool byPlan) {
    auto const program = engineProgram(policy, Fixture::shared().data);
    Plan::enabledIs(byPlan);
    overRoutes(state, program.matchers, [&](auto const & context) {
        benchmark::DoNotOptimize(program.function->eval(context));
    });
    Plan::enabledIs(true);
}

void hash(benchmark::State & state) {
    auto const policy = static_cast<Policy>(state.range(0));
    auto const function = engineFunction(policy, Fixture::shared().data);
    for (auto _ : state) { // NOLINT(clang-analyzer-deadcode.DeadStores)
        benchmark::DoNotOptimize(function->body()->hash(0));
    }
}

struct Named {
    char const * name;
    MakeExpression make;
};

constexpr Named expressions[] = {
    {"comparison",
     [](Fixture & f) -> PtrConst<Expression> {
         return f.build.make(intLessThanFactory, f.med, f.build.integer(100));
     }},
    {"path length",
     [](Fixture & f) -> PtrConst<Expression> {
         return f.build.make(intLessThanFactory, f.pathLength, f.build.integer(4));
     }},
    {"assign",
     [](Fixture & f) -> PtrConst<Expression> {
         return f.build.make(intAssignFactory, f.localPref, f.build.integer(200));
     }},
    {"plus",
     [](Fixture & f) -> PtrConst<Expression> {
         return f.build.make(intPlusEqFactory, f.med, f.build.integer(10));
     }},
    {"origin AS in 100",
     [](Fixture & f) -> PtrConst<Expression> {
         return f.build.make(intInImmediateSetFactory, f.originAs, f.build.set(f.asns));
     }},
    {"community any of 1",
     [](Fixture & f) -> PtrConst<Expression> {
         auto const one = f.build.set(std::span<U64 const>(f.data.p2.tags.data(), 1));
         return f.build.make(intSetHasAnyImmediateFactory, f.community, one);
     }},
    {"community any of 5000",
     [](Fixture & f) -> PtrConst<Expression> {
         auto const many = f.build.set(f.data.p4.communities);
         return f.build.make(intSetHasAnyImmediateFactory, f.community, many);
     }},
    {"community add",
     [](Fixture & f) -> PtrConst<Expression> {
         auto const one = f.build.set(std::span<U64 const>(&f.data.p2.added, 1));
         return f.build.make(intSetAddImmediateFactory, f.community, one);
     }},
    {"community remove",
     [](Fixture & f) -> PtrConst<Expression> {
         auto const two = f.build.set(f.data.p2.removed);
         return f.build.make(intSetRemoveImmediateFactory, f.community, two);
     }},
    {"large community remove",
     [](Fixture & f) -> PtrConst<Expression> {
         auto const eight = f.build.set(f.data.p4.removedLarge);
         return f.build.make(communitySetRemoveImmediateFactory, f.large, eight);
     }},
};

} // namespace

int runMicro(int argc, char ** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RegisterBenchmark("reset", reset);
    benchmark::RegisterBenchmark("read attribute", readAttribute);
    for (Named const & named : expressions) {
        benchmark::RegisterBenchmark(named.name, expression, named.make);
    }
    for (U32 policy = 0; policy < policyCount; ++policy) {
        if (static_cast<Policy>(policy) == Policy::p5) {
            continue; // asks lists that these contexts do not have
        }
        for (bool const byPlan : {false, true}) {
            String const name = String(policyNames[policy]) + (byPlan ? " by plan" : " by tree");
            benchmark::RegisterBenchmark(name.c_str(), function, static_cast<Policy>(policy),
                                         byPlan);
        }
        benchmark::RegisterBenchmark((String("hash of ") + policyNames[policy]).c_str(), hash)
            ->Arg(policy);
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

} // namespace Qcf::Bench
