#pragma once

#include "Agent/Evaluation/AgentContextGenerated.h"
#include "Agent/Routes/RouteReader.h"

#include <functional>
#include <memory>
#include <optional>

namespace Qcf::Agent {

/// One evaluated route, valid only as long as it is handed out. What the function changed, whether
/// it set the next hop to self and the log are the context's.
struct Evaluated {
    U64 number; ///< position in the table, from 0
    Route const & route;
    Eval::EvalResult result;
    AgentContextBase const & context;
};

/// What becomes of the evaluated routes. Every thread has a sink of its own, which it uses for one
/// stretch of consecutive routes after the other.
class EvaluationSink {
public:
    virtual ~EvaluationSink() = default;

    /// Takes the next evaluated route of the current stretch: the place for work that may go on
    /// side by side, such as making text.
    virtual void take(Evaluated const & evaluated) = 0;

    /// The current stretch is complete. The calls of all sinks together come one at a time and in
    /// the order of the table, from any thread: the place for what must keep that order, such as
    /// writing. The next stretch starts empty.
    virtual void deliver() = 0;
};

/// How a table is evaluated: one function for all its routes, by one thread or several.
///
///     TableRun run;
///     run.function = function;
///     run.makeContext = [&] { return makePtr<AgentContext>(matchers); };
///     run.makeSink = [&] { return std::make_unique<PrintingSink>(out); };
///     run.threads = 4;
///     evaluateTable(*openRoutes(path, report), run);
///
/// The result does not depend on the number of threads: sinks deliver in the order of the table.
struct TableRun {
    /// Not null. All threads evaluate the same object.
    PtrConst<Eval::Function> function;
    /// Makes the context of a thread; called on the thread that starts the evaluation.
    std::function<Ptr<AgentContextBase>()> makeContext;
    /// Makes the sink of a thread; called likewise.
    std::function<std::unique_ptr<EvaluationSink>()> makeSink;
    U32 threads = 1;     ///< at least 1; with 1 no thread is started
    U64 limit = ~U64{0}; ///< routes to evaluate at most
    /// Whether a route is to be evaluated; the others are passed over and reach no sink. Null for
    /// all. Called by all threads.
    std::function<bool(U64 number, Route const & route)> select = {};
    /// Whether each evaluation keeps a log, which the context then has.
    bool log = false;
};

/// Evaluates the run's function for the routes of the reader, which is used by one thread at a
/// time. Memory is bounded whatever the table's size; after the first routes nothing is allocated
/// per route.
///
/// An exception of the reader, of a context or of a sink ends the evaluation and reaches the
/// caller after the routes before it were delivered; those behind it are not.
void evaluateTable(RouteReader & reader, TableRun const & run);

} // namespace Qcf::Agent
