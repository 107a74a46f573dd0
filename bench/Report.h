#pragma once

#include "bench/Counts.h"
#include "bench/Measure.h"

namespace Qcf::Bench {

/// A table for the reader.
String reportTable(PolicyResult const & result);
String reportTable(std::vector<EngineMemory> const & memory);

/// What the figures were taken on.
struct RunFacts {
    std::size_t routes;
    std::size_t residentRoutes;
    U32 rounds;
};

/// All results as one line of JSON.
String reportJson(RunFacts const & facts, std::vector<PolicyResult> const & results,
                  std::vector<EngineMemory> const & memory);

} // namespace Qcf::Bench
