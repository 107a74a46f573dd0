#pragma once

#include "bench/Bird.h"
#include "bench/Counts.h"
#include "bench/Examples.h"
#include "bench/Job.h"
#include "bench/Measure.h"
#include "bench/Publication.h"

namespace Qcf::Bench {

/// Everything that a run measured, and what on.
struct Report {
    std::size_t routes = 0;
    std::size_t residentRoutes = 0;
    U32 rounds = 0;
    std::vector<PolicyResult> policies;
    std::optional<BirdResults> bird;
    std::vector<EngineMemory> memory;
    std::vector<PublicationResult> publication;
    ExampleResults examples;
    JobResults jobs;
};

/// Tables for the reader.
String reportTable(PolicyResult const & result);
String reportTable(BirdResults const & bird, std::vector<PolicyResult> const & policies);
String reportTable(std::vector<EngineMemory> const & memory);
String reportTable(std::vector<PublicationResult> const & publication);
String reportTable(ExampleResults const & examples);
String reportTable(JobResults const & jobs);

/// All results as one line of JSON.
String reportJson(Report const & report);

} // namespace Qcf::Bench
