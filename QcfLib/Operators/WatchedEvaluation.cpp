#include "QcfLib/Operators/WatchedEvaluation.h"

#include "QcfLib/QcfEval.h"

/// Apart from the nodes that call it, so that looking on costs those nothing that nobody looks at.
namespace Qcf::Eval {

EvalResult evalWatchedPart(Expression const & part, Ptr<EvalContextBase> const & context) {
    auto const evaluate = [&] {
        EvalResult const result = part.eval(context);
        logResult(context, part, result);
        return result;
    };
    // A function tells of itself, wherever it is evaluated.
    return is<Function>(part) ? evaluate() : observed(part, context, evaluate);
}

} // namespace Qcf::Eval
