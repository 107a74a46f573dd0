#include "QcfLib/Operators/Lowering.h"

/// Calls, on a frame of their own.
namespace Qcf::Eval {

namespace {

/// Out of line: its text would cost every call registers.
[[gnu::noinline]] void traceCall(FunctionCallExpression const & call) {
    QCF_TRACE(traceQcfEval, 1, "Calling function " << call.calleeName());
}

/// Makes a callee's frame current and restores caller and depth on every way out.
class CallScope {
public:
    CallScope(EvalContext & context, StackFrameData_ & calleeFrame)
        : context_(context), callerFrame_(context.stackFrameDataRawPtr()) {
        context_.stackFrameDataIs(&calleeFrame);
        context_.functionCallDepthInc(1);
    }
    CallScope(CallScope const &) = delete;
    CallScope & operator=(CallScope const &) = delete;
    ~CallScope() {
        context_.functionCallDepthDec(1);
        context_.stackFrameDataIs(callerFrame_);
    }

private:
    EvalContext & context_;
    StackFrameData_ * callerFrame_;
};

} // namespace

void FunctionArgumentList::pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                                              StackFrameDataBase_ * frame) const {
    entry_->pushFuncArgToStack(context, frame);
}

EvalResult FunctionCallExpression::eval(Ptr<EvalContextBase> const & context) const {
    if (traceQcfEval.on(1)) [[unlikely]] {
        traceCall(*this);
    }
    // Arguments are evaluated in the caller's frame, before the callee's becomes current.
    StackFrameData_ frame;
    for (auto const * link = argListHead_.get(); link != nullptr; link = link->next().get()) {
        link->pushFuncArgToStack(context, &frame);
    }
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
