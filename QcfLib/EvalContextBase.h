#pragma once

#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Ptr.h"
#include "QcfLib/ExternalMatchers.h"
#include "QcfLib/QcfDebugEvaluationLog.h"

namespace Qcf::Eval {

/// What every node receives to evaluate against. Root of the context classes: it knows the agent's
/// named lists, the caller's policy result record, and whether evaluation is logged.
class EvalContextBase : public Entity {
public:
    /// Null matchers mean that every table is empty. The result record is not owned; it may be
    /// null.
    EvalContextBase(PtrConst<ExternalMatchersBase> externalMatchers,
                    Routing::Policy::Result_ * result);

    /// First record of the current frame's log; null while nothing was logged.
    virtual Ptr<Debug::EvaluationLog const> evaluationLog() const { return nullptr; }
    /// Makes the context ready for the next route.
    virtual void reset() = 0;

    bool shouldLogEval() const { return shouldLogEval_; }
    /// Asks for a log; to be set after each reset, which clears it.
    void shouldLogEvalIs(bool shouldLogEval) { shouldLogEval_ = shouldLogEval; }

    /// Never null.
    PtrConst<ExternalMatchersBase> const & externalMatchers() const { return externalMatchers_; }
    Routing::Policy::Result_ * result() const { return result_; }

private:
    bool shouldLogEval_ = false;
    PtrConst<ExternalMatchersBase> externalMatchers_;
    Routing::Policy::Result_ * result_;
};

} // namespace Qcf::Eval
