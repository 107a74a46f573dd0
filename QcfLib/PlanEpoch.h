#pragma once

#include "Platform/Framework/Types.h"

#include <atomic>

namespace Qcf::Eval {

/// Which plans are in use: those made in the present epoch, none while plans are switched off. A
/// constant that is replaced begins another epoch, since plans have constants in place; so does
/// whoever wants plans that count, or no longer. Process wide; a function that is evaluated asks it
/// once, by one relaxed load.
class PlanEpoch {
public:
    /// Number of no epoch: epochs begin at 2.
    static constexpr U32 off = 0;
    /// Number of no epoch and of no switch: nothing is of it.
    static constexpr U32 never = 1;

    /// `off`, or the number of the epoch.
    ///
    ///     if (plan->isCurrent()) { ... } // its epoch is this one
    ///
    static U32 current() { return current_.load(std::memory_order_relaxed); }
    /// Whether functions are evaluated by plans at all. Any thread may switch; evaluations that
    /// have begun go on as they are.
    static bool enabled() { return current() != off; }
    static void enabledIs(bool enabled) {
        current_.store(enabled ? number_.load(std::memory_order_relaxed) : off,
                       std::memory_order_relaxed);
    }
    /// Plans made before are out of use.
    /// Called by whoever replaces a constant of a literal; costs every function another plan.
    static void next() { begins(number_.fetch_add(2, std::memory_order_relaxed) + 2); }
    /// Whether plans of that epoch count: it is odd then, so that the number alone says how a plan
    /// is made.
    static constexpr bool counts(U32 number) { return number % 2 != 0; }
    /// Begins an epoch of plans that count, or do not; none when it is so already.
    static void countingIs(bool counting) {
        U32 number = number_.load(std::memory_order_relaxed);
        while (counts(number) != counting) {
            if (number_.compare_exchange_weak(number, number + 1, std::memory_order_relaxed)) {
                begins(number + 1);
                return;
            }
        }
    }
    /// The number that a plan made now has.
    /// Counts on while plans are off, so that those made before do not come back with the switch.
    static U32 number() { return number_.load(std::memory_order_relaxed); }

private:
    static void begins(U32 number) {
        if (enabled()) {
            current_.store(number, std::memory_order_relaxed);
        }
    }

    // Two words, so that switching off and on again brings the same epoch back.
    inline static std::atomic<U32> number_{2};
    /// What evaluations compare with: `off`, or the number.
    inline static std::atomic<U32> current_{2};
};

} // namespace Qcf::Eval
