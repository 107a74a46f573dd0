#pragma once

#include <atomic>

namespace Qcf::Eval {

class Function;
class Plan;

/// The plan that a function keeps. It is built by the first evaluation, or before by whoever
/// publishes the function; threads that race for it agree on one.
class KeptPlan {
public:
    KeptPlan() = default;
    KeptPlan(KeptPlan const &) = delete;
    KeptPlan & operator=(KeptPlan const &) = delete;
    ~KeptPlan();

    /// Null as long as it is not built.
    Plan const * keptPlan() const { return plan_.load(std::memory_order_acquire); }
    Plan const & planFor(Function const & function) const {
        Plan const * const plan = keptPlan();
        return plan != nullptr ? *plan : build(function);
    }

private:
    Plan const & build(Function const & function) const;

    mutable std::atomic<Plan const *> plan_{nullptr};
};

} // namespace Qcf::Eval
