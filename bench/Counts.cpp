#include "bench/Counts.h"

#include "QcfLib/Plan.h"
#include "QcfLib/QcfAllAetEntities.h"
#include "QcfLib/StatementCounts.h"
#include "bench/Allocations.h"
#include "bench/SharedWrites.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <unordered_set>

namespace Qcf::Bench {

namespace {

/// A copied pointer is two writes; a watch that does not see them would prove nothing.
bool watchWorks() {
    Ptr<Eval::U64SmallVector> const object =
        Eval::u64SmallVectorFactory(Eval::ModifyFlag::copyOnWrite);
    auto const writes = writesTo({static_cast<PtrInterface const *>(object.get())}, [&] {
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it is the copy that counts
        Ptr<Eval::U64SmallVector> const copy = object;
        keep(copy);
    });
    if (writes && *writes != 2) {
        std::fprintf(stderr, "the watch saw %llu writes where there are 2\n",
                     static_cast<unsigned long long>(*writes));
        std::exit(1);
    }
    return writes.has_value();
}

using Nodes = std::vector<Ptr<Eval::AetNodeBase>>;

/// Every node of a function once, children first.
void collect(Eval::AetNodeBase const & root, std::unordered_set<void const *> & seen,
             Nodes & nodes) {
    std::vector<Eval::AetNodeBase const *> open{&root};
    while (!open.empty()) {
        auto const & node = *open.back();
        open.pop_back();
        if (!seen.insert(&node).second) {
            continue;
        }
        nodes.emplace_back(const_cast<Eval::AetNodeBase *>(&node));
        node.typeData().visitChildren(
            node, [&](Eval::FieldInfo const &, Eval::AetNodeBase const * child) {
                if (child != nullptr) {
                    open.push_back(child);
                }
            });
    }
}

/// What `work` leaves on the heap of this thread.
template <typename Work>
double bytesOf(Work work) {
    S64 const before = HeapUse::now().bytes;
    work();
    return static_cast<double>(HeapUse::now().bytes - before);
}

EngineMemory memoryOf(Policy policy, PolicyData const & data,
                      std::vector<PtrConst<Eval::Function>> & kept) {
    EngineMemory memory;
    memory.policy = policy;
    Nodes nodes;
    std::unordered_set<void const *> seen;
    kept.push_back(engineProgram(policy, data).function);
    collect(*kept.back(), seen, nodes);
    memory.nodes = nodes.size();

    // Slabs take memory in chunks: many copies make what is left of the last ones negligible.
    std::size_t const copies = std::clamp<std::size_t>(100000 / memory.nodes, 4, 5000);
    std::size_t const first = kept.size();
    kept.reserve(first + copies);
    double const tree = bytesOf([&] {
        for (std::size_t i = 0; i < copies; ++i) {
            kept.push_back(engineFunction(policy, data));
        }
    });
    double const plan = bytesOf([&] {
        for (std::size_t i = 0; i < copies; ++i) {
            kept[first + i]->planFor(*kept[first + i]);
        }
    });
    Eval::StatementCounts::enabledIs(true);
    double const counting = bytesOf([&] {
        for (std::size_t i = 0; i < copies; ++i) {
            kept[first + i]->planFor(*kept[first + i]);
        }
    });
    Eval::StatementCounts::enabledIs(false);
    memory.counting = counting / static_cast<double>(copies);
    memory.counters = static_cast<double>(8 * kept.back()->keptPlan()->counterCount());
    memory.tree = tree / static_cast<double>(copies);
    memory.plan = plan / static_cast<double>(copies);
    memory.perNode = memory.tree / static_cast<double>(memory.nodes);

    auto const store = allAetEntitiesFactory();
    double const entries = bytesOf([&] {
        for (auto const & node : nodes) {
            store->nodeIs(node);
        }
        store->dirtyCollKeysDel();
    });
    memory.perEntry = entries / static_cast<double>(memory.nodes);
    return memory;
}

} // namespace

void addCounts(PolicyResult & result, Workload const & workload) {
    static bool const watching = watchWorks();
    Slice const whole(workload.whole);
    Slice const resident(workload.resident);
    for (Result & one : result.results) {
        auto const runner = one.contender->runner(result.policy);
        runner->run(whole);
        U64 const blocks = HeapUse::now().blocks;
        U64 const objects = slabObjectsTaken();
        runner->run(whole);
        auto const routes = static_cast<double>(whole.count);
        if (HeapUse::counted()) {
            one.allocations = static_cast<double>(HeapUse::now().blocks - blocks) / routes;
        }
        one.slabObjects = static_cast<double>(slabObjectsTaken() - objects) / routes;
        auto const counters = one.contender->sharedCounters(result.policy);
        if (watching && !counters.empty()) {
            auto const writes = writesTo(counters, [&] { runner->run(resident); });
            one.sharedWrites = static_cast<double>(*writes) / static_cast<double>(resident.count);
        }
    }
}

std::vector<EngineMemory> measureMemory(PolicyData const & data) {
    std::vector<EngineMemory> all;
    if (!HeapUse::counted()) {
        return all;
    }
    // Kept to the end: memory that one policy gave back would be hidden from the next one.
    std::vector<PtrConst<Eval::Function>> kept;
    for (U32 policy = 0; policy < policyCount; ++policy) {
        all.push_back(memoryOf(static_cast<Policy>(policy), data, kept));
    }
    return all;
}

} // namespace Qcf::Bench
