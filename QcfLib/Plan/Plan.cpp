#include "QcfLib/Plan/Plan.h"

#include "QcfLib/Plan/PlanLowering.h"
#include "QcfLib/QcfEval.h"

namespace Qcf::Eval {

namespace {

class PlanEnd final : public PlanStep {
public:
    constexpr explicit PlanEnd(EvalResult result) : PlanStep(result) {}
    PlanStep const * run(PlanRun /*run*/) const override { return this; }
};

/// By value, then by termination.
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

PlanStep const * endOfRun(EvalResult result) {
    return &ends[static_cast<U8>(result.retVal())][static_cast<U8>(result.termination())];
}

// The epoch is asked before any constant is.
Plan::Plan(Function const & function, std::unique_ptr<Plan const> earlier)
    : epoch_(PlanEpoch::number()), earlier_(std::move(earlier)) {
    PlanLowering lowering(function, steps_);
    first_ = lowering.block(*function.body(), endOfRun({}));
}

KeptPlan::~KeptPlan() { delete plan_.load(std::memory_order_relaxed); }

Plan const & KeptPlan::planFor(Function const & function) const {
    Plan const * const plan = keptPlan();
    bool const isPresent = plan != nullptr && plan->epoch_ == PlanEpoch::number();
    return isPresent ? *plan : build(function);
}

Plan const & KeptPlan::build(Function const & function) const {
    Plan const * kept = keptPlan();
    auto built = std::make_unique<Plan>(function, std::unique_ptr<Plan const>(kept));
    if (plan_.compare_exchange_strong(kept, built.get(), std::memory_order_acq_rel)) {
        return *built.release();
    }
    static_cast<void>(built->earlier_.release()); // another thread was first and has it
    return *kept;
}

} // namespace Qcf::Eval
