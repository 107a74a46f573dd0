#pragma once

#include "bench/Measure.h"

namespace Qcf::Bench {

/// What this program is started with to count instructions below callgrind.
inline constexpr char const * countInstructionsOption = "--count-instructions";

/// Fills in the instructions per route over `routes` routes: starts this program once more
/// below callgrind, with `arguments` so that it measures the same, and reads what that leaves
/// behind. Leaves the results as they are where valgrind is not installed.
void addInstructions(std::vector<PolicyResult> & results, std::vector<String> const & arguments,
                     std::size_t routes);

/// The part of it that runs below callgrind: some passes over the first `routes` of the resident
/// routes to warm up, and one that is counted.
void runForInstructions(std::vector<Policy> const & policies, Contenders const & contenders,
                        Workload const & workload, std::size_t routes);

} // namespace Qcf::Bench
