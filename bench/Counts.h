#pragma once

#include "bench/Measure.h"

namespace Qcf::Bench {

/// Fills in what is counted and not timed: heap blocks and slab objects per route over the whole
/// table, after one pass over it, and writes to shared counters per route over the resident routes.
void addCounts(PolicyResult & result, Workload const & workload);

/// Memory of a policy in the engine, in bytes.
struct EngineMemory {
    Policy policy = Policy::p0;
    U64 nodes = 0;
    double tree = 0;     ///< all nodes with their constants
    double plan = 0;     ///< what the plan adds
    double counting = 0; ///< what the plan that counts adds instead
    double counters = 0; ///< what each context has for it
    double perNode = 0;  ///< tree by nodes
    double perEntry = 0; ///< what the store adds for each node that is published
};

/// Builds each policy many times over. Nothing where heap use is not counted.
std::vector<EngineMemory> measureMemory(PolicyData const & data);

} // namespace Qcf::Bench
