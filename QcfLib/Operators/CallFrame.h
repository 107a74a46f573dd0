#pragma once

#include "QcfLib/QcfEval.h"

/// What a call does around its callee, for the walk and for plans.
namespace Qcf::Eval {

/// Evaluates the arguments in the caller's frame, before the callee's becomes current.
inline void pushArguments(FunctionCallExpression const & call, Ptr<EvalContextBase> const & context,
                          StackFrameData_ & frame) {
    for (auto const * link = call.argListHead().get(); link != nullptr; link = link->next().get()) {
        link->pushFuncArgToStack(context, &frame);
    }
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

} // namespace Qcf::Eval
