#include "Agent/Evaluation/TableWork.h"

#include <utility>

/// Pieces get tickets in the order of the table and pass two turns: one for numbering, behind the
/// reading, and one for delivering. Between the two everybody evaluates at will.
namespace Qcf::Agent {

bool WorkSource::take(RouteBatch & batch, RouteShare * share) {
    std::lock_guard const lock(mutex_);
    if (closed_) {
        return false;
    }
    // Drawn under the lock under which the data are taken, so that tickets rise as the table does.
    batch.ticket = tickets_++;
    if (share != nullptr) {
        return takeShare(batch, *share);
    }
    batch.read(reader_, std::min<U64>(stretchLength, left_));
    left_ -= batch.size;
    closed_ = std::exchange(batch.last, true) || left_ == 0; // each stretch is a piece here
    return batch.size != 0 || batch.fault;
}

bool WorkSource::takeShare(RouteBatch & batch, RouteShare & share) {
    batch.size = 0;
    batch.last = false;
    batch.fault = nullptr;
    try {
        closed_ = !share.take();
        return !closed_;
    } catch (...) {
        // A piece of its own without routes: the fault comes up when its turn does.
        batch.fault = std::current_exception();
        batch.last = true;
        closed_ = true;
        return true;
    }
}

void WorkSource::close() {
    std::lock_guard const lock(mutex_);
    closed_ = true;
}

bool Sequencer::number(RouteBatch & batch, RouteShare * share) {
    std::unique_lock lock(mutex_);
    if (!awaitTurn(lock, readTurn_, batch)) {
        return false;
    }
    batch.firstRoute = routes_;
    routes_ += batch.size;
    // Within the turn: statistics and reports then come in the order of the file.
    if (share != nullptr) {
        settle(batch, *share);
    }
    // Nothing behind a fault is read, or so it seems to everyone.
    if (!batch.fault) {
        passTurn(readTurn_, batch);
    }
    return true;
}

bool Sequencer::deliver(RouteBatch & batch, std::function<void()> const & deliver) {
    std::unique_lock lock(mutex_);
    if (!awaitTurn(lock, deliverTurn_, batch)) {
        return false;
    }
    // The sink holds what stands before the fault; that is delivered still.
    fault_ = batch.fault;
    try {
        deliver();
    } catch (...) {
        fault_ = std::current_exception();
    }
    passTurn(deliverTurn_, batch);
    return !fault_;
}

// The reporter is the caller's and may throw: that counts as a fault behind the batch's routes.
void Sequencer::settle(RouteBatch & batch, RouteShare & share) {
    try {
        share.settle();
    } catch (...) {
        batch.fault = std::current_exception();
        batch.last = true;
    }
}

// A fault ends all waiting: the turns of those behind it would never come.
bool Sequencer::awaitTurn(std::unique_lock<std::mutex> & lock, U64 const & turn,
                          RouteBatch const & batch) {
    turnPassed_.wait(lock, [&] { return fault_ || turn == batch.ticket; });
    return !fault_;
}

// A piece in several parts keeps its turn until the last of them.
void Sequencer::passTurn(U64 & turn, RouteBatch const & batch) {
    if (batch.last || fault_) {
        ++turn;
        turnPassed_.notify_all();
    }
}

} // namespace Qcf::Agent
