#include "QcfLib/Operators/CallFrame.h"
#include "QcfLib/Operators/Lowering.h"

/// Calls, on a frame of their own.
namespace Qcf::Eval {

namespace {

/// Out of line: its text would cost every call registers.
[[gnu::noinline]] void traceCall(FunctionCallExpression const & call) {
    QCF_TRACE(traceQcfEval, 1, "Calling function " << call.calleeName());
}

} // namespace

void FunctionArgumentList::pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                                              StackFrameDataBase_ * frame) const {
    entry_->pushFuncArgToStack(context, frame);
}

EvalResult FunctionCallExpression::eval(Ptr<EvalContextBase> const & context) const {
    if (traceQcfEval.on(1)) [[unlikely]] {
        traceCall(*this);
    }
    StackFrameData_ frame;
    pushArguments(*this, context, frame);
    EvalResult result;
    {
        CallScope const scope(evalContext(context), frame);
        result = calleePtr_->eval(context);
    }
    // The callee's records went to its own frame; they become the call's.
    if (context->shouldLogEval()) {
        evalContext(context).logFunctionCall(aetNodeKey(), result, frame.logHead());
    }
    return result;
}

void FunctionCallExpression::lower(Lowering & to) const { to.call(*this); }

} // namespace Qcf::Eval
