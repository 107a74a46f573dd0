#include "Live/SliceWorkers.h"

namespace Qcf::Live {

SliceWorkers::SliceWorkers(U32 threads) {
    for (U32 number = 1; number < threads; ++number) {
        threads_.emplace_back([this, number] { serve(number); });
    }
}

SliceWorkers::~SliceWorkers() {
    {
        std::lock_guard const lock(mutex_);
        ends_ = true;
    }
    changed_.notify_all();
}

void SliceWorkers::run(Work const & work) {
    {
        std::lock_guard const lock(mutex_);
        work_ = &work;
        running_ = static_cast<U32>(threads_.size());
        ++round_;
    }
    changed_.notify_all();
    work(0);
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return running_ == 0; });
}

void SliceWorkers::serve(U32 number) {
    std::unique_lock lock(mutex_);
    for (U64 done = 0;;) {
        changed_.wait(lock, [&] { return ends_ || round_ != done; });
        if (ends_) {
            return;
        }
        done = round_;
        Work const & work = *work_;
        lock.unlock();
        work(number);
        lock.lock();
        if (--running_ == 0) {
            changed_.notify_all();
        }
    }
}

} // namespace Qcf::Live
