#include "bench/Instructions.h"

#include "bench/Process.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

#include <sys/wait.h>
#include <unistd.h>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_START_INSTRUMENTATION
#define CALLGRIND_STOP_INSTRUMENTATION
#define CALLGRIND_DUMP_STATS_AT(name) static_cast<void>(name)
#endif

namespace Qcf::Bench {

namespace {

namespace fs = std::filesystem;

String label(Policy policy, Contender const & contender) {
    return String(policyNames[static_cast<U8>(policy)]) + "/" + contender.name();
}

/// Instructions by label, from the dumps that callgrind left in a directory.
std::map<String, double> readDumps(fs::path const & directory) {
    constexpr std::string_view description = "desc: Trigger: Client Request: ";
    std::map<String, double> counts;
    for (auto const & entry : fs::directory_iterator(directory)) {
        std::ifstream file(entry.path());
        String name;
        for (String line; std::getline(file, line);) {
            if (line.starts_with(description)) {
                name = line.substr(description.size());
            } else if (line.starts_with("totals: ") && !name.empty()) {
                counts[name] = std::stod(line.substr(8));
            }
        }
    }
    return counts;
}

} // namespace

void runForInstructions(std::vector<Policy> const & policies, Contenders const & contenders,
                        Workload const & workload, std::size_t routes) {
    // Before the count starts, a compiler that works while a program runs is to be done; without
    // instrumentation that takes little time.
    constexpr U32 warmPasses = 6;
    Slice const counted(workload.resident, 0, routes);
    for (Policy const policy : policies) {
        for (auto const & contender : contenders) {
            if (!contender->runs(policy)) {
                continue;
            }
            auto const runner = contender->runner(policy);
            for (U32 pass = 0; pass < warmPasses; ++pass) {
                runner->run(counted);
            }
            String const name = label(policy, *contender);
            CALLGRIND_START_INSTRUMENTATION;
            runner->run(counted);
            CALLGRIND_STOP_INSTRUMENTATION;
            CALLGRIND_DUMP_STATS_AT(name.c_str());
        }
    }
}

void addInstructions(std::vector<PolicyResult> & results, std::vector<String> const & arguments,
                     std::size_t routes) {
    if (!isInstalled("valgrind")) {
        std::fputs("valgrind is not installed: no instructions are counted\n", stderr);
        return;
    }
    String pattern = (fs::temp_directory_path() / "qcf-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        std::perror("instructions");
        return;
    }
    fs::path const directory = pattern;
    std::vector<String> words{"valgrind", "--tool=callgrind", "--instr-atstart=no",
                              "--callgrind-out-file=" + (directory / "out").string(),
                              fs::read_symlink("/proc/self/exe").string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    words.emplace_back(countInstructionsOption);
    bool const ran = std::system((commandOf(words) + " >/dev/null 2>&1").c_str()) == 0;
    auto const counts = readDumps(directory);
    fs::remove_all(directory);
    if (!ran) {
        std::fputs("the run below callgrind failed: no instructions are counted\n", stderr);
        return;
    }
    for (PolicyResult & result : results) {
        for (Result & one : result.results) {
            auto const found = counts.find(label(result.policy, *one.contender));
            if (found != counts.end()) {
                one.instructions = found->second / static_cast<double>(routes);
            }
        }
    }
}

} // namespace Qcf::Bench
