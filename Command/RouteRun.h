#pragma once

#include "Agent/Evaluation/ParallelEvaluation.h"
#include "Command/Command.h"
#include "Command/RouteSelection.h"
#include "Command/RouteTally.h"
#include "Text/MapFile.h"
#include "Watch/NodePlaces.h"

#include <memory>

/// How a table of routes is evaluated and what is told of it; the options that say so, the same for
/// `eval` and `agent`.
struct RouteRunOptions {
    /// Files, of which one may be "-" for standard input.
    std::vector<String> routes;
    String output = "table"; ///< table, jsonl or none
    /// Of the routes that are written.
    RouteSelection selection = {};
    bool log = false;
    /// Whether the log tells the places of nodes; `map` has them then.
    bool places = false;
    std::shared_ptr<Qcf::Text::PlaceMap const> map = {};
    /// Whether it is told what decided about each route; `nodePlaces` says where that is then.
    bool why = false;
    std::shared_ptr<Qcf::Watch::NodePlaces const> nodePlaces = {};
    /// From 1 on.
    U64 threads = 1;
    /// Routes to evaluate at most.
    U64 limit = ~U64{0};
    /// Given what was counted since the last call, one call at a time, from any thread; null where
    /// nobody looks on.
    std::function<void(RouteTally const & more)> counted = {};
    /// Given how the file was read, once it was, or could not be read further.
    std::function<void(Qcf::Agent::ReadStatistics const & statistics)> wasRead = {};

    /// Adds --routes, --output, --log, --threads, --limit and those of the selection; must outlive
    /// the parsing.
    void addTo(CLI::App & command);
};

/// Evaluates the table, then calls `finish`, which writes what remains to be written. Where the
/// table cannot be read to its end, or an evaluation fails, that is done as well, and standard
/// output flushed, before the exception goes on: what was evaluated is not lost.
void evaluateAndFinish(Qcf::Agent::RouteReader & reader, Qcf::Agent::TableRun const & run,
                       std::function<void()> const & finish);

/// Makes the evaluation context of a thread.
using MakeContext = std::function<Ptr<Qcf::Agent::AgentContextBase>()>;

/// Evaluates the function for the routes and writes what `options` ask for to standard output.
/// Damage of the file goes to standard error. Throws for routes that cannot be read, after those
/// before them were written.
void runRoutes(RouteRunOptions const & options, PtrConst<Qcf::Eval::Function> function,
               MakeContext makeContext);
