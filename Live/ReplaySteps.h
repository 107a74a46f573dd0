#pragma once

#include <chrono>
#include <functional>

namespace Qcf::Live {

/// What is done beside reading a recording; what is empty is not called.
struct ReplaySteps {
    /// Behind each message.
    std::function<void()> taken = {};
    /// Before a message, with how long after the first one it was recorded, for whoever waits until
    /// then. False ends the reading.
    using Due = std::function<bool(std::chrono::microseconds)>;
    Due isDue = {};
};

} // namespace Qcf::Live
