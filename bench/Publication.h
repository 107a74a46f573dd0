#pragma once

#include "bench/Measure.h"

namespace Qcf::Bench {

/// What publishing a document of so many nodes costs. All times are for the whole document.
struct PublicationResult {
    U64 nodes = 0;
    U64 functions = 0;
    U64 documentBytes = 0;
    /// One of the steps; a sample a round, in nanoseconds.
    struct Step {
        String name;
        Timing time;
    };
    std::vector<Step> steps;
    /// What is held or used in the end, in bytes.
    struct Memory {
        String name;
        double bytes = 0;
    };
    std::vector<Memory> memory;

    Timing const * find(std::string_view step) const;
};

/// What this program is started with to measure one size: NODES and the number of rounds follow.
inline constexpr char const * publishNodesOption = "--publish-nodes";

/// Publishes a document of about so many nodes, in the process and over a Redis server of its own
/// if there is one, and prints what `measurePublication` reads.
int runPublication(U64 nodes, U32 rounds);

/// Measures each size in a process of its own, so that memory is that of the size alone.
std::vector<PublicationResult> measurePublication(std::vector<U64> const & sizes, U32 rounds);

} // namespace Qcf::Bench
