#pragma once

#include <chrono>

namespace Qcf::Live {

/// Work of a station that is too long to be done between two messages, and is done in pieces by the
/// thread that reads.
///
///     bool step(Deadline deadline) override {
///         while (hasWork() && std::chrono::steady_clock::now() < deadline) { doALittle(); }
///         return hasWork();
///     }
class StationTask {
public:
    using Deadline = std::chrono::steady_clock::time_point;

    StationTask() = default;
    StationTask(StationTask const &) = delete;
    StationTask & operator=(StationTask const &) = delete;
    virtual ~StationTask() = default;

    /// Works until the deadline, not much longer, and answers whether more is left. With nothing
    /// left it is asked again some times a second, so that it may find more. Between two steps all
    /// may have changed: routers, peers and tables may be gone, routes may stand elsewhere.
    virtual bool step(Deadline deadline) = 0;
};

} // namespace Qcf::Live
