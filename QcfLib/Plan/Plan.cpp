#include "QcfLib/Plan.h"

#include "QcfLib/KeptPlan.h"
#include "QcfLib/Plan/CountLayout.h"
#include "QcfLib/Plan/PlanCounting.h"
#include "QcfLib/Plan/PlanLowering.h"

/// Plans as functions keep them, and the ends that all of them share.
namespace Qcf::Eval {

namespace {

class PlanEnd final : public PlanStep {
public:
    constexpr explicit PlanEnd(EvalResult result) : PlanStep(result) {}
    PlanStep const * run(PlanRun /*run*/) const override { return this; }
    StepText describe() const override {
        static constexpr char const * ways[] = {"ends ", "returns ", "exits "};
        auto const way = ways[static_cast<U8>(result().termination())];
        return {String(way) + toString(result().retVal())};
    }
};

/// By value, then by termination. Constant data: a run may end at them before any initialiser of
/// the process ran.
constinit PlanEnd const ends[3][3] = {
    {PlanEnd(EvalResult(QcfUnknown(), TerminationFlag::noTermination)),
     PlanEnd(EvalResult(QcfUnknown(), TerminationFlag::returnToCaller)),
     PlanEnd(EvalResult(QcfUnknown(), TerminationFlag::exitToPoa))},
    {PlanEnd(EvalResult(QcfFalse(), TerminationFlag::noTermination)),
     PlanEnd(EvalResult(QcfFalse(), TerminationFlag::returnToCaller)),
     PlanEnd(EvalResult(QcfFalse(), TerminationFlag::exitToPoa))},
    {PlanEnd(EvalResult(QcfTrue(), TerminationFlag::noTermination)),
     PlanEnd(EvalResult(QcfTrue(), TerminationFlag::returnToCaller)),
     PlanEnd(EvalResult(QcfTrue(), TerminationFlag::exitToPoa))},
};

} // namespace

// Ends have no state, so that all plans share them.
PlanStep const * endOfRun(EvalResult result) {
    return &ends[static_cast<U8>(result.retVal())][static_cast<U8>(result.termination())];
}

// The epoch is asked before any constant is.
Plan::Plan(Function const & function, std::unique_ptr<Plan const> earlier)
    : epoch_(PlanEpoch::number()),
      runEpoch_(PlanEpoch::counts(epoch_) ? PlanEpoch::never : epoch_),
      earlier_(std::move(earlier)) {
    auto steps = std::make_unique<PlanSteps>();
    if (PlanEpoch::counts(epoch_)) {
        auto layout = std::make_unique<CountLayout>();
        PlanCounting counting(function, *layout, *steps);
        first_ = PlanLowering(function, *steps, &counting).body();
        entry_ = counting.entry(first_);
        entered_ = layout->entered();
        countersEnd_ = layout->end();
        layout->publish();
        countLayout_ = std::move(layout);
    } else {
        entry_ = first_ = PlanLowering(function, *steps).body();
    }
    steps_ = std::move(steps);
}

Plan::~Plan() = default;

std::size_t Plan::stepCount() const { return steps_->size(); }

std::size_t Plan::counterCount() const {
    return countLayout_ == nullptr ? 0 : countLayout_->counterCount();
}

// Deletes the earlier plans as well, each of which is owned by the one after it.
KeptPlan::~KeptPlan() { delete plan_.load(std::memory_order_relaxed); }

// A constant that was replaced since makes a plan out of date, though somebody may still run it.
Plan const & KeptPlan::planFor(Function const & function) const {
    Plan const * const plan = keptPlan();
    bool const isPresent = plan != nullptr && plan->epoch_ == PlanEpoch::number();
    return isPresent ? *plan : build(function);
}

Plan const & KeptPlan::build(Function const & function) const {
    Plan const * kept = keptPlan();
    // Threads may build at the same time, which costs work twice but no lock: evaluations never
    // wait. The plan in use before is handed to the new one, and taken back from a loser.
    auto built = std::make_unique<Plan>(function, std::unique_ptr<Plan const>(kept));
    if (plan_.compare_exchange_strong(kept, built.get(), std::memory_order_acq_rel)) {
        return *built.release();
    }
    static_cast<void>(built->earlier_.release()); // another thread was first and has it
    return *kept;
}

} // namespace Qcf::Eval
