#pragma once

#include "bench/Examples.h"
#include "bench/Job.h"

#include <algorithm>

namespace Qcf::Bench {

inline constexpr std::size_t residentRoutes = 2000;
inline constexpr char const * birdName = "bird"; ///< in `--contender`

/// What a run measures, by the sections of its report.
enum class Section : U8 { policies, memory, publication, examples, jobs };
inline constexpr std::array<char const *, 5> sectionNames{"policies", "memory", "publication",
                                                          "examples", "jobs"};

struct Options {
    std::size_t routes = 200000;
    std::size_t countedRoutes = residentRoutes; ///< of the resident ones, for instructions
    MeasureOptions measure;
    std::vector<Policy> policies;
    std::vector<String> contenders; ///< empty for all
    std::vector<Section> sections;
    std::vector<U64> sizes{10000, 100000, 1000000}; ///< nodes to publish
    ExampleOptions examples;
    JobOptions jobs;
    String jsonFile;
    bool countInstructions = false; ///< this is the run below callgrind
    std::vector<String> forCallgrind;

    bool wants(std::string_view contender) const {
        return contenders.empty() ||
               std::find(contenders.begin(), contenders.end(), contender) != contenders.end();
    }
    bool wants(Section section) const {
        return std::find(sections.begin(), sections.end(), section) != sections.end();
    }
};

extern char const * const usage;

/// Nothing when an argument is wrong.
std::optional<Options> readOptions(std::vector<String> const & arguments);

} // namespace Qcf::Bench
