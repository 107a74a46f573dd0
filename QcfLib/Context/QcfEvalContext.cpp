#include "QcfLib/QcfEvalContext.h"

#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfEval.h"

namespace Qcf::Eval {

EvalContextBase::EvalContextBase(PtrConst<ExternalMatchersBase> externalMatchers,
                                 Routing::Policy::Result_ * result)
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
    evaluatedFunctions_.erase(evaluatedFunctions_.begin(), evaluatedFunctions_.end() - 1);
}

void EvalContext::clearFrame() { stackFrameDataFromPOA_ = StackFrameData_(); }

void EvalContext::keepFunction(Function const & function) {
    currentFunction_ = nullptr; // for as long as it is not kept
    // Attributes stored by an earlier function stay until the reset, and so does that function.
    if (modifiedFlags() == 0) {
        evaluatedFunctions_.clear();
    }
    evaluatedFunctions_.emplace_back(&function);
    currentFunction_ = &function;
}

StackFrameData_ const * EvalContext::stackFrameDataRawPtrConst() const {
    if (stackFrameDataFromCaller_ != nullptr) {
        QCF_ASSERT(functionCallDepth());
        return stackFrameDataFromCaller_;
    }
    QCF_ASSERT(!functionCallDepth());
    return &stackFrameDataFromPOA_;
}

StackFrameData_ * EvalContext::stackFrameDataRawPtr() {
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
