#include "QcfLib/QcfEvalStackFrameData.h"

#include "QcfLib/QcfEvalValueBases.h"

#include <algorithm>
#include <bit>

/// Pushing arguments and comparing frames. Their text is in the wing Store, which has the nodes.
namespace Qcf::Eval {

namespace {

template <typename Container>
bool sameValues(Ptr<Container> const & a, Ptr<Container> const & b) {
    // A container that was never made differs from an empty one.
    return a == b || (a && b && a->values == b->values);
}

/// By their bits: a frame equals itself whatever it holds.
bool sameBandwidths(Ptr<BandwidthTypeArgContainer> const & a,
                    Ptr<BandwidthTypeArgContainer> const & b) {
    auto const sameBits = [](F32 x, F32 y) {
        return std::bit_cast<U32>(x) == std::bit_cast<U32>(y);
    };
    return a == b || (a && b && std::ranges::equal(a->values, b->values, sameBits));
}

} // namespace

template <typename Container, typename Value>
void StackFrameData_::push(Ptr<Container> & container, Value const & value) {
    touched_ = true;
    // From a slab, with room inside: after the first calls nothing is allocated.
    if (!container) {
        container = makePtr<Container>();
    }
    container->values.push_back(value);
}

void StackFrameData_::pushIntTypeArgToStack(Ptr<EvalContextBase> const & context,
                                            Int const & node) {
    // The sign is applied in 128 bits, where no magnitude of 64 bits overflows.
    S128 const magnitude = node.getVal(context);
    pushInt(node.negative(context) ? S128(-magnitude) : magnitude);
}
void StackFrameData_::pushBandwidthTypeArgToStack(Ptr<EvalContextBase> const & context,
                                                  Bandwidth const & node) {
    pushBandwidth(node.getVal(context));
}
void StackFrameData_::pushPrefixListTypeArgToStack(Ptr<EvalContextBase> const & context,
                                                   PrefixList const & node) {
    // The family is the candidate's, which only the callee knows: the list's own matcher is passed.
    push(prefixLists_, node.getValWithArgs(context, AddressFamily::none));
}
void StackFrameData_::pushTriStateBoolTypeArgToStack(Ptr<EvalContextBase> const & context,
                                                     TriStateBool const & node) {
    pushTriStateBool(node.getVal(context));
}
// Plain values, for those who have computed or read them already.
void StackFrameData_::pushInt(S128 const & value) { push(ints_, value); }
void StackFrameData_::pushBandwidth(F32 value) { push(bandwidths_, value); }
void StackFrameData_::pushTriStateBool(TriStateBoolValue value) { push(triStateBools_, value); }
void StackFrameData_::pushAetNodePtrArgToStack(StorageType const & node) {
    push(aetNodePtrs_, &node);
}

StackFrameData_::operator bool() const {
    return aetNodePtrs_ || bandwidths_ || ints_ || prefixLists_ || triStateBools_ || logHead_ ||
           logCurrent_;
}

bool StackFrameData_::isEq(StackFrameData_ const & other) const {
    return sameValues(aetNodePtrs_, other.aetNodePtrs_) &&
           sameBandwidths(bandwidths_, other.bandwidths_) && sameValues(ints_, other.ints_) &&
           sameValues(prefixLists_, other.prefixLists_) &&
           sameValues(triStateBools_, other.triStateBools_) && logHead_ == other.logHead_ &&
           logCurrent_ == other.logCurrent_;
}

} // namespace Qcf::Eval
