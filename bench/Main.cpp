#include "bench/EngineTrees.h"
#include "bench/Instructions.h"
#include "bench/Micro.h"
#include "bench/NodesWithoutStep.h"
#include "bench/Options.h"
#include "bench/Report.h"

#include <fstream>
#include <iostream>

/// Measures the engine beside hand-written code and the languages that one could embed instead.
namespace Qcf::Bench {

namespace {

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

void measurePolicies(Report & report, Options const & options, Contenders const & contenders,
                     Workload const & workload, PolicyData const & data) {
    for (Policy const policy : options.policies) {
        PolicyResult & result =
            report.policies.emplace_back(verified(policy, contenders, workload));
        result.withoutStep = nodesWithoutStep(*engineFunction(policy, data));
        addCounts(result, workload);
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
}

/// What needs no contenders.
void measureTheRest(Report & report, Options const & options, PolicyData const & data) {
    if (options.wants(Section::memory)) {
        report.memory = measureMemory(data);
        std::cout << reportTable(report.memory) << std::flush;
    }
    if (options.wants(Section::publication)) {
        report.publication = measurePublication(options.sizes, 3);
        std::cout << reportTable(report.publication) << std::flush;
    }
    if (options.wants(Section::examples)) {
        report.examples = measureExamples(options.examples);
        std::cout << reportTable(report.examples) << std::flush;
    }
    if (!options.wants(Section::jobs)) {
        return;
    }
    if (options.jobs.binaries.empty()) {
        std::cerr << "left out: no command qcf beside this program, see --binary\n";
        return;
    }
    report.jobs = measureJobs(options.jobs);
    std::cout << reportTable(report.jobs) << std::flush;
}

int runBench(Options const & options) {
    Workload workload{Table::generated(options.routes), {}};
    workload.resident = workload.whole.sample(residentRoutes);
    PolicyData const data(workload.whole);
    Report report;
    report.routes = options.routes;
    report.residentRoutes = residentRoutes;
    report.rounds = options.measure.rounds;
    Contenders contenders; // results point to them
    if (options.wants(Section::policies)) {
        contenders = makeContenders(options, data, workload);
        if (options.countInstructions) {
            runForInstructions(options.policies, contenders, workload, options.countedRoutes);
            return 0;
        }
        measurePolicies(report, options, contenders, workload, data);
    }
    measureTheRest(report, options, data);
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
