#include "QcfLib/Operators/Lowering.h"
#include "QcfLib/QcfLibHelpers.h"

#include <functional>

/// The comparison operators. The right operand is read first: agents see the order of reads, so
/// that it is part of what an operator does.
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

/// A NaN on either side makes every comparison false, as the processor has it; "is" too.
template <typename Compare, typename Node>
EvalResult compareBandwidths(Node const & node, Ptr<EvalContextBase> const & context) {
    F32 const rhs = node.rhs()->getVal(context);
    F32 const lhs = node.lhs()->getVal(context);
    return EvalResult::fromBool(Compare()(lhs, rhs));
}

/// Of types whose values are equal or not, and nothing else.
template <typename Node>
EvalResult compareEqual(Node const & node, Ptr<EvalContextBase> const & context) {
    auto const rhs = node.rhs()->getVal(context);
    return EvalResult::fromBool(node.lhs()->getVal(context) == rhs);
}

/// The values that compare so with a constant.
template <typename Compare>
IntBounds boundsFor(U64 constant) {
    constexpr Compare compare;
    constexpr U64 largest = ~U64{0};
    // The order is told by three samples: whether it holds for equal values, upwards and downwards.
    constexpr bool equal = compare(1, 1);
    U64 const below = equal ? constant : constant - 1;
    U64 const above = equal ? constant : constant + 1;
    if constexpr (compare(0, 1)) {
        return !equal && constant == 0 ? IntBounds{1, 0} : IntBounds{0, below};
    } else if constexpr (compare(1, 0)) {
        return !equal && constant == largest ? IntBounds{1, 0} : IntBounds{above, largest};
    } else {
        return {constant, constant};
    }
}

/// Against a negative constant the answer does not depend on the left side, which is read all the
/// same: the operator is left to do so.
template <typename Compare, typename Node>
void lowerComparison(Node const & node, Lowering & to) {
    auto const constant = to.constantOf(*node.rhs());
    if (constant && !constant->strictlyNegative()) {
        to.test(ConstantTest::of(*node.lhs(), boundsFor<Compare>(constant->magnitude)));
    } else {
        to.operatorTest(operatorFunction<Node>);
    }
}

} // namespace

using Context = Ptr<EvalContextBase>;

// One line a comparison: what it computes and what a plan makes of it follow from its order.
#define QCF_INT_COMPARISON(Class, compare)                                                         \
    EvalResult Class::eval(Context const & context) const {                                        \
        return compareInts<std::compare<U64>>(*this, context);                                     \
    }                                                                                              \
    void Class::lower(Lowering & to) const { lowerComparison<std::compare<U64>>(*this, to); }

QCF_INT_COMPARISON(IntIs, equal_to)
QCF_INT_COMPARISON(IntLessThan, less)
QCF_INT_COMPARISON(IntLessThanEq, less_equal)
QCF_INT_COMPARISON(IntGreaterThan, greater)
QCF_INT_COMPARISON(IntGreaterThanEq, greater_equal)
#undef QCF_INT_COMPARISON

#define QCF_BANDWIDTH_COMPARISON(Class, compare)                                                   \
    EvalResult Class::eval(Context const & context) const {                                        \
        return compareBandwidths<std::compare<F32>>(*this, context);                               \
    }                                                                                              \
    void Class::lower(Lowering & to) const { to.operatorTest(operatorFunction<Class>); }

QCF_BANDWIDTH_COMPARISON(BandwidthIs, equal_to)
QCF_BANDWIDTH_COMPARISON(BandwidthLessThan, less)
QCF_BANDWIDTH_COMPARISON(BandwidthLessThanEq, less_equal)
QCF_BANDWIDTH_COMPARISON(BandwidthGreaterThan, greater)
QCF_BANDWIDTH_COMPARISON(BandwidthGreaterThanEq, greater_equal)
#undef QCF_BANDWIDTH_COMPARISON

#define QCF_EQUALITY(Class)                                                                        \
    EvalResult Class::eval(Context const & context) const { return compareEqual(*this, context); } \
    void Class::lower(Lowering & to) const { to.operatorTest(operatorFunction<Class>); }

QCF_EQUALITY(TriStateBoolIs)
QCF_EQUALITY(MacAddressIs)
QCF_EQUALITY(IpAddressIs)
QCF_EQUALITY(InterfaceIs)
QCF_EQUALITY(EsiIs)
QCF_EQUALITY(CommunityValueIs)
QCF_EQUALITY(IpPrefixIs)
#undef QCF_EQUALITY

EvalResult IpAddressIsAddrZero::eval(Context const & context) const {
    return EvalResult::fromBool(lhs_->getVal(context).isAddrZero());
}
void IpAddressIsAddrZero::lower(Lowering & to) const {
    to.operatorTest(operatorFunction<IpAddressIsAddrZero>);
}

EvalResult IntInImmediateSet::eval(Context const & context) const {
    U64 const value = lhs_->getVal(context);
    PtrConst<U64SmallVector> fresh;
    auto const * const set = rhs_->lendVal(context, fresh);
    return EvalResult::fromBool(set != nullptr && set->contains(value));
}
void IntInImmediateSet::lower(Lowering & to) const {
    if (auto const * const set = constantSet<IntSetImmediate>(*rhs_)) {
        to.test(ConstantTest::of(*lhs_, *set));
    } else {
        to.operatorTest(operatorFunction<IntInImmediateSet>);
    }
}

EvalResult CommunityValueIn::eval(Context const & context) const {
    auto const value = lhs_->getVal(context);
    PtrConst<CommunitySmallVector> fresh;
    auto const * const set = rhs_->lendVal(context, fresh);
    return EvalResult::fromBool(set != nullptr && set->contains(value));
}
void CommunityValueIn::lower(Lowering & to) const {
    to.operatorTest(operatorFunction<CommunityValueIn>);
}

EvalResult IntInImmediateSetWithRanges::eval(Context const & context) const {
    U64 const value = lhs_->getVal(context);
    LentRanges const ranges(singletons_.get(), lowerBounds_.get(), upperBounds_.get(), context);
    return EvalResult::fromBool(ranges.contain(value));
}

namespace {

/// What the literal of a field yields at every evaluation; null where nothing is written, or where
/// it is built anew each time.
template <typename Literal>
auto const * keptValue(PtrConst<Literal> const & literal) {
    return literal && literal->head() ? literal->cachedGetVal() : nullptr;
}

/// Nothing where some are not constant, or the lists of bounds are such as evaluation asserts
/// against.
std::optional<ConstantRanges> constantRanges(IntInImmediateSetWithRanges const & node) {
    ConstantRanges const ranges{keptValue(node.singletons()), keptValue(node.lowerBounds()),
                                keptValue(node.upperBounds())};
    bool const isUnbounded = !node.lowerBounds() && !node.upperBounds();
    bool const isBounded = ranges.lower != nullptr && ranges.upper != nullptr &&
                           ranges.lower->count() > 0 &&
                           ranges.lower->count() == ranges.upper->count();
    bool const isBuilt =
        node.singletons() && node.singletons()->head() && ranges.singletons == nullptr;
    return isBuilt || !(isUnbounded || isBounded) ? std::nullopt : std::optional(ranges);
}

} // namespace

void IntInImmediateSetWithRanges::lower(Lowering & to) const {
    if (auto const ranges = constantRanges(*this)) {
        to.test(ConstantTest::of(*lhs_, *ranges));
    } else {
        to.operatorTest(operatorFunction<IntInImmediateSetWithRanges>);
    }
}

EvalResult IntMatchTagSet::eval(Context const & context) const {
    auto const & tagSet = context->externalMatchers()->tagSets.at(index_);
    // Tags are 32 bits wide: a larger value matches by its low half.
    auto const tag = static_cast<U32>(lhs_->getVal(context));
    return EvalResult::fromBool(tagSet && tagSet->contains(tag));
}
void IntMatchTagSet::lower(Lowering & to) const {
    to.operatorTest(operatorFunction<IntMatchTagSet>);
}

} // namespace Qcf::Eval
