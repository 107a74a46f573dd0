#pragma once

#include "bench/EngineTrees.h"

#include <functional>
#include <optional>

namespace Qcf::Bench {

/// The reference counts that threads share when they evaluate a program: those of its nodes, of the
/// containers of its constants, and of its matchers.
std::vector<void const *> sharedCounters(EngineProgram const & program);

/// Runs `work` on the calling thread and counts its writes to the counters, each of them an
/// object's start. Nothing is assumed about how counting is done: the memory around the counters is
/// made read-only, and every instruction that writes there is let through singly and looked at.
/// Nothing where that is not supported (it takes Linux on x86-64, without sanitizers).
std::optional<U64> writesTo(std::vector<void const *> const & counters,
                            std::function<void()> const & work);

} // namespace Qcf::Bench
