#include "bench/Job.h"

#include "bench/JobFiles.h"
#include "bench/Process.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace Qcf::Bench {

namespace {

namespace fs = std::filesystem;

struct JobPolicy {
    char const * name;
    char const * function;
};
constexpr JobPolicy policies[] = {{"import-filter", "import_filter"},
                                  {"transit-import", "transit_import"}};

/// Everything that one run is told.
std::vector<String> command(String const & binary, JobPolicy const & policy, String const & file,
                            U32 threads, char const * output) {
    return {binary,
            "eval",
            String(QCF_BENCH_FOLDER "/../examples/") + policy.name + ".qcf",
            "--function",
            policy.function,
            "--routes",
            file,
            "--threads",
            std::to_string(threads),
            "--output",
            output};
}

[[noreturn]] void fail(std::vector<String> const & words, char const * how) {
    std::fprintf(stderr, "%s: %s\n", commandOf(words).c_str(), how);
    std::exit(1);
}

/// What the run prints to its standard output. Real tables are cut, which is told on the other.
String printedBy(std::vector<String> const & words) {
    CommandOutput output = outputOf(commandOf(words) + " 2>/dev/null");
    if (output.status != 0) {
        fail(words, "failed");
    }
    return std::move(output.text);
}

/// The number behind "true:" or "routes:" in a summary.
U64 numberIn(String const & summary, char const * name) {
    std::istringstream words(summary);
    for (String word; words >> word;) {
        if (U64 number = 0; word == name && words >> number) {
            return number;
        }
    }
    return 0;
}

/// All forms on one and two threads, by all binaries: one output.
void compareOutputs(std::vector<JobFile> const & files, JobOptions const & options) {
    for (JobPolicy const & policy : policies) {
        String wanted;
        for (JobFile const & file : files) {
            bool const isPlain = file.form == "mrt";
            for (String const & binary : options.binaries) {
                auto const words = command(binary, policy, file.path, isPlain ? 1 : 2, "jsonl");
                String printed = printedBy(words);
                if (isPlain && binary == options.binaries.front()) {
                    wanted = std::move(printed);
                } else if (printed != wanted) {
                    fail(words, "prints something else than the first binary over the plain file");
                }
            }
        }
    }
}

/// Instructions per route between 5,000 and 10,000 routes of a plain file, so that starting does
/// not count.
std::optional<double> instructionsOf(std::vector<String> words, fs::path const & folder) {
    double counts[2] = {};
    constexpr double routes[2] = {5000, 10000};
    words.insert(words.end(), {"--limit", ""});
    for (U32 i = 0; i < 2; ++i) {
        fs::path const out = folder / "callgrind";
        words.back() = std::to_string(static_cast<U64>(routes[i]));
        std::vector<String> below{"valgrind", "--tool=callgrind",
                                  "--callgrind-out-file=" + out.string()};
        below.insert(below.end(), words.begin(), words.end());
        if (useOf(below).status != 0) {
            return std::nullopt;
        }
        std::ifstream file(out);
        for (String line; std::getline(file, line);) {
            if (line.starts_with("totals: ")) {
                counts[i] = std::stod(line.substr(8));
            }
        }
    }
    return (counts[1] - counts[0]) / (routes[1] - routes[0]);
}

/// Fills in the instructions of plain files on one thread.
void addInstructions(std::vector<JobRow> & rows, JobFiles const & made,
                     JobOptions const & options) {
    auto row = rows.begin();
    for (JobPolicy const & policy : policies) {
        for (JobFile const & file : made.all()) {
            for (std::size_t i = 0; file.form == "mrt" && i < options.binaries.size(); ++i) {
                row->byBinary[i].instructions = instructionsOf(
                    command(options.binaries[i], policy, file.path, 1, "none"), made.folder());
            }
            row += 2; // one and two threads
        }
    }
}

std::vector<JobRow> rowsOf(std::vector<JobFile> const & files, JobOptions const & options) {
    std::vector<JobRow> rows;
    for (JobPolicy const & policy : policies) {
        for (JobFile const & file : files) {
            for (U32 const threads : {1U, 2U}) {
                rows.push_back({policy.name, file.table, file.form, threads, {}, {}});
                rows.back().byBinary.resize(options.binaries.size());
            }
        }
    }
    return rows;
}

/// Other programs may end as they like with real tables, which are cut.
void addSample(JobTiming & timing, std::vector<String> const & words, bool isOurs = true) {
    ProcessUse const use = useOf(words);
    if (use.status < 0 || (isOurs && use.status != 0)) {
        fail(words, "failed");
    }
    timing.wall.samples.push_back(use.wallNs);
    timing.cpu.samples.push_back(use.cpuNs);
}

/// One round over all rows. The order of the binaries turns from round to round.
void addRound(std::vector<JobRow> & rows, std::vector<JobFile> const & files,
              JobOptions const & options, U32 round, bool hasBgpdump) {
    auto row = rows.begin();
    std::size_t const binaries = options.binaries.size();
    for (JobPolicy const & policy : policies) {
        for (JobFile const & file : files) {
            JobTiming bgpdump;
            if (hasBgpdump) {
                addSample(bgpdump, {"bgpdump", "-m", file.path}, false);
            }
            for (U32 const threads : {1U, 2U}) {
                for (std::size_t i = 0; i < binaries; ++i) {
                    std::size_t const at = (i + round) % binaries;
                    addSample(row->byBinary[at],
                              command(options.binaries[at], policy, file.path, threads, "none"));
                }
                for (auto const timing : {&JobTiming::wall, &JobTiming::cpu}) {
                    auto const & samples = (bgpdump.*timing).samples;
                    auto & all = (row->bgpdump.*timing).samples;
                    all.insert(all.end(), samples.begin(), samples.end());
                }
                ++row;
            }
        }
    }
}

} // namespace

JobResults measureJobs(JobOptions const & options) {
    JobFiles const made(options.routes, options.realBytes);
    auto const & files = made.all();
    JobResults results;
    results.binaries = options.binaries;
    for (JobPolicy const & policy : policies) {
        for (JobFile const & file : files) {
            if (file.form == "mrt") {
                String const summary =
                    printedBy(command(options.binaries.front(), policy, file.path, 1, "none"));
                results.accepted.push_back({policy.name, file.table, numberIn(summary, "routes:"),
                                            numberIn(summary, "true:")});
            }
        }
    }
    compareOutputs(files, options);
    results.rows = rowsOf(files, options);
    bool const hasBgpdump = isInstalled("bgpdump");
    if (!hasBgpdump) {
        std::fputs("left out: bgpdump is not installed\n", stderr);
    }
    if (options.countInstructions && isInstalled("valgrind")) {
        addInstructions(results.rows, made, options);
    }
    for (U32 round = 0; round < options.rounds; ++round) {
        addRound(results.rows, files, options, round, hasBgpdump);
    }
    return results;
}

} // namespace Qcf::Bench
