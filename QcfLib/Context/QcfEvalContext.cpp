#include "QcfLib/QcfEvalContext.h"

#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfEval.h"

/// What the context has beyond attributes: which functions it keeps alive, whose frame is current,
/// and the log. What an agent overrides is in EvalContextDefaults.cpp.
namespace Qcf::Eval {

EvalContextBase::EvalContextBase(PtrConst<ExternalMatchersBase> externalMatchers,
                                 Routing::Policy::Result_ * result)
    // Never null from here on: nodes ask the tables without a test.
    : externalMatchers_(externalMatchers
                            ? std::move(externalMatchers)
                            : PtrConst<ExternalMatchersBase>(makePtr<ExternalMatchersBase>())),
      result_(result) {}

EvalContext::EvalContext(PtrConst<ExternalMatchersBase> externalMatchers,
                         Routing::Policy::Result_ * result,
                         Ptr<Routing::Policy::PolicyEvalContext> policyEvalContext)
    : GeneratedEvalContext(std::move(externalMatchers), result),
      policyEvalContext_(std::move(policyEvalContext)) {}

EvalContext::~EvalContext() {
    // Stored sets may be constants of the functions that are let go of next.
    attributeContentDel();
}

Ptr<Debug::EvaluationLog const> EvalContext::evaluationLog() const {
    return stackFrameDataRawPtrConst()->logHead();
}

void EvalContext::forgetEarlierFunctions() {
    // The last one stays: the next route is likely to be evaluated by it.
    evaluatedFunctions_.erase(evaluatedFunctions_.begin(), evaluatedFunctions_.end() - 1);
}

// Arguments and log go; what a log's reader holds stays its own.
void EvalContext::clearFrame() { stackFrameDataFromPOA_ = StackFrameData_(); }

void EvalContext::keepFunction(Function const & function) {
    currentFunction_ = nullptr; // for as long as it is not kept
    // Attributes stored by an earlier function stay until the reset, and so does that function.
    if (modifiedFlags() == 0) {
        evaluatedFunctions_.clear();
    }
    // May throw, and then none counts as evaluated.
    evaluatedFunctions_.emplace_back(&function);
    currentFunction_ = &function;
}

// Frame and depth are changed by two calls: one without the other is a call that was not closed.
StackFrameData_ const * EvalContext::stackFrameDataRawPtrConst() const {
    if (stackFrameDataFromCaller_ != nullptr) {
        QCF_ASSERT(functionCallDepth());
        return stackFrameDataFromCaller_;
    }
    QCF_ASSERT(!functionCallDepth());
    return &stackFrameDataFromPOA_;
}

StackFrameData_ * EvalContext::stackFrameDataRawPtr() {
    // The frame is the context's own, or was handed over for writing.
    return const_cast<StackFrameData_ *>(stackFrameDataRawPtrConst());
}

void EvalContext::stackFrameDataIs(StackFrameData_ * frame) {
    if (frame != &stackFrameDataFromPOA_) {
        stackFrameDataFromCaller_ = frame;
        return;
    }
    QCF_ASSERT(!functionCallDepth());
    stackFrameDataFromCaller_ = nullptr;
}

// A parameter of a type of which nothing was passed comes from a malformed call, here and below.
AetNodePtrArgumentVector const * EvalContext::aetNodePtrArgValues() const {
    auto const & aetNodePtrArgContainer = stackFrameDataRawPtrConst()->aetNodePtrArgContainer();
    QCF_ASSERT(nullptr != aetNodePtrArgContainer);
    return &aetNodePtrArgContainer->values;
}
BandwidthTypeArgumentVector const * EvalContext::bandwidthTypeArgValues() const {
    auto const & bandwidthTypeArgContainer =
        stackFrameDataRawPtrConst()->bandwidthTypeArgContainer();
    QCF_ASSERT(nullptr != bandwidthTypeArgContainer);
    return &bandwidthTypeArgContainer->values;
}
IntTypeArgumentVector const * EvalContext::intTypeArgValues() const {
    auto const & intTypeArgContainer = stackFrameDataRawPtrConst()->intTypeArgContainer();
    QCF_ASSERT(nullptr != intTypeArgContainer);
    return &intTypeArgContainer->values;
}
PrefixListTypeArgumentVector const * EvalContext::prefixListTypeArgValues() const {
    auto const & prefixListTypeArgContainer =
        stackFrameDataRawPtrConst()->prefixListTypeArgContainer();
    QCF_ASSERT(nullptr != prefixListTypeArgContainer);
    return &prefixListTypeArgContainer->values;
}
TriStateBoolTypeArgumentVector const * EvalContext::triStateBoolTypeArgValues() const {
    auto const & triStateBoolTypeArgContainer =
        stackFrameDataRawPtrConst()->triStateBoolTypeArgContainer();
    QCF_ASSERT(nullptr != triStateBoolTypeArgContainer);
    return &triStateBoolTypeArgContainer->values;
}

void EvalContext::addLogToList(Ptr<Debug::EvaluationLog> const & record) {
    QCF_ASSERT(shouldLogEval());
    StackFrameData_ * const stackFrameData = stackFrameDataRawPtr();
    if (!stackFrameData->logHead()) {
        stackFrameData->logHeadIs(record);
        QCF_ASSERT(nullptr == stackFrameData->logCurrent());
        stackFrameData->logCurrentIs(record);
        return;
    }
    // A node that was logged already, or stands before one that was, is not logged again.
    if (stackFrameData->logCurrent()->aetNodeKey() < record->aetNodeKey()) {
        stackFrameData->logCurrent()->nextLogIs(record);
        stackFrameData->logCurrentIs(record);
    }
}

void EvalContext::log(U64 aetNodeKey, EvalResult const & result) {
    addLogToList(Debug::evaluationLogFactory(aetNodeKey, result, nullptr));
}

void EvalContext::logFunctionCall(
    U64 aetNodeKey, EvalResult const & result,
    Ptr<Routing::Policy::EvaluationLogBase const> const & functionCallLog) {
    addLogToList(Debug::evaluationLogFactory(aetNodeKey, result, functionCallLog));
}

} // namespace Qcf::Eval
