#pragma once

#include "QcfLib/AetNode.h"
#include "QcfLib/EvaluationObserver.h"
#include "QcfLib/QcfEvalContext.h"

/// How nodes evaluate the nodes that they consist of, before the eyes of whoever looks on: a log,
/// an observer, both, or mostly nobody. A record of the log stands under the key of each statement
/// and condition, after it was evaluated; the order of records is part of the published form of a
/// log.
///
/// Plans show nothing: an evaluation that is looked on walks the tree.
namespace Qcf::Eval {

/// Notes a result, if somebody wants a log. Records have keys and not nodes, so that a log may
/// outlive the function.
inline void logResult(Ptr<EvalContextBase> const & context, AetNodeBase const & node,
                      EvalResult const & result) {
    if (context->shouldLogEval()) [[unlikely]] {
        evalContext(context).log(node.aetNodeKey(), result);
    }
}

/// What `evaluate` answers for a node, told to the observer if there is one.
template <typename Evaluate>
EvalResult observed(Expression const & node, Ptr<EvalContextBase> const & context,
                    Evaluate const & evaluate) {
    EvaluationObserver * const observer = context->evaluationObserver();
    if (observer == nullptr) {
        return evaluate();
    }
    EvalContext & seen = evalContext(context);
    observer->entered(node, seen);
    EvalResult result;
    try {
        result = evaluate();
    } catch (...) {
        observer->thrown(node, seen);
        throw;
    }
    observer->left(node, result, seen);
    return result;
}

/// As `evalPart`, while somebody looks on.
EvalResult evalWatchedPart(Expression const & part, Ptr<EvalContextBase> const & context);

/// The result of a node that another one consists of. All of them are evaluated by this.
inline EvalResult evalPart(Expression const & part, Ptr<EvalContextBase> const & context) {
    return context->isWatched() ? evalWatchedPart(part, context) : part.eval(context);
}

} // namespace Qcf::Eval
