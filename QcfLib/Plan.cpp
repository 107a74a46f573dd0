#include "QcfLib/Plan.h"

#include "QcfLib/PlanLowering.h"
#include "QcfLib/QcfEval.h"

namespace Qcf::Eval {

std::atomic<bool> Plan::enabled_{true};

Plan::Plan(Function const & function) {
    PlanLowering lowering(steps_, indexes_);
    body_ = lowering.statements(*function.body());
}

KeptPlan::~KeptPlan() { delete plan_.load(std::memory_order_relaxed); }

Plan const & KeptPlan::build(Function const & function) const {
    auto built = std::make_unique<Plan const>(function);
    Plan const * kept = nullptr;
    if (plan_.compare_exchange_strong(kept, built.get(), std::memory_order_acq_rel)) {
        return *built.release();
    }
    return *kept; // another thread was first
}

} // namespace Qcf::Eval
