#pragma once

#include "Platform/Framework/Types.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace Qcf::Live {

/// Threads that take part in a piece of work and then wait for the next one.
///
///     SliceWorkers workers(4);
///     workers.run([&](U32 number) { ... }); // 0 to 3, each on a thread of its own
///
/// Belongs to the thread that made it, which is the first of them.
class SliceWorkers {
public:
    using Work = std::function<void(U32 number)>;

    /// At least one, the caller's.
    explicit SliceWorkers(U32 threads);
    SliceWorkers(SliceWorkers const &) = delete;
    SliceWorkers & operator=(SliceWorkers const &) = delete;
    ~SliceWorkers();

    U32 size() const { return static_cast<U32>(threads_.size()) + 1; }
    /// Calls `work` once on each thread, and waits for all. It must not throw.
    void run(Work const & work);

private:
    void serve(U32 number);

    std::mutex mutex_; ///< guards what follows
    std::condition_variable changed_;
    Work const * work_ = nullptr;
    U64 round_ = 0;
    U32 running_ = 0;
    bool ends_ = false;
    std::vector<std::jthread> threads_;
};

} // namespace Qcf::Live
