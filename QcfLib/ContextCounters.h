#pragma once

#include "Platform/Framework/Types.h"

#include <atomic>
#include <memory>

namespace Qcf::Eval {

/// What the counting plans that ran on one context have counted: an array of numbers, of which each
/// counting step has one, by an index that is the same in all contexts.
///
///     counters.reserve(end);  // before a plan runs: room for its indices
///     counters.count(index);
///
/// Written by the context's thread alone, so that a count is a load and a store and no thread waits
/// for another; added up by anybody (StatementCounts.h). Memory: 8 bytes for each index that some
/// plan has, none before the first counting plan ran. What was counted outlives the context.
class ContextCounters {
public:
    ContextCounters() = default;
    ContextCounters(ContextCounters const &) = delete;
    ContextCounters & operator=(ContextCounters const &) = delete;
    /// Hands its counts on, to be added up with those of other contexts.
    ~ContextCounters();

    bool hasRoom(U32 end) const { return end <= size_; }
    /// Room for the indices below `end`, for whoever counts by them next. Takes a lock, and
    /// allocates, when there is none yet.
    void reserve(U32 end) {
        if (!hasRoom(end)) [[unlikely]] {
            grow(end);
        }
    }
    /// One more; there must be room.
    void count(U32 index) {
        auto & number = numbers_[index];
        number.store(number.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }

    /// Which statement decided what the function that ended last answers; for the call that made
    /// it.
    U32 decider() const { return decider_; }
    void deciderIs(U32 decider) { decider_ = decider; }

private:
    friend class CounterStore;

    void grow(U32 end);

    /// Replaced by this thread alone, under the store's lock.
    std::unique_ptr<std::atomic<U64>[]> numbers_;
    U32 size_ = 0;
    U32 decider_ = 0;
};

} // namespace Qcf::Eval
