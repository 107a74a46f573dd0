#pragma once

#include "bench/Measure.h"
#include "bench/RealTables.h"

/// The policies of examples/, which are such as operators have: how they run, over invented tables
/// and over those of routers.
namespace Qcf::Bench {

/// A function over one table.
struct ExampleTiming {
    U64 accepted = 0;
    Timing plan;
    Timing tree;
};

/// A function of a policy that an agent would evaluate.
struct ExampleResult {
    String name;                        ///< "leaks/from_customer"
    std::vector<ExampleTiming> byTable; ///< in the order of the tables
    String withoutStep;                 ///< see `nodesWithoutStep`
};

struct ExampleResults {
    struct Measured {
        String name;
        std::size_t routes;
    };
    std::vector<Measured> tables;
    std::vector<ExampleResult> results;
    std::vector<SharingFacts> sharing; ///< of whole tables
};

struct ExampleOptions {
    std::size_t routes = 20000;           ///< of each table that are evaluated
    std::size_t generatedRoutes = 200000; ///< of the generated ones, for how they share attributes
    std::size_t realRoutes = ~std::size_t{0}; ///< of each real one, to choose from
    MeasureOptions measure;
};

/// Ends the process with a message where plan and tree disagree about a route.
ExampleResults measureExamples(ExampleOptions const & options);

} // namespace Qcf::Bench
