#pragma once

#include "Live/RouterSet.h"
#include "Live/StationTask.h"

namespace Qcf::Live {

/// Evaluates whole tables anew beside reading, where it shows late how their router writes paths.
/// Without it that is done at once.
class LateEvaluation final : public StationTask {
public:
    /// The routers must outlive it.
    explicit LateEvaluation(RouterSet & routers) : routers_(routers) {
        routers_.evaluatesLaterIs(true);
    }
    ~LateEvaluation() override { routers_.evaluatesLaterIs(false); }

    bool step(Deadline deadline) override { return routers_.evaluateAnew(deadline); }

private:
    RouterSet & routers_;
};

} // namespace Qcf::Live
