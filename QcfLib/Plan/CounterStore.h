#pragma once

#include "QcfLib/ContextCounters.h"

#include <mutex>
#include <set>
#include <vector>

namespace Qcf::Eval {

class CountLayout;

/// Who has which counters: the indices that plans take, the contexts that count, and the plans
/// whose counts can be asked for. One in a process; every operation takes its lock, and none is on
/// the way of a route.
class CounterStore {
public:
    /// Never destroyed: contexts and plans may outlive what is destroyed at the end of a process.
    static CounterStore & instance();

    /// An index of which all numbers are 0.
    U32 take();
    /// Whose plan is gone: nobody counts by them any more.
    void giveBack(std::vector<U32> const & indices);

    void layoutIs(CountLayout const & layout);
    void layoutDel(CountLayout const & layout);

    /// Calls `use(layouts, sums)` with the sum of each index over all contexts.
    template <typename Use>
    void withSums(Use use) const {
        std::lock_guard const lock(mutex_);
        use(layouts_, sums());
    }

private:
    friend class ContextCounters;

    /// A context got room, or goes.
    void grow(ContextCounters & counters, U32 end);
    void leave(ContextCounters & counters);
    std::vector<U64> sums() const;

    mutable std::mutex mutex_;
    U32 end_ = 0; ///< behind the largest index that was ever taken
    std::vector<U32> free_;
    std::set<ContextCounters *> contexts_;
    std::vector<U64> ofGone_; ///< what contexts had counted that are gone
    std::set<CountLayout const *> layouts_;
};

} // namespace Qcf::Eval
