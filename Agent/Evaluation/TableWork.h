#pragma once

#include "Agent/Routes/RouteReader.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <vector>

/// How several threads share the work on one table and still deliver it in order: a work source
/// hands out pieces of the table, each with a ticket, and a sequencer lets the threads pass in the
/// order of the tickets. Both are used by all threads of one run.
///
///     while (source.take(batch, share)) {
///         ... read and evaluate what the batch has ...
///         sequencer.deliver(batch, write);
///     }
///
/// Faults travel as exceptions in a batch, so that what stands before them is still delivered.
namespace Qcf::Agent {

/// Consecutive routes that are read in one turn where there are no shares.
constexpr std::size_t stretchLength = 256;
/// Routes of a share's piece that are kept at once. As long as a piece has more, nobody else can
/// number the routes behind it, so this is more than a piece usually has.
constexpr std::size_t batchLength = 1024;

/// Consecutive routes: a piece of the table, or a part of one. `fault` stands behind the last. One
/// thread's, which uses it again and again: after the first pieces it allocates nothing.
struct RouteBatch {
    std::vector<Route> routes = std::vector<Route>(batchLength);
    std::size_t size = 0;
    U64 firstRoute = 0; ///< its number in the table
    U64 ticket = 0;     ///< position of the piece among the pieces
    bool last = false;  ///< of its piece
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

/// The work source: deals the table out in pieces, in order. Pieces are such as are to be decoded
/// by the thread that gets them, or, without shares, routes. Dealing is the only thing that threads
/// wait for each other to do while they read; what a share takes is decoded outside the lock.
class WorkSource {
public:
    /// The reader must outlive it; nobody else may use the reader meanwhile.
    WorkSource(RouteReader & reader, U64 limit) : reader_(reader), left_(limit) {}

    /// Takes the next piece: overwrites `batch`; false when there is nothing left and no fault.
    /// What a share has taken is still to be read.
    bool take(RouteBatch & batch, RouteShare * share);
    /// No more pieces.
    void close();

private:
    /// Lets a share take the next piece; its fault is a piece of its own.
    bool takeShare(RouteBatch & batch, RouteShare & share);

    std::mutex mutex_;
    RouteReader & reader_;
    /// Routes up to the limit.
    U64 left_;
    U64 tickets_ = 0;
    bool closed_ = false;
};

/// The sequencer: keeps what the threads do side by side in the order of the table, up to the first
/// fault. A thread that is ahead waits for its turn. A piece keeps its turn until its last part has
/// passed.
class Sequencer {
public:
    /// Waits until all routes before the batch were read, numbers those of the batch, and settles
    /// what its share met. False when the evaluation is over.
    bool number(RouteBatch & batch, RouteShare * share);
    /// Waits until all routes before the batch were delivered and calls `deliver`. False when the
    /// evaluation is over.
    bool deliver(RouteBatch & batch, std::function<void()> const & deliver);
    /// What ended the evaluation early; null when nothing did. To be asked once the threads ended.
    std::exception_ptr fault() const { return fault_; }

private:
    /// Adds what the share met to the reader's statistics and reports.
    void settle(RouteBatch & batch, RouteShare & share);
    /// Waits for the batch's turn; false when a fault came first.
    bool awaitTurn(std::unique_lock<std::mutex> & lock, U64 const & turn, RouteBatch const & batch);
    /// Ends the turn of a piece with its last part.
    void passTurn(U64 & turn, RouteBatch const & batch);

    std::mutex mutex_;
    std::condition_variable turnPassed_;
    /// Routes that were numbered.
    U64 routes_ = 0;
    U64 readTurn_ = 0;    ///< ticket of the piece whose routes are numbered next
    U64 deliverTurn_ = 0; ///< of the one that is delivered next
    /// The first one in the order of the table.
    std::exception_ptr fault_;
};

} // namespace Qcf::Agent
