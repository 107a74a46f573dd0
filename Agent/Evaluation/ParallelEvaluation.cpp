#include "Agent/Evaluation/ParallelEvaluation.h"

#include "Agent/Evaluation/TableWork.h"
#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfEval.h"

#include <thread>

/// Evaluates a table with one thread or several. How the work is dealt out and put back in order is
/// the matter of TableWork, what becomes of the results that of the sinks.
namespace Qcf::Agent {

namespace {

/// What a thread evaluates with.
class Evaluator {
public:
    // Made on the thread that starts the evaluation: what makes contexts and sinks need not be safe
    // to call from several.
    explicit Evaluator(TableRun const & run)
        : run_(run),
          agentContext_(run.makeContext()),
          context_(agentContext_),
          sink_(run.makeSink()) {}

    void evaluate(U64 number, Route const & route) {
        if (run_.select && !run_.select(number, route)) {
            return;
        }
        agentContext_->routeIs(route);
        if (run_.log) {
            agentContext_->shouldLogEvalIs(true);
        }
        Eval::EvalResult const result = run_.function->eval(context_);
        sink_->take({number, route, result, *agentContext_});
    }

    void deliver() { sink_->deliver(); }

private:
    TableRun const & run_;
    // One context in two types, so that no pointer is converted, and counted, for a route.
    Ptr<AgentContextBase> agentContext_;
    Ptr<Eval::EvalContextBase> context_;
    std::unique_ptr<EvaluationSink> sink_;
};

/// Evaluates without any other thread: each route is still in the nearest cache then.
void evaluateAlone(RouteReader & reader, TableRun const & run) {
    Evaluator evaluator(run);
    Route route;
    U64 number = 0;
    for (bool more = true; more;) {
        // Delivered in stretches, as with several threads: sinks see no difference.
        U64 const end = number + std::min<U64>(stretchLength, run.limit - number);
        // Thrown only after the delivery: the routes before a fault are not lost.
        std::exception_ptr fault;
        try {
            while (number < end && (more = reader.next(route))) {
                evaluator.evaluate(number++, route);
            }
        } catch (...) {
            fault = std::current_exception();
        }
        evaluator.deliver();
        if (fault) {
            std::rethrow_exception(fault);
        }
        more = more && number < run.limit;
    }
}

/// One of several threads: takes pieces from the work source until there are no more.
class Worker {
public:
    Worker(TableRun const & run, std::unique_ptr<RouteShare> share)
        : evaluator_(run), share_(std::move(share)) {}

    void work(WorkSource & source, Sequencer & sequencer) {
        while (source.take(batch_, share_.get())) {
            do {
                if (!finish(sequencer)) {
                    // The others find no more pieces and come to an end.
                    source.close();
                    return;
                }
            } while (!batch_.last);
        }
    }

private:
    /// Reads, evaluates and delivers a part of the piece. False when the evaluation is over.
    bool finish(Sequencer & sequencer) {
        // Without a share the work source has read the routes; a fault of taking is a piece without
        // routes.
        if (share_ && !batch_.fault) {
            batch_.read(*share_, batchLength);
        }
        if (!sequencer.number(batch_, share_.get())) {
            return false;
        }
        evaluate();
        return sequencer.deliver(batch_, deliver_);
    }

    void evaluate() {
        try {
            for (std::size_t i = 0; i < batch_.size; ++i) {
                evaluator_.evaluate(batch_.firstRoute + i, batch_.routes[i]);
            }
        } catch (...) {
            // Travels with the batch, for what stands before it in the table is to be delivered
            // first.
            batch_.fault = std::current_exception();
        }
    }

    Evaluator evaluator_;
    std::function<void()> const deliver_ = [this] { evaluator_.deliver(); };
    std::unique_ptr<RouteShare> share_;
    RouteBatch batch_;
};

void evaluateTogether(RouteReader & reader, TableRun const & run) {
    WorkSource source(reader, run.limit);
    Sequencer sequencer;
    // Where records are decoded side by side, nobody knows in time which one holds the last route
    // within a limit.
    bool const limited = run.limit != ~U64{0};
    std::vector<std::unique_ptr<Worker>> workers;
    for (U32 i = 0; i < run.threads; ++i) {
        workers.push_back(std::make_unique<Worker>(run, limited ? nullptr : reader.makeShare()));
    }
    try {
        // Joined at the end of this block, before anybody asks for the fault.
        std::vector<std::jthread> threads;
        for (U32 i = 1; i < run.threads; ++i) {
            threads.emplace_back([&, i] { workers[i]->work(source, sequencer); });
        }
        // The calling thread is one of them.
        workers[0]->work(source, sequencer);
    } catch (...) {
        source.close(); // a thread could not be started: let the others stop
        throw;
    }
    if (sequencer.fault()) {
        std::rethrow_exception(sequencer.fault());
    }
}

} // namespace

void evaluateTable(RouteReader & reader, TableRun const & run) {
    QCF_ASSERT(run.threads >= 1);
    if (run.threads == 1) {
        evaluateAlone(reader, run);
    } else {
        evaluateTogether(reader, run);
    }
}

} // namespace Qcf::Agent
