#pragma once

#include "QcfLib/AetNode.h"
#include "QcfLib/QcfEvalContext.h"

/// How control flow logs what it evaluates: a record under the key of each statement and condition,
/// after it was evaluated. The order of records is part of the published form of a log.
///
/// Plans log nothing: an evaluation that is logged walks the tree.
namespace Qcf::Eval {

/// Notes a result, if somebody wants a log. Records have keys and not nodes, so that a log may
/// outlive the function.
inline void logResult(Ptr<EvalContextBase> const & context, AetNodeBase const & node,
                      EvalResult const & result) {
    if (context->shouldLogEval()) [[unlikely]] {
        evalContext(context).log(node.aetNodeKey(), result);
    }
}

/// The result of an expression, noted under its key.
inline EvalResult evalLogged(Expression const & expression, Ptr<EvalContextBase> const & context) {
    EvalResult const result = expression.eval(context);
    logResult(context, expression, result);
    return result;
}

} // namespace Qcf::Eval
