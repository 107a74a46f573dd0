#include "Platform/Framework/Assert.h"
#include "QcfLib/Nodes/NodeTexts.h"
#include "QcfLib/QcfEval.h"
#include "QcfLib/QcfEvalBasicTypes.h"

/// Constants and arguments: how they read, and how they are pushed as arguments of a call.
namespace Qcf::Eval {

bool Int::negative(Ptr<EvalContextBase const> const & /*context*/) const { return false; }
bool IntImmediate::negative(Ptr<EvalContextBase const> const & /*context*/) const {
    return negative_;
}
SignedMagnitude IntImmediate::signedVal(Ptr<EvalContextBase const> const & /*context*/) const {
    return {negative_, value_};
}

void StorageType::pushFuncArgToStack(Ptr<EvalContextBase> const & /*context*/,
                                     StackFrameDataBase_ * frame) const {
    // The callee would read its own frame through such a node.
    QCF_ASSERT(!valueDependsOnStackFrameData());
    frame->pushAetNodePtrArgToStack(*this);
}

// Values with an argument type of their own are evaluated for the callee; the others are passed as
// nodes.
void Int::pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                             StackFrameDataBase_ * frame) const {
    frame->pushIntTypeArgToStack(context, *this);
}
void Bandwidth::pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                                   StackFrameDataBase_ * frame) const {
    frame->pushBandwidthTypeArgToStack(context, *this);
}
void TriStateBool::pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                                      StackFrameDataBase_ * frame) const {
    frame->pushTriStateBoolTypeArgToStack(context, *this);
}
void PrefixList::pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                                    StackFrameDataBase_ * frame) const {
    frame->pushPrefixListTypeArgToStack(context, *this);
}

namespace {

/// The argument of the running function. The assertion's text is the one that is looked for when a
/// compiler has counted wrongly.
S128 const & intArgument(Ptr<EvalContextBase const> const & context, IntVariable const & variable) {
    auto const * const intTypeArgValues = evalContext(context).intTypeArgValues();
    auto const argVectorIndex = [&] { return variable.argVectorIndex(); };
    QCF_ASSERT(nullptr != intTypeArgValues && argVectorIndex() < intTypeArgValues->size());
    return (*intTypeArgValues)[variable.argVectorIndex()];
}

} // namespace

// Arguments have their sign inside; values of nodes have it beside them.
U64 IntVariable::getVal(Ptr<EvalContextBase const> const & context) const {
    S128 const absVal = abs(intArgument(context, *this));
    QCF_ASSERT(absVal <= 0xFFFFFFFFFFFFFFFF);
    return static_cast<U64>(absVal);
}

bool IntVariable::negative(Ptr<EvalContextBase const> const & context) const {
    return intArgument(context, *this) < 0;
}

SignedMagnitude IntVariable::signedVal(Ptr<EvalContextBase const> const & context) const {
    return {IntVariable::negative(context), IntVariable::getVal(context)};
}

F32 BandwidthVariable::getVal(Ptr<EvalContextBase const> const & context) const {
    auto const * const bandwidthTypeArgValues = evalContext(context).bandwidthTypeArgValues();
    QCF_ASSERT_TEXT(nullptr != bandwidthTypeArgValues &&
                        argVectorIndex_ < bandwidthTypeArgValues->size(),
                    "nullptr != bandwidthTypeArgValues && "
                    "argVectorIndex() < bandwidthTypeArgValues->size()");
    return (*bandwidthTypeArgValues)[argVectorIndex_];
}

TriStateBoolValue TriStateBoolVariable::getVal(Ptr<EvalContextBase const> const & context) const {
    auto const * const triStateBoolTypeArgValues = evalContext(context).triStateBoolTypeArgValues();
    QCF_ASSERT_TEXT(nullptr != triStateBoolTypeArgValues &&
                        argVectorIndex_ < triStateBoolTypeArgValues->size(),
                    "nullptr != triStateBoolTypeArgValues && "
                    "argVectorIndex() < triStateBoolTypeArgValues->size()");
    return (*triStateBoolTypeArgValues)[argVectorIndex_];
}

} // namespace Qcf::Eval
