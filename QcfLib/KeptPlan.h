#pragma once

#include <atomic>

/// Where a function's plan lives. Agents need not care: `eval` builds and uses it.
///
///     function->planFor(*function); // before the first route, so that it need not wait
///
/// Nothing here builds one by itself: after a publication the first route does.
namespace Qcf::Eval {

class Function;
class Plan;

/// The plan that a function keeps. It is built by the first evaluation, or before by whoever
/// publishes the function; threads that race for it agree on one. A plan that is out of use stays
/// as long as the function, behind the one that took its place.
class KeptPlan {
public:
    KeptPlan() = default;
    // A copied plan would refer to the nodes of the function that it was made of.
    KeptPlan(KeptPlan const &) = delete;
    KeptPlan & operator=(KeptPlan const &) = delete;
    ~KeptPlan();

    /// Null as long as it is not built; else good as long as the function, current or not.
    Plan const * keptPlan() const { return plan_.load(std::memory_order_acquire); }
    /// The plan with the present constants in place, built if need be. `function` is the one that
    /// keeps this. From any thread.
    Plan const & planFor(Function const & function) const;

private:
    Plan const & build(Function const & function) const;

    mutable std::atomic<Plan const *> plan_{nullptr};
};

} // namespace Qcf::Eval
