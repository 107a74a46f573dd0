#pragma once

#include "Platform/Framework/Entity.h"
#include "QcfLib/QcfDebugEvaluationLog.h"

namespace Qcf::Eval {

/// What every evaluation context does for its evaluation, whatever the route is: the first
/// operations in a context's table, which engines and agents that are built apart agree on. The
/// attributes follow them (AttributeOperations), then the session and the lists (EvalContextBase).
///
/// An agent does not derive from this; it derives from EvalContext, which implements both.
class EvaluationOperations : public Entity {
public:
    /// First record of the current frame's log; null while nothing was logged.
    virtual Ptr<Debug::EvaluationLog const> evaluationLog() const = 0;
    /// Makes the context ready for the next route.
    virtual void reset() = 0;
};

} // namespace Qcf::Eval
