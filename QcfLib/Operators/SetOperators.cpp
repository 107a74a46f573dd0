#include "QcfLib/QcfEval.h"
#include "QcfLib/Sets/SetAlgebra.h"
#include "QcfLib/Sets/StoreSet.h"

#include <algorithm>
#include <iterator>

/// The set operators, once over both element types.
namespace Qcf::Eval {

namespace {

using Context = Ptr<EvalContextBase>;

/// Reads the operands, `rhs` first unless told otherwise, and asks `test(lhs, rhs)`.
template <typename Set, typename Node, typename Test>
EvalResult testSets(Node const & node, Context const & context, Test test) {
    PtrConst<Set> freshRhs;
    PtrConst<Set> freshLhs;
    Set const * const rhs = node.rhs()->lendVal(context, freshRhs);
    Set const * const lhs = node.lhs()->lendVal(context, freshLhs);
    return EvalResult::fromBool(test(lhs, rhs));
}

template <typename Set, typename Node>
EvalResult hasAll(Node const & node, Context const & context) {
    PtrConst<Set> freshRhs;
    PtrConst<Set> freshLhs;
    Set const * const lhs = node.lhs()->lendVal(context, freshLhs);
    Set const * const rhs = node.rhs()->lendVal(context, freshRhs);
    return EvalResult::fromBool(Set::isSubset(rhs, lhs));
}

template <typename Set, typename Node>
EvalResult isEmpty(Node const & node, Context const & context) {
    PtrConst<Set> fresh;
    Set const * const lhs = node.lhs()->lendVal(context, fresh);
    return EvalResult::fromBool(lhs == nullptr || lhs->empty());
}

/// Writes `combine(lhs, rhs, scratch, fresh)` to the target, whose value is `lhs`. A right operand
/// that was built for this call stands in `freshRhs`.
template <typename Target, typename Set, typename Combine>
void modify(Target const & target, Set const * lhs, Set const * rhs, PtrConst<Set> & freshRhs,
            Context const & context, Combine combine) {
    PtrConst<Set> fresh;
    Set const * const result = combine(lhs, rhs, setScratch(evalContext(context), lhs), fresh);
    if (fresh) {
        target.setVal(std::move(fresh), context);
    } else if (result == rhs && result != lhs) {
        storeRightOperand(target, rhs, freshRhs, context);
    } else {
        storeLent(target, result, context);
    }
}

template <typename Set, typename Node, typename Combine>
EvalResult modifySet(Node const & node, Context const & context, Combine combine) {
    PtrConst<Set> freshLhs;
    PtrConst<Set> freshRhs;
    Set const * const lhs = node.lhs()->lendVal(context, freshLhs);
    Set const * const rhs = node.rhs()->lendVal(context, freshRhs);
    modify(*node.lhs(), lhs, rhs, freshRhs, context, combine);
    return EvalResult::fromBool(true);
}

template <typename Set, typename Node>
EvalResult assignSet(Node const & node, Context const & context) {
    PtrConst<Set> fresh;
    Set const * const rhs = node.rhs()->lendVal(context, fresh);
    storeRightOperand(*node.lhs(), rhs, fresh, context);
    return EvalResult::fromBool(true);
}

} // namespace

/// The ten operators of one element type.
#define QCF_SET_OPERATORS(Kind, Set)                                                               \
    EvalResult Kind##IsEmpty::eval(Context const & context) const {                                \
        return isEmpty<Set>(*this, context);                                                       \
    }                                                                                              \
    EvalResult Kind##IsImmediate::eval(Context const & context) const {                            \
        return testSets<Set>(*this, context, Set::isEqual);                                        \
    }                                                                                              \
    EvalResult Kind##HasAllImmediate::eval(Context const & context) const {                        \
        return hasAll<Set>(*this, context);                                                        \
    }                                                                                              \
    EvalResult Kind##AllInImmediate::eval(Context const & context) const {                         \
        return testSets<Set>(*this, context, Set::isSubset);                                       \
    }                                                                                              \
    EvalResult Kind##HasAnyImmediate::eval(Context const & context) const {                        \
        return testSets<Set>(*this, context, Set::hasAny);                                         \
    }                                                                                              \
    EvalResult Kind##HasNoneImmediate::eval(Context const & context) const {                       \
        return testSets<Set>(*this, context,                                                       \
                             [](Set const * a, Set const * b) { return !Set::hasAny(a, b); });     \
    }                                                                                              \
    EvalResult Kind##AddImmediate::eval(Context const & context) const {                           \
        return modifySet<Set>(*this, context, setAdd<Set>);                                        \
    }                                                                                              \
    EvalResult Kind##RemoveImmediate::eval(Context const & context) const {                        \
        return modifySet<Set>(*this, context, setRemove<Set>);                                     \
    }                                                                                              \
    EvalResult Kind##RetainImmediate::eval(Context const & context) const {                        \
        return modifySet<Set>(*this, context, setRetain<Set>);                                     \
    }                                                                                              \
    EvalResult Kind##AssignImmediate::eval(Context const & context) const {                        \
        return assignSet<Set>(*this, context);                                                     \
    }

QCF_SET_OPERATORS(IntSet, U64SmallVector)
QCF_SET_OPERATORS(CommunitySet, CommunitySmallVector)
#undef QCF_SET_OPERATORS

namespace {

/// The union of extended communities in which the link bandwidth of `added` takes the place of
/// every other one.
CommunitySmallVector const * addedWithLinkBandwidth(CommunitySmallVector const * current,
                                                    CommunitySmallVector const * added,
                                                    CommunityBuffer & scratch,
                                                    PtrConst<CommunitySmallVector> & fresh) {
    if (isEmptySet(current) || isEmptySet(added)) {
        return isEmptySet(current) ? added : current;
    }
    BorrowedPtr<CommunitySmallVector const> const first(current);
    LazyCommunitySmallVectorInsertingLBW result(first, scratch, current->count() + added->count(),
                                                added->lbwValue());
    std::set_union(current->begin(), current->end(), added->begin(), added->end(),
                   std::back_inserter(result));
    return finished(result, current, fresh);
}

} // namespace

EvalResult ExtCommunitySetAddImmediate::eval(Context const & context) const {
    using Set = CommunitySmallVector;
    // What is added is read first; when there is nothing, the attribute is left alone.
    PtrConst<Set> freshRhs;
    Set const * const added = rhs_->lendVal(context, freshRhs);
    if (isEmptySet(added)) {
        return EvalResult::fromBool(true);
    }
    PtrConst<Set> freshLhs;
    Set const * const current = lhs_->lendVal(context, freshLhs);
    auto const combine = added->lbwValue().isZero() ? setAdd<Set> : addedWithLinkBandwidth;
    modify(*lhs_, current, added, freshRhs, context, combine);
    return EvalResult::fromBool(true);
}

} // namespace Qcf::Eval
