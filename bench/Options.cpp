#include "bench/Options.h"

#include "bench/Instructions.h"

#include <filesystem>

namespace Qcf::Bench {

char const * const usage =
    R"(usage: qcf_bench [--json FILE] [--quick] [--rounds N] [--section NAME]... [--policy P0]...
                 [--contender NAME]... [--binary QCF]...
       qcf_bench --micro [ARGUMENTS]

Measures policies over tables, whole jobs of the command, memory, and the publication of documents,
and prints a table for each; README.md beside its sources tells how to read them. Times are
nanoseconds per route as median (lowest..highest) of the rounds; ratios are taken within each round.
"resident": 2,000 routes that stay in the cache.

  --json       write everything to this file, too, as one line of JSON
  --quick      a tenth of the routes, 3 short rounds, no document of 1,000,000 nodes
  --rounds     samples of each figure, 7 unless given
  --section    only this one; may be repeated: policies, memory, publication, examples, jobs
  --policy     only this one, P0 to P5; may be repeated
  --contender  only this one and the hand-written ones, or bird, and the first two sections alone;
               may be repeated
  --binary     a command qcf for the jobs, the one beside this program unless given; may be
               repeated, to time two builds side by side
  --micro      the hot paths one by one; ARGUMENTS go to Google Benchmark

contenders:   hand-written C++ over the plain structure is the limit, -accessors the limit of the
              interface; engine-plan and engine-tree, -counting the plan that counts, -watched the
              tree before an observer that does nothing; LuaJIT over a C structure (luajit-ffi) and
              Lua with methods in C (-api), which follow the policies test by test; -tuned is
              rearranged by hand, -loop has the loop over the routes inside the script;
              hand-numbers is P5 with its patterns turned into comparisons of numbers
instructions: per resident route (a quarter of them with --quick), by callgrind of valgrind
mallocs:      heap blocks allocated per route after the first pass over the table
slab:         objects taken from slabs per route
shared:       writes per route to reference counts that threads share
)";

namespace {

/// Adds the one of that name.
template <typename Values, typename Names>
bool addNamed(String const & name, Names const & names, Values & values) {
    auto const found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) {
        return false;
    }
    values.push_back(static_cast<typename Values::value_type>(found - names.begin()));
    return true;
}

void makeQuick(Options & options) {
    options.routes = 20000;
    options.countedRoutes = residentRoutes / 4;
    options.measure.rounds = 3;
    options.measure.sampleNs = 2e6;
    options.sizes.pop_back();
    options.examples.routes = 4000;
    options.examples.generatedRoutes = 20000;
    options.examples.realRoutes = 100000;
    options.jobs.routes = 20000;
    options.jobs.realBytes = 2000000;
    options.jobs.countInstructions = false;
}

/// Everything that no argument named.
void complete(Options & options) {
    if (options.policies.empty()) {
        for (U32 policy = 0; policy < policyCount; ++policy) {
            options.policies.push_back(static_cast<Policy>(policy));
        }
    }
    if (options.sections.empty()) {
        options.sections = {Section::policies, Section::memory};
        if (options.contenders.empty()) {
            options.sections.insert(options.sections.end(),
                                    {Section::publication, Section::examples, Section::jobs});
        }
    }
    if (options.jobs.binaries.empty()) {
        auto const own = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "qcf";
        if (std::filesystem::exists(own)) {
            options.jobs.binaries.push_back(own.string());
        }
    }
    options.examples.measure = options.measure;
    options.jobs.rounds = options.measure.rounds;
}

/// An argument that has a value; false where one of them is wrong.
bool readValue(Options & options, String const & argument, String const & value) {
    if (value.empty()) {
        return false;
    }
    if (argument == "--json") {
        options.jsonFile = value;
    } else if (argument == "--binary") {
        options.jobs.binaries.push_back(value);
    } else if (argument == "--contender") {
        options.contenders.push_back(value);
    } else if (argument == "--rounds") {
        options.measure.rounds = static_cast<U32>(std::strtoul(value.c_str(), nullptr, 10));
        return options.measure.rounds > 0;
    } else if (argument == "--section") {
        return addNamed(value, sectionNames, options.sections);
    } else {
        return argument == "--policy" && addNamed(value, policyNames, options.policies);
    }
    return true;
}

} // namespace

std::optional<Options> readOptions(std::vector<String> const & arguments) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        String const & argument = arguments[i];
        if (argument == "--quick") {
            makeQuick(options);
            options.forCallgrind.push_back(argument);
        } else if (argument == countInstructionsOption) {
            options.countInstructions = true;
        } else {
            String const value = i + 1 < arguments.size() ? arguments[i + 1] : "";
            if (!readValue(options, argument, value)) {
                return std::nullopt;
            }
            if (argument == "--policy" || argument == "--contender") {
                options.forCallgrind.insert(options.forCallgrind.end(), {argument, value});
            }
            ++i;
        }
    }
    complete(options);
    return options;
}

} // namespace Qcf::Bench
