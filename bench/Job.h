#pragma once

#include "bench/Measure.h"

/// The whole job as its user has it: the command reads a table, evaluates a policy and ends. Start,
/// reading, decompression and all threads are in the times.
namespace Qcf::Bench {

struct JobOptions {
    std::size_t routes = 200000; ///< of the generated tables
    U64 realBytes = ~U64{0};     ///< of a real table, decompressed, at most
    U32 rounds = 7;
    /// Commands `qcf` to be compared. Each is run in every round, one after the other, so that the
    /// builds of two commits are timed side by side.
    std::vector<String> binaries;
    bool countInstructions = true;
};

/// What one program took for one file, a sample a round, in nanoseconds per run.
struct JobTiming {
    Timing wall;
    Timing cpu;                         ///< of all threads together
    std::optional<double> instructions; ///< per route, what does not grow with them left out
};

/// One policy over one form of one table.
struct JobRow {
    String policy; ///< "import-filter"
    String table;  ///< "generated", or the name of a real one
    String form;   ///< "mrt", "gz" or "bz2"
    U32 threads = 1;
    std::vector<JobTiming> byBinary;
    JobTiming bgpdump; ///< printing the same file by bgpdump -m; without samples where it is not
                       ///< installed
};

struct JobResults {
    std::vector<String> binaries;
    struct Accepted {
        String policy;
        String table;
        U64 routes = 0;
        U64 accepted = 0;
    };
    std::vector<Accepted> accepted;
    std::vector<JobRow> rows;
};

/// Measures two policies of examples/ over generated tables and the largest real one, each as it is
/// and compressed. Ends the process with a message where a binary fails, or where its output is not
/// byte for byte that of the first one over the plain file on one thread. What is not installed is
/// left out, with a message.
JobResults measureJobs(JobOptions const & options);

} // namespace Qcf::Bench
