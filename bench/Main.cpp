#include "bench/Report.h"

#include <cstdio>

/// Measures the engine beside hand-written code and the languages that one could embed instead.
namespace Qcf::Bench {

namespace {

int usage() {
    std::fputs("usage: qcf_bench [--quick] [--rounds N] [--policy P0..P4] [--contender NAME]...\n",
               stderr);
    return 2;
}

} // namespace

int runBench(int argc, char ** argv) {
    std::size_t routes = 200000;
    MeasureOptions options;
    std::vector<std::string_view> only;
    std::optional<std::string_view> onlyPolicy;
    for (int i = 1; i < argc; ++i) {
        std::string_view const argument = argv[i];
        bool const more = i + 1 < argc;
        if (argument == "--quick") {
            routes = 20000;
            options.rounds = 3;
            options.sampleNs = 2e6;
        } else if (argument == "--rounds" && more) {
            options.rounds = static_cast<U32>(std::stoul(argv[++i]));
        } else if (argument == "--policy" && more) {
            onlyPolicy = argv[++i];
        } else if (argument == "--contender" && more) {
            only.emplace_back(argv[++i]);
        } else {
            return usage();
        }
    }

    constexpr std::size_t residentRoutes = 2000;
    Workload workload{Table::generated(routes), {}};
    workload.resident = workload.whole.sample(residentRoutes);
    PolicyData const data(workload.whole);
    Contenders contenders;
    addHandWritten(contenders, data);
    addEngine(contenders, data);

    std::vector<PolicyResult> results;
    for (U32 policy = 0; policy < policyCount; ++policy) {
        if (onlyPolicy && policyNames[policy] != *onlyPolicy) {
            continue;
        }
        results.push_back(verified(static_cast<Policy>(policy), contenders, workload));
        measureTimes(results.back(), workload, options);
        std::fputs(reportTable(results.back()).c_str(), stdout);
        std::fflush(stdout);
    }
    std::fputs(reportJson({routes, residentRoutes, options.rounds}, results).c_str(), stdout);
    return 0;
}

} // namespace Qcf::Bench

int main(int argc, char ** argv) { return Qcf::Bench::runBench(argc, argv); }
