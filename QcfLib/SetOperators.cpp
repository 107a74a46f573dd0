#include "QcfLib/QcfEval.h"
#include "QcfLib/SetAlgebra.h"
#include "QcfLib/StoreSet.h"

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

/// Stores the target's own set again, which was overwritten.
template <typename Target, typename Set>
void storeOwn(Target const & target, Set const * set, Context const & context) {
    target.setVal(PtrConst<Set>(set->empty() ? nullptr : set), context);
}

/// What becomes of an empty target, nothing or the other operand, is stored as it stands. False
/// when the target is not empty, or the operand may be overwritten and has to be guarded.
template <typename Target, typename Set>
bool storeInEmpty(Target const & target, Set const * current, Set const * result,
                  Context const & context) {
    bool const isFree = result == nullptr || result->modifyFlag() == ModifyFlag::copyOnWrite;
    if (!isEmptySet(current) || !isFree) {
        return false;
    }
    target.setVal(PtrConst<Set>(result), context);
    return true;
}

/// Writes `combine(lhs, rhs, scratch)` to the left operand. Where the left operand itself becomes
/// the result, which `inPlace` tries first, or was empty, nothing is counted.
template <typename Set, bool adds, typename Node, typename InPlace, typename Combine>
EvalResult modifySet(Node const & node, Context const & context, InPlace inPlace, Combine combine) {
    PtrConst<Set> freshLhs;
    PtrConst<Set> freshRhs;
    Set const * const lhs = node.lhs()->lendVal(context, freshLhs);
    Set const * const rhs = node.rhs()->lendVal(context, freshRhs);
    auto & scratch = setScratch(evalContext(context), lhs);
    if (!isEmptySet(lhs) && !isEmptySet(rhs) && inPlace(*lhs, *rhs, scratch)) {
        storeOwn(*node.lhs(), lhs, context);
        return EvalResult::fromBool(true);
    }
    if (storeInEmpty(*node.lhs(), lhs, adds ? rhs : nullptr, context)) {
        return EvalResult::fromBool(true);
    }
    PtrConst<Set> const left = freshLhs ? std::move(freshLhs) : PtrConst<Set>(lhs);
    PtrConst<Set> const right = freshRhs ? std::move(freshRhs) : PtrConst<Set>(rhs);
    auto result = combine(left, right, scratch);
    storeResult(*node.lhs(), std::move(result), left, right, context);
    return EvalResult::fromBool(true);
}

template <typename Set>
bool neverInPlace(Set const & /*a*/, Set const & /*b*/, typename Set::Buffer const & /*scratch*/) {
    return false;
}

template <typename Set, typename Node>
EvalResult assignSet(Node const & node, Context const & context) {
    PtrConst<Set> const rhs = node.rhs()->getVal(context);
    storeResult(*node.lhs(), rhs, PtrConst<Set>(), rhs, context);
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
        return modifySet<Set, true>(*this, context, addInPlace<Set>, Set::add);                    \
    }                                                                                              \
    EvalResult Kind##RemoveImmediate::eval(Context const & context) const {                        \
        return modifySet<Set, false>(*this, context, removeInPlace<Set>, Set::remove);             \
    }                                                                                              \
    EvalResult Kind##RetainImmediate::eval(Context const & context) const {                        \
        return modifySet<Set, false>(*this, context, neverInPlace<Set>, Set::retain);              \
    }                                                                                              \
    EvalResult Kind##AssignImmediate::eval(Context const & context) const {                        \
        return assignSet<Set>(*this, context);                                                     \
    }

QCF_SET_OPERATORS(IntSet, U64SmallVector)
QCF_SET_OPERATORS(CommunitySet, CommunitySmallVector)
#undef QCF_SET_OPERATORS

EvalResult ExtCommunitySetAddImmediate::eval(Context const & context) const {
    using Set = CommunitySmallVector;
    auto const done = EvalResult::fromBool(true);
    PtrConst<Set> fresh;
    Set const * const added = rhs_->lendVal(context, fresh);
    if (isEmptySet(added)) {
        return done;
    }
    auto & scratch = evalContext(context).communitySetScratch();
    bool const isPlainUnion = added->lbwValue().isZero();
    PtrConst<Set> freshLhs;
    Set const * const current = lhs_->lendVal(context, freshLhs);
    if (isPlainUnion && !isEmptySet(current) && addInPlace(*current, *added, scratch)) {
        storeOwn(*lhs_, current, context);
        return done;
    }
    if (storeInEmpty(*lhs_, current, added, context)) {
        return done;
    }
    PtrConst<Set> const r = fresh ? std::move(fresh) : PtrConst<Set>(added);
    PtrConst<Set> const l = freshLhs ? std::move(freshLhs) : PtrConst<Set>(current);
    if (isEmptySet(current)) {
        storeResult(*lhs_, r, l, r, context);
        return done;
    }
    if (isPlainUnion) {
        storeResult(*lhs_, Set::add(l, r, scratch), l, r, context);
        return done;
    }
    LazyCommunitySmallVectorInsertingLBW result(l, scratch, l->count() + r->count(), r->lbwValue());
    std::set_union(l->begin(), l->end(), r->begin(), r->end(), std::back_inserter(result));
    lhs_->setVal(result.get(), context);
    return done;
}

} // namespace Qcf::Eval
