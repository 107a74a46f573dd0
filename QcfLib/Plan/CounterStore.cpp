#include "QcfLib/Plan/CounterStore.h"

#include <algorithm>

/// Indices are given to plans, numbers belong to contexts: both come and go at their own time.
namespace Qcf::Eval {

CounterStore & CounterStore::instance() {
    static auto * const store = new CounterStore; // NOLINT(cppcoreguidelines-owning-memory)
    return *store;
}

U32 CounterStore::take() {
    std::lock_guard const lock(mutex_);
    if (free_.empty()) {
        return end_++;
    }
    U32 const index = free_.back();
    free_.pop_back();
    return index;
}

// The numbers are cleared here and not when they are taken again, since here the contexts that have
// room for them are known, and no plan counts by them.
void CounterStore::giveBack(std::vector<U32> const & indices) {
    std::lock_guard const lock(mutex_);
    for (U32 const index : indices) {
        for (ContextCounters * const context : contexts_) {
            if (index < context->size_) {
                context->numbers_[index].store(0, std::memory_order_relaxed);
            }
        }
        if (index < ofGone_.size()) {
            ofGone_[index] = 0;
        }
        free_.push_back(index);
    }
}

void CounterStore::layoutIs(CountLayout const & layout) {
    std::lock_guard const lock(mutex_);
    layouts_.insert(&layout);
}

void CounterStore::layoutDel(CountLayout const & layout) {
    std::lock_guard const lock(mutex_);
    layouts_.erase(&layout);
}

// Room for all indices that there are, so that the next plan need not grow it again.
void CounterStore::grow(ContextCounters & counters, U32 end) {
    std::lock_guard const lock(mutex_);
    U32 const size = std::max(end, end_ + end_ / 2);
    auto numbers = std::make_unique<std::atomic<U64>[]>(size);
    for (U32 i = 0; i < counters.size_; ++i) {
        numbers[i].store(counters.numbers_[i].load(std::memory_order_relaxed),
                         std::memory_order_relaxed);
    }
    contexts_.insert(&counters);
    counters.numbers_ = std::move(numbers);
    counters.size_ = size;
}

void CounterStore::leave(ContextCounters & counters) {
    std::lock_guard const lock(mutex_);
    contexts_.erase(&counters);
    ofGone_.resize(std::max<std::size_t>(ofGone_.size(), counters.size_));
    for (U32 i = 0; i < counters.size_; ++i) {
        ofGone_[i] += counters.numbers_[i].load(std::memory_order_relaxed);
    }
}

std::vector<U64> CounterStore::sums() const {
    std::vector<U64> sums(ofGone_);
    sums.resize(std::max<std::size_t>(sums.size(), end_));
    for (ContextCounters const * const context : contexts_) {
        for (U32 i = 0; i < std::min<U32>(context->size_, end_); ++i) {
            sums[i] += context->numbers_[i].load(std::memory_order_relaxed);
        }
    }
    return sums;
}

void ContextCounters::grow(U32 end) { CounterStore::instance().grow(*this, end); }

ContextCounters::~ContextCounters() {
    if (numbers_) {
        CounterStore::instance().leave(*this);
    }
}

} // namespace Qcf::Eval
