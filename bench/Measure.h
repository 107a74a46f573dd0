#pragma once

#include "bench/Contenders.h"

#include <optional>

namespace Qcf::Bench {

/// Median and extent of repeated measurements.
struct Spread {
    double median = 0;
    double low = 0;
    double high = 0;

    static Spread of(std::vector<double> samples);
};

/// Nanoseconds per route, a sample a round. The rounds of all contenders are interleaved, so that
/// samples of the same round were taken close to each other and their ratios mean something.
struct Timing {
    std::vector<double> samples;

    Spread spread() const { return Spread::of(samples); }
    /// This timing as a multiple of another one, round by round.
    Spread over(Timing const & other) const;
};

/// What is known of one contender with one policy.
struct Result {
    Contender const * contender = nullptr;
    Timing resident;   ///< one thread over few routes that stay in the cache
    Timing whole;      ///< one thread over the whole table
    Timing twoThreads; ///< two threads with a half each: time until both are done, over all routes
    std::optional<double> instructions; ///< per route
    std::optional<double> allocations;  ///< heap blocks per route after the first pass
    std::optional<double> slabObjects;  ///< objects taken from slabs per route, no heap involved
    std::optional<double> sharedWrites; ///< writes to counters of shared objects, per route
};

struct PolicyResult {
    Policy policy = Policy::p0;
    U64 checksum = 0;
    U64 accepted = 0;
    String withoutStep; ///< of the engine's plan, see NodesWithoutStep.h
    std::vector<Result> results;

    Result const * find(std::string_view contender) const;
};

struct Workload {
    Table whole;
    Table resident;
};

struct MeasureOptions {
    U32 rounds = 7;
    double sampleNs = 10e6; ///< a sample takes at least as long
    bool twoThreads = true;
    bool resident = true;
};

/// Runs every contender over the whole table and takes its checksum; ends the process with a
/// message when they disagree.
PolicyResult verified(Policy policy, Contenders const & contenders, Workload const & workload);
/// The same for what messages call by another name than the policy's.
PolicyResult verified(String const & name, Policy policy, Contenders const & contenders,
                      Workload const & workload);

/// Times the contenders of a result in interleaved rounds.
void measureTimes(PolicyResult & result, Workload const & workload, MeasureOptions const & options);

} // namespace Qcf::Bench
