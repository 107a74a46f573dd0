#include "bench/Examples.h"

#include "bench/EngineRunner.h"
#include "bench/NodesWithoutStep.h"
#include "bench/TextPolicy.h"

#include <algorithm>

namespace Qcf::Bench {

namespace {

namespace fs = std::filesystem;

constexpr char const * treeName = "engine-tree";
constexpr char const * planName = "engine-plan";

/// One function in one form. It stands in the place of a policy.
class ExampleContender final : public Contender {
public:
    ExampleContender(char const * name, EngineProgram program, EngineForm form)
        : Contender(name), program_(std::move(program)), form_(form) {}

    std::unique_ptr<Runner> runner(Policy /*policy*/) const override {
        return engineRunner(program_, form_);
    }

private:
    EngineProgram program_;
    EngineForm form_;
};

ExampleTiming timingOf(String const & name, Contenders const & contenders,
                       Workload const & workload, MeasureOptions const & options) {
    PolicyResult result = verified(name, Policy::p0, contenders, workload);
    measureTimes(result, workload, options);
    return {result.accepted, result.find(planName)->whole, result.find(treeName)->whole};
}

ExampleResult resultOf(String const & file, String const & function, TextPolicy const & policy,
                       std::vector<Workload> const & workloads, MeasureOptions const & options) {
    EngineProgram const program = policy.program(function);
    ExampleResult result;
    result.name = file + "/" + function;
    result.withoutStep = nodesWithoutStep(*program.function);
    // The tree is what a function means, and the plan is compared with it.
    Contenders contenders;
    contenders.push_back(std::make_unique<ExampleContender>(treeName, program, EngineForm::tree));
    contenders.push_back(std::make_unique<ExampleContender>(planName, program, EngineForm::plan));
    for (Workload const & workload : workloads) {
        result.byTable.push_back(timingOf(result.name, contenders, workload, options));
    }
    return result;
}

std::vector<fs::path> exampleTexts() {
    std::vector<fs::path> files;
    for (auto const & entry : fs::directory_iterator(QCF_BENCH_FOLDER "/../examples")) {
        if (entry.path().extension() == ".qcf") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

ExampleResults measureExamples(ExampleOptions const & options) {
    using Sharing = Table::Sharing;
    ExampleResults all;
    std::vector<Workload> workloads;
    auto const add = [&](String name, Table table, SharingFacts facts) {
        all.tables.push_back({std::move(name), table.size()});
        all.sharing.push_back(std::move(facts));
        workloads.push_back({std::move(table), {}});
    };
    for (auto const & [name, sharing] :
         {std::pair("generated", Sharing::none), {"generated, shared", Sharing::real}}) {
        add(name, Table::generated(options.routes, sharing),
            sharingOf(name, Agent::TableGenerator(options.generatedRoutes, 1, sharing)));
    }
    for (fs::path const & file : realTables()) {
        add(file.filename().string(),
            Table::ofFile(file.string(), options.routes, options.realRoutes),
            sharingOf(file, options.realRoutes));
    }
    MeasureOptions measure = options.measure;
    measure.twoThreads = false;
    measure.resident = false;
    for (fs::path const & file : exampleTexts()) {
        TextPolicy const policy = TextPolicy::ofFile(file.string());
        for (String const & function : policy.entries()) {
            all.results.push_back(
                resultOf(file.stem().string(), function, policy, workloads, measure));
        }
    }
    return all;
}

} // namespace Qcf::Bench
