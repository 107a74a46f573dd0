#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfEval.h"
#include "QcfLib/QcfLibHelpers.h"

#include <functional>

/// The comparison operators. The right operand is read first.
namespace Qcf::Eval {

namespace {

/// The left side is a route attribute or an argument of an unsigned type: its sign does not count,
/// so that every left side is above a strictly negative right side.
template <typename Compare, typename Node>
EvalResult compareInts(Node const & node, Ptr<EvalContextBase> const & context) {
    SignedMagnitude const rhs = node.rhs()->signedVal(context);
    U64 const lhs = node.lhs()->getVal(context);
    constexpr bool aboveNegatives = Compare()(1, 0);
    bool const holds = rhs.strictlyNegative() ? aboveNegatives : Compare()(lhs, rhs.magnitude);
    return EvalResult::fromBool(holds);
}

template <typename Compare, typename Node>
EvalResult compareBandwidths(Node const & node, Ptr<EvalContextBase> const & context) {
    F32 const rhs = node.rhs()->getVal(context);
    F32 const lhs = node.lhs()->getVal(context);
    return EvalResult::fromBool(Compare()(lhs, rhs));
}

template <typename Node>
EvalResult compareEqual(Node const & node, Ptr<EvalContextBase> const & context) {
    auto const rhs = node.rhs()->getVal(context);
    return EvalResult::fromBool(node.lhs()->getVal(context) == rhs);
}

} // namespace

using Context = Ptr<EvalContextBase>;

EvalResult IntIs::eval(Context const & context) const {
    return compareInts<std::equal_to<U64>>(*this, context);
}
EvalResult IntLessThan::eval(Context const & context) const {
    return compareInts<std::less<U64>>(*this, context);
}
EvalResult IntLessThanEq::eval(Context const & context) const {
    return compareInts<std::less_equal<U64>>(*this, context);
}
EvalResult IntGreaterThan::eval(Context const & context) const {
    return compareInts<std::greater<U64>>(*this, context);
}
EvalResult IntGreaterThanEq::eval(Context const & context) const {
    return compareInts<std::greater_equal<U64>>(*this, context);
}

EvalResult BandwidthIs::eval(Context const & context) const {
    return compareBandwidths<std::equal_to<F32>>(*this, context);
}
EvalResult BandwidthLessThan::eval(Context const & context) const {
    return compareBandwidths<std::less<F32>>(*this, context);
}
EvalResult BandwidthLessThanEq::eval(Context const & context) const {
    return compareBandwidths<std::less_equal<F32>>(*this, context);
}
EvalResult BandwidthGreaterThan::eval(Context const & context) const {
    return compareBandwidths<std::greater<F32>>(*this, context);
}
EvalResult BandwidthGreaterThanEq::eval(Context const & context) const {
    return compareBandwidths<std::greater_equal<F32>>(*this, context);
}

EvalResult TriStateBoolIs::eval(Context const & context) const {
    return compareEqual(*this, context);
}
EvalResult MacAddressIs::eval(Context const & context) const {
    return compareEqual(*this, context);
}
EvalResult IpAddressIs::eval(Context const & context) const { return compareEqual(*this, context); }
EvalResult InterfaceIs::eval(Context const & context) const { return compareEqual(*this, context); }
EvalResult EsiIs::eval(Context const & context) const { return compareEqual(*this, context); }
EvalResult CommunityValueIs::eval(Context const & context) const {
    return compareEqual(*this, context);
}
EvalResult IpPrefixIs::eval(Context const & context) const { return compareEqual(*this, context); }

EvalResult IpAddressIsAddrZero::eval(Context const & context) const {
    return EvalResult::fromBool(lhs_->getVal(context).isAddrZero());
}

EvalResult IntInImmediateSet::eval(Context const & context) const {
    U64 const value = lhs_->getVal(context);
    PtrConst<U64SmallVector> fresh;
    auto const * const set = rhs_->lendVal(context, fresh);
    return EvalResult::fromBool(set != nullptr && set->contains(value));
}

EvalResult CommunityValueIn::eval(Context const & context) const {
    auto const value = lhs_->getVal(context);
    PtrConst<CommunitySmallVector> fresh;
    auto const * const set = rhs_->lendVal(context, fresh);
    return EvalResult::fromBool(set != nullptr && set->contains(value));
}

EvalResult IntInImmediateSetWithRanges::eval(Context const & context) const {
    U64 const value = lhs_->getVal(context);
    LentRanges const ranges(singletons_.get(), lowerBounds_.get(), upperBounds_.get(), context);
    return EvalResult::fromBool(ranges.contain(value));
}

EvalResult IntMatchTagSet::eval(Context const & context) const {
    auto const & tagSet = context->externalMatchers()->tagSets.at(index_);
    // Tags are 32 bits wide: a larger value matches by its low half.
    auto const tag = static_cast<U32>(lhs_->getVal(context));
    return EvalResult::fromBool(tagSet && tagSet->contains(tag));
}

} // namespace Qcf::Eval
