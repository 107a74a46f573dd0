#include "Agent/Evaluation/ParallelEvaluation.h"

#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfEval.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Qcf::Agent {

namespace {

/// Routes of one run that are read in turn.
constexpr std::size_t kRun = 256;
/// Routes of a share's piece that are kept at once. As long as a piece has more, nobody else can
/// number the routes behind it, so this is more than a piece usually has.
constexpr std::size_t kPiece = 1024;

/// What a thread evaluates with.
class Worker {
public:
    explicit Worker(EvaluationPlan const & plan)
        : plan_(plan),
          agentContext_(plan.makeContext()),
          context_(agentContext_),
          sink_(plan.makeSink()) {}

    void evaluate(U64 number, Route const & route) {
        agentContext_->routeIs(route);
        if (plan_.log) {
            agentContext_->shouldLogEvalIs(true);
        }
        Eval::EvalResult const result = plan_.function->eval(context_);
        sink_->take({number, route, result, *agentContext_});
    }

    void deliver() { sink_->deliver(); }

private:
    EvaluationPlan const & plan_;
    Ptr<AgentContextBase> agentContext_;
    Ptr<Eval::EvalContextBase> context_;
    std::unique_ptr<EvaluationSink> sink_;
};

/// Evaluates without any other thread: each route is still in the nearest cache then.
void evaluateAlone(RouteReader & reader, EvaluationPlan const & plan) {
    Worker worker(plan);
    Route route;
    U64 number = 0;
    for (bool more = true; more;) {
        U64 const end = number + std::min<U64>(kRun, plan.limit - number);
        std::exception_ptr fault;
        try {
            while (number < end && (more = reader.next(route))) {
                worker.evaluate(number++, route);
            }
        } catch (...) {
            fault = std::current_exception();
        }
        worker.deliver();
        if (fault) {
            std::rethrow_exception(fault);
        }
        more = more && number < plan.limit;
    }
}

/// Consecutive routes: a piece of the table, or a part of one. `fault` stands behind the last.
struct Batch {
    std::vector<Route> routes = std::vector<Route>(kPiece);
    std::size_t size = 0;
    U64 firstRoute = 0;
    U64 ticket = 0;    ///< position of the piece among the pieces
    bool last = false; ///< of its piece
    std::exception_ptr fault;

    /// Overwrites the routes by the next ones of a reader or a share, `most` of them at most.
    template <class Source>
    void read(Source & source, U64 most) {
        size = 0;
        fault = nullptr;
        try {
            while (size < most && source.next(routes[size])) {
                ++size;
            }
        } catch (...) {
            fault = std::current_exception();
        }
        last = fault || size < most;
    }
};

/// Deals the table out in pieces, in order: such as are to be decoded by the thread that gets them,
/// or, without shares, routes.
class Dealer {
public:
    Dealer(RouteReader & reader, U64 limit) : reader_(reader), left_(limit) {}

    /// Overwrites `batch`; false when there is nothing left and no fault. What a share has taken is
    /// still to be read.
    bool deal(Batch & batch, RouteShare * share) {
        std::lock_guard const lock(mutex_);
        if (ended_) {
            return false;
        }
        batch.ticket = tickets_++;
        if (share != nullptr) {
            return take(batch, *share);
        }
        batch.read(reader_, std::min<U64>(kRun, left_));
        left_ -= batch.size;
        ended_ = std::exchange(batch.last, true) || left_ == 0; // each run is a piece here
        return batch.size != 0 || batch.fault;
    }

    /// No more pieces.
    void end() {
        std::lock_guard const lock(mutex_);
        ended_ = true;
    }

private:
    bool take(Batch & batch, RouteShare & share) {
        batch.size = 0;
        batch.last = false;
        batch.fault = nullptr;
        try {
            ended_ = !share.take();
            return !ended_;
        } catch (...) {
            batch.fault = std::current_exception();
            batch.last = true;
            ended_ = true;
            return true;
        }
    }

    std::mutex mutex_;
    RouteReader & reader_;
    U64 left_;
    U64 tickets_ = 0;
    bool ended_ = false;
};

/// Keeps what the threads do side by side in the order of the table, up to the first fault.
class Order {
public:
    /// Waits until all routes before the batch were read, numbers those of the batch, and settles
    /// what its share met. False when the evaluation is over.
    bool number(Batch & batch, RouteShare * share) {
        std::unique_lock lock(mutex_);
        if (!await(lock, read_, batch)) {
            return false;
        }
        batch.firstRoute = routes_;
        routes_ += batch.size;
        if (share != nullptr) {
            settle(batch, *share);
        }
        // Nothing behind a fault is read, or so it seems to everyone.
        if (!batch.fault) {
            pass(read_, batch);
        }
        return true;
    }

    /// Waits until all routes before the batch were delivered and delivers it, by the thread that
    /// evaluated it. False when the evaluation is over.
    bool deliver(Batch & batch, Worker & worker) {
        std::unique_lock lock(mutex_);
        if (!await(lock, delivered_, batch)) {
            return false;
        }
        fault_ = batch.fault;
        try {
            worker.deliver();
        } catch (...) {
            fault_ = std::current_exception();
        }
        pass(delivered_, batch);
        return !fault_;
    }

    std::exception_ptr fault() const { return fault_; }

private:
    void settle(Batch & batch, RouteShare & share) {
        try {
            share.settle();
        } catch (...) {
            batch.fault = std::current_exception();
            batch.last = true;
        }
    }

    bool await(std::unique_lock<std::mutex> & lock, U64 const & turn, Batch const & batch) {
        turn_.wait(lock, [&] { return fault_ || turn == batch.ticket; });
        return !fault_;
    }

    void pass(U64 & turn, Batch const & batch) {
        if (batch.last || fault_) {
            ++turn;
            turn_.notify_all();
        }
    }

    std::mutex mutex_;
    std::condition_variable turn_;
    U64 routes_ = 0;
    U64 read_ = 0;      ///< ticket of the piece whose routes are numbered next
    U64 delivered_ = 0; ///< of the one that is delivered next
    std::exception_ptr fault_;
};

/// One of several threads.
class Partner {
public:
    Partner(EvaluationPlan const & plan, std::unique_ptr<RouteShare> share)
        : worker_(plan), share_(std::move(share)) {}

    void run(Dealer & dealer, Order & order) {
        while (dealer.deal(batch_, share_.get())) {
            do {
                if (!finish(order)) {
                    dealer.end();
                    return;
                }
            } while (!batch_.last);
        }
    }

private:
    bool finish(Order & order) {
        if (share_ && !batch_.fault) {
            batch_.read(*share_, kPiece);
        }
        if (!order.number(batch_, share_.get())) {
            return false;
        }
        evaluate();
        return order.deliver(batch_, worker_);
    }

    void evaluate() {
        try {
            for (std::size_t i = 0; i < batch_.size; ++i) {
                worker_.evaluate(batch_.firstRoute + i, batch_.routes[i]);
            }
        } catch (...) {
            batch_.fault = std::current_exception();
        }
    }

    Worker worker_;
    std::unique_ptr<RouteShare> share_;
    Batch batch_;
};

void evaluateTogether(RouteReader & reader, EvaluationPlan const & plan) {
    Dealer dealer(reader, plan.limit);
    Order order;
    // Where records are decoded side by side, nobody knows in time which one holds the last route
    // within a limit.
    bool const limited = plan.limit != ~U64{0};
    std::vector<std::unique_ptr<Partner>> partners;
    for (U32 i = 0; i < plan.threads; ++i) {
        partners.push_back(std::make_unique<Partner>(plan, limited ? nullptr : reader.makeShare()));
    }
    try {
        std::vector<std::jthread> threads;
        for (U32 i = 1; i < plan.threads; ++i) {
            threads.emplace_back([&, i] { partners[i]->run(dealer, order); });
        }
        partners[0]->run(dealer, order);
    } catch (...) {
        dealer.end(); // a thread could not be started: let the others stop
        throw;
    }
    if (order.fault()) {
        std::rethrow_exception(order.fault());
    }
}

} // namespace

void evaluateTable(RouteReader & reader, EvaluationPlan const & plan) {
    QCF_ASSERT(plan.threads >= 1);
    if (plan.threads == 1) {
        evaluateAlone(reader, plan);
    } else {
        evaluateTogether(reader, plan);
    }
}

} // namespace Qcf::Agent
