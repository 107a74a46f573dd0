#pragma once

#include "Live/LiveListener.h"

#include <chrono>

namespace Qcf::Live {

/// A line about something that others may make happen as often as they like: told at once, and then
/// once a minute with how often it was.
class Nuisance {
public:
    using milliseconds = std::chrono::milliseconds;

    /// `what` comes behind who it was.
    explicit Nuisance(String what) : what_(std::move(what)) {}

    void happened(String const & who, milliseconds now, LiveListener & listener);
    /// What happened since the last line, if it is time for another one.
    void tell(milliseconds now, LiveListener & listener);

private:
    String what_;
    String who_;
    U64 count_ = 0;
    std::optional<milliseconds> toldAt_;
};

} // namespace Qcf::Live
