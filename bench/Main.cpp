#include "bench/Counts.h"
#include "bench/Instructions.h"
#include "bench/Micro.h"
#include "bench/Report.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>

/// Measures the engine beside hand-written code and the languages that one could embed instead.
namespace Qcf::Bench {

namespace {

constexpr std::size_t residentRoutes = 2000;

struct Options {
    std::size_t routes = 200000;
    std::size_t countedRoutes = residentRoutes; ///< of the resident ones, for instructions
    MeasureOptions measure;
    std::vector<Policy> policies;
    std::vector<String> contenders;                 ///< empty for all
    std::vector<U64> sizes{10000, 100000, 1000000}; ///< nodes to publish
    String jsonFile;
    bool countInstructions = false; ///< this is the run below callgrind
    std::vector<String> forCallgrind;

    bool wants(std::string_view contender) const {
        return contenders.empty() ||
               std::find(contenders.begin(), contenders.end(), contender) != contenders.end();
    }
};

constexpr char const * birdName = "bird"; ///< in `--contender`

constexpr char const * usage =
    R"(usage: qcf_bench [--json FILE] [--quick] [--rounds N] [--policy P0]... [--contender NAME]...
       qcf_bench --micro [ARGUMENTS]

Measures five policies over a generated table, memory, and the publication of documents, and prints
a table for each. Times are nanoseconds per route as median (lowest..highest) of the rounds; ratios
are taken within each round. "resident": 2,000 routes that stay in the cache.

  --json       write everything to this file, too, as one line of JSON
  --quick      a tenth of the routes, 3 short rounds, no document of 1,000,000 nodes
  --rounds     samples of each figure, 7 unless given
  --policy     only this one; may be repeated
  --contender  only this one and the hand-written ones, or bird, and no documents; may be repeated
  --micro      the hot paths one by one; ARGUMENTS go to Google Benchmark

contenders:   hand-written C++ over the plain structure is the limit, -accessors the limit of the
              interface; engine-plan and engine-tree, -counting the plan that counts, -watched the
              tree before an observer that does nothing; LuaJIT over a C structure (luajit-ffi) and
              Lua with methods in C (-api), which follow the policies test by test; -tuned is
              rearranged by hand, -loop has the loop over the routes inside the script
instructions: per resident route (a quarter of them with --quick), by callgrind of valgrind
mallocs:      heap blocks allocated per route after the first pass over the table
slab:         objects taken from slabs per route
shared:       writes per route to reference counts that threads share
)";

template <typename Values>
bool readPolicy(String const & name, Values & policies) {
    auto const found = std::find(policyNames.begin(), policyNames.end(), name);
    if (found == policyNames.end()) {
        return false;
    }
    policies.push_back(static_cast<Policy>(found - policyNames.begin()));
    return true;
}

/// Nothing when an argument is wrong.
std::optional<Options> readOptions(std::vector<String> const & arguments) {
    Options options;
    auto const keep = [&](auto... words) { (options.forCallgrind.emplace_back(words), ...); };
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        String const & argument = arguments[i];
        String const value = i + 1 < arguments.size() ? arguments[i + 1] : "";
        if (argument == "--quick") {
            options.routes = 20000;
            options.countedRoutes = residentRoutes / 4;
            options.measure.rounds = 3;
            options.measure.sampleNs = 2e6;
            options.sizes.pop_back();
            keep(argument);
        } else if (argument == countInstructionsOption) {
            options.countInstructions = true;
        } else if (argument == "--json" && !value.empty()) {
            options.jsonFile = value;
            ++i;
        } else if (argument == "--rounds" && std::strtoul(value.c_str(), nullptr, 10) > 0) {
            options.measure.rounds = static_cast<U32>(std::strtoul(value.c_str(), nullptr, 10));
            ++i;
        } else if (argument == "--policy" && readPolicy(value, options.policies)) {
            keep(argument, value);
            ++i;
        } else if (argument == "--contender" && !value.empty()) {
            options.contenders.push_back(value);
            keep(argument, value);
            ++i;
        } else {
            return std::nullopt;
        }
    }
    if (options.policies.empty()) {
        options.policies = {Policy::p0, Policy::p1, Policy::p2, Policy::p3, Policy::p4};
    }
    return options;
}

Contenders makeContenders(Options const & options, PolicyData const & data,
                          Workload const & workload) {
    Contenders contenders;
    addHandWritten(contenders, data);
    addEngine(contenders, data);
    addLanguages(contenders, data, workload);
    std::erase_if(contenders, [&](auto const & contender) {
        std::string_view const name = contender->name();
        return name != limitName && name != interfaceLimitName && !options.wants(name);
    });
    return contenders;
}

int runBench(Options const & options) {
    Workload workload{Table::generated(options.routes), {}};
    workload.resident = workload.whole.sample(residentRoutes);
    PolicyData const data(workload.whole);
    Contenders const contenders = makeContenders(options, data, workload);
    if (options.countInstructions) {
        runForInstructions(options.policies, contenders, workload, options.countedRoutes);
        return 0;
    }
    Report report;
    report.routes = options.routes;
    report.residentRoutes = residentRoutes;
    report.rounds = options.measure.rounds;
    for (Policy const policy : options.policies) {
        report.policies.push_back(verified(policy, contenders, workload));
        addCounts(report.policies.back(), workload);
    }
    addInstructions(report.policies, options.forCallgrind, options.countedRoutes);
    for (PolicyResult & result : report.policies) {
        measureTimes(result, workload, options.measure);
        std::cout << reportTable(result) << std::flush;
    }
    if (options.wants(birdName)) {
        report.bird = measureBird(options.policies, workload.whole, data, options.measure.rounds);
    }
    if (report.bird) {
        std::cout << reportTable(*report.bird, report.policies) << std::flush;
    }
    report.memory = measureMemory(data);
    std::cout << reportTable(report.memory) << std::flush;
    if (options.contenders.empty()) {
        report.publication = measurePublication(options.sizes, 3);
    }
    std::cout << reportTable(report.publication);
    if (!options.jsonFile.empty()) {
        std::ofstream file(options.jsonFile);
        file << reportJson(report) << std::flush;
        if (!file) {
            std::cerr << options.jsonFile << " cannot be written\n";
            return 1;
        }
    }
    return 0;
}

} // namespace

} // namespace Qcf::Bench

int main(int argc, char ** argv) {
    using namespace Qcf::Bench; // NOLINT(google-build-using-namespace): all of main is about it
    std::vector<String> const arguments(argv + 1, argv + argc);
    if (!arguments.empty() && arguments.front() == "--micro") {
        return runMicro(argc - 1, argv + 1);
    }
    if (arguments.size() == 3 && arguments.front() == publishNodesOption) {
        return runPublication(std::stoull(arguments[1]),
                              static_cast<U32>(std::stoul(arguments[2])));
    }
    if (arguments == std::vector<String>{"--help"}) {
        std::cout << usage;
        return 0;
    }
    auto const options = readOptions(arguments);
    if (!options) {
        std::cerr << usage;
        return 2;
    }
    return runBench(*options);
}
