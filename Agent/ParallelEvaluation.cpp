#include "Agent/ParallelEvaluation.h"

#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfEval.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace Qcf::Agent {

namespace {

/// Routes that a thread reads at once. Alone, it keeps them in the nearest cache; beside others it
/// takes enough to be seldom in their way.
constexpr std::size_t kAlone = 16;
constexpr std::size_t kAmongOthers = 256;

/// A run of consecutive routes. `fault` stands behind its last route.
struct Batch {
    explicit Batch(std::size_t capacity) : routes(capacity) {}

    std::vector<Route> routes;
    std::size_t size = 0;
    U64 firstRoute = 0;
    U64 ticket = 0; ///< position among the batches
    std::exception_ptr fault;
};

/// Deals the table out in batches, in order.
class Dealer {
public:
    Dealer(RouteReader & reader, U64 limit) : reader_(reader), left_(limit) {}

    /// Overwrites `batch` by the next routes; false when there are none and no fault.
    bool deal(Batch & batch) {
        std::lock_guard const lock(mutex_);
        batch.size = 0;
        batch.fault = nullptr;
        batch.firstRoute = dealt_;
        if (ended_) {
            return false;
        }
        fill(batch);
        dealt_ += batch.size;
        left_ -= batch.size;
        batch.ticket = tickets_++;
        return batch.size != 0 || batch.fault;
    }

    /// No more batches.
    void end() {
        std::lock_guard const lock(mutex_);
        ended_ = true;
    }

private:
    void fill(Batch & batch) {
        std::size_t const wanted = std::min<U64>(batch.routes.size(), left_);
        try {
            while (batch.size < wanted && reader_.next(batch.routes[batch.size])) {
                ++batch.size;
            }
        } catch (...) {
            batch.fault = std::current_exception();
        }
        ended_ = batch.fault || batch.size < batch.routes.size();
    }

    std::mutex mutex_;
    RouteReader & reader_;
    U64 left_;
    U64 dealt_ = 0;
    U64 tickets_ = 0;
    bool ended_ = false;
};

/// Lets batches be delivered in order, each by the thread that evaluated it, up to the first fault.
class Counter {
public:
    /// Waits for the batch's turn and delivers it. False when the evaluation is over.
    bool deliver(Batch & batch, EvaluationSink & sink) {
        std::unique_lock lock(mutex_);
        turn_.wait(lock, [&] { return fault_ || next_ == batch.ticket; });
        if (fault_) {
            return false;
        }
        fault_ = batch.fault;
        try {
            sink.deliver();
        } catch (...) {
            fault_ = std::current_exception();
        }
        ++next_;
        turn_.notify_all();
        return !fault_;
    }

    std::exception_ptr fault() const { return fault_; }

private:
    std::mutex mutex_;
    std::condition_variable turn_;
    U64 next_ = 0; ///< ticket of the batch that is delivered next
    std::exception_ptr fault_;
};

/// Evaluates on one thread.
class Worker {
public:
    Worker(EvaluationPlan const & plan, std::size_t batchSize)
        : plan_(plan),
          agentContext_(plan.makeContext()),
          context_(agentContext_),
          sink_(plan.makeSink()),
          batch_(batchSize) {}

    void run(Dealer & dealer, Counter & counter) {
        while (dealer.deal(batch_)) {
            evaluate();
            if (!counter.deliver(batch_, *sink_)) {
                dealer.end();
                return;
            }
        }
    }

private:
    void evaluate() {
        std::size_t done = 0;
        try {
            for (; done < batch_.size; ++done) {
                evaluate(batch_.firstRoute + done, batch_.routes[done]);
            }
        } catch (...) {
            batch_.fault = std::current_exception();
        }
    }

    void evaluate(U64 number, Route const & route) {
        agentContext_->routeIs(route);
        if (plan_.log) {
            agentContext_->shouldLogEvalIs(true);
        }
        Eval::EvalResult const result = plan_.function->eval(context_);
        sink_->take({number, route, result, *agentContext_});
    }

    EvaluationPlan const & plan_;
    Ptr<AgentContextBase> agentContext_;
    Ptr<Eval::EvalContextBase> context_;
    std::unique_ptr<EvaluationSink> sink_;
    Batch batch_;
};

} // namespace

void evaluateTable(RouteReader & reader, EvaluationPlan const & plan) {
    QCF_ASSERT(plan.threads >= 1);
    Dealer dealer(reader, plan.limit);
    Counter counter;
    std::size_t const batchSize = plan.threads == 1 ? kAlone : kAmongOthers;
    std::vector<std::unique_ptr<Worker>> workers;
    for (U32 i = 0; i < plan.threads; ++i) {
        workers.push_back(std::make_unique<Worker>(plan, batchSize));
    }
    try {
        std::vector<std::jthread> threads;
        for (U32 i = 1; i < plan.threads; ++i) {
            threads.emplace_back([&, i] { workers[i]->run(dealer, counter); });
        }
        workers[0]->run(dealer, counter);
    } catch (...) {
        dealer.end(); // a thread could not be started: let the others stop
        throw;
    }
    if (counter.fault()) {
        std::rethrow_exception(counter.fault());
    }
}

} // namespace Qcf::Agent
