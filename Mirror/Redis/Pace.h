#pragma once

#include <chrono>
#include <cstddef>

namespace Qcf::Mirror {

/// How long bytes of one command or answer may take as a whole. Each wait for some of them has its
/// own time; a server that moves a byte now and then would keep those alive for ever.
///
///     Pace pace(timeout);
///     while (!whole) { pace.moved(readSome()); if (pace.isLost()) { giveUp(); } }
class Pace {
public:
    /// Bytes a second that a slow line still has.
    static constexpr std::size_t slowest = 4096;

    /// The time begins; `grace` is what it takes before the first byte.
    explicit Pace(std::chrono::milliseconds grace)
        : end_(std::chrono::steady_clock::now() + grace) {}

    void moved(std::size_t bytes) { end_ += std::chrono::milliseconds(bytes * 1000 / slowest); }
    /// Whether more time went by than the bytes so far may take.
    bool isLost() const { return std::chrono::steady_clock::now() > end_; }

private:
    std::chrono::steady_clock::time_point end_;
};

} // namespace Qcf::Mirror
