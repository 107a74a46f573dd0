#include "QcfLib/Operators/Lowering.h"
#include "QcfLib/Sets/SetEdits.h"

/// The set operators, once over both element types. What may be overwritten and what is shared is
/// not decided here but by SetEdits.h, for every operator alike.
namespace Qcf::Eval {

namespace {

using Context = Ptr<EvalContextBase>;

/// An operand's set, lent, or built for this call.
template <typename Set>
struct SetOperand {
    SetOperand(SetStorage<Set> const & node, Context const & context)
        : set(node.lendVal(context, fresh)) {}

    PtrConst<Set> fresh;
    Set const * set;
};

/// Reads the operands, `rhs` first, and asks `test(lhs, rhs)`.
template <typename Set, typename Node, typename Test>
EvalResult testSets(Node const & node, Context const & context, Test test) {
    SetOperand<Set> const rhs(*node.rhs(), context);
    SetOperand<Set> const lhs(*node.lhs(), context);
    return EvalResult::fromBool(test(lhs.set, rhs.set));
}

/// The one test that reads `lhs` first.
template <typename Set, typename Node>
EvalResult hasAll(Node const & node, Context const & context) {
    SetOperand<Set> const lhs(*node.lhs(), context);
    SetOperand<Set> const rhs(*node.rhs(), context);
    return EvalResult::fromBool(Set::isSubset(rhs.set, lhs.set));
}

template <typename Set, typename Node>
EvalResult isEmpty(Node const & node, Context const & context) {
    SetOperand<Set> const lhs(*node.lhs(), context);
    return EvalResult::fromBool(isEmptySet(lhs.set));
}

/// Writes `combine(lhs, rhs, scratch, fresh)` to the target, whose value is `lhs`.
template <typename Target, typename Set, typename Combine>
EvalResult modify(Target const & target, SetOperand<Set> const & lhs, SetOperand<Set> & rhs,
                  Context const & context, Combine combine) {
    PtrConst<Set> fresh;
    // One buffer for each element type: an operator has done with it before the next one begins.
    auto & scratch = setScratch(evalContext(context), lhs.set);
    Set const * const result = combine(lhs.set, rhs.set, scratch, fresh);
    if (fresh) {
        target.setVal(std::move(fresh), context);
        // The result may be the right operand, for which other rules hold: it belongs to somebody
        // else.
    } else if (result == rhs.set && result != lhs.set) {
        storeRightOperand(target, rhs.set, rhs.fresh, context);
    } else {
        storeLent(target, result, context);
    }
    return EvalResult::fromBool(true);
}

template <typename Set, typename Node, typename Combine>
EvalResult modifySet(Node const & node, Context const & context, Combine combine) {
    SetOperand<Set> const lhs(*node.lhs(), context);
    SetOperand<Set> rhs(*node.rhs(), context);
    return modify(*node.lhs(), lhs, rhs, context, combine);
}

template <typename Set, typename Node>
EvalResult assignSet(Node const & node, Context const & context) {
    SetOperand<Set> rhs(*node.rhs(), context);
    storeRightOperand(*node.lhs(), rhs.set, rhs.fresh, context);
    return EvalResult::fromBool(true);
}

/// Only against a kept literal: a plan has its constants in place.
template <typename Immediate, typename Node>
void lowerHasAny(Node const & node, Lowering & to) {
    if (auto const * const anyOf = constantSet<Immediate>(*node.rhs())) {
        to.test(ConstantTest::of(*node.lhs(), *anyOf));
    } else {
        to.operatorTest(operatorFunction<Node>);
    }
}

/// Few constants alone: a plan edits value by value where the set stands.
template <typename Set, typename Immediate, typename Node>
void lowerChange(Node const & node, Lowering & to, bool adds) {
    Set const * const constants = constantSet<Immediate>(*node.rhs());
    if (!isEmptySet(constants) && constants->count() <= fewValues) {
        to.change(SetChange<Set>{&node, node.lhs().get(), constants, adds});
    } else {
        to.operatorChange(operatorFunction<Node>);
    }
}

} // namespace

/// The ten operators of one element type. Tests read the right operand first, changes the left one.
#define QCF_SET_OPERATORS(Kind, Set)                                                               \
    EvalResult Kind##IsEmpty::eval(Context const & context) const {                                \
        return isEmpty<Set>(*this, context);                                                       \
    }                                                                                              \
    void Kind##IsEmpty::lower(Lowering & to) const {                                               \
        to.operatorTest(operatorFunction<Kind##IsEmpty>);                                          \
    }                                                                                              \
    EvalResult Kind##IsImmediate::eval(Context const & context) const {                            \
        return testSets<Set>(*this, context, Set::isEqual);                                        \
    }                                                                                              \
    void Kind##IsImmediate::lower(Lowering & to) const {                                           \
        to.operatorTest(operatorFunction<Kind##IsImmediate>);                                      \
    }                                                                                              \
    EvalResult Kind##HasAllImmediate::eval(Context const & context) const {                        \
        return hasAll<Set>(*this, context);                                                        \
    }                                                                                              \
    void Kind##HasAllImmediate::lower(Lowering & to) const {                                       \
        to.operatorTest(operatorFunction<Kind##HasAllImmediate>);                                  \
    }                                                                                              \
    EvalResult Kind##AllInImmediate::eval(Context const & context) const {                         \
        return testSets<Set>(*this, context, Set::isSubset);                                       \
    }                                                                                              \
    void Kind##AllInImmediate::lower(Lowering & to) const {                                        \
        to.operatorTest(operatorFunction<Kind##AllInImmediate>);                                   \
    }                                                                                              \
    EvalResult Kind##HasAnyImmediate::eval(Context const & context) const {                        \
        return testSets<Set>(*this, context, Set::hasAny);                                         \
    }                                                                                              \
    void Kind##HasAnyImmediate::lower(Lowering & to) const {                                       \
        lowerHasAny<Kind##Immediate>(*this, to);                                                   \
    }                                                                                              \
    EvalResult Kind##HasNoneImmediate::eval(Context const & context) const {                       \
        return testSets<Set>(*this, context,                                                       \
                             [](Set const * a, Set const * b) { return !Set::hasAny(a, b); });     \
    }                                                                                              \
    void Kind##HasNoneImmediate::lower(Lowering & to) const {                                      \
        to.operatorTest(operatorFunction<Kind##HasNoneImmediate>);                                 \
    }                                                                                              \
    EvalResult Kind##AddImmediate::eval(Context const & context) const {                           \
        return modifySet<Set>(*this, context, setAdd<Set>);                                        \
    }                                                                                              \
    void Kind##AddImmediate::lower(Lowering & to) const {                                          \
        lowerChange<Set, Kind##Immediate>(*this, to, true);                                        \
    }                                                                                              \
    EvalResult Kind##RemoveImmediate::eval(Context const & context) const {                        \
        return modifySet<Set>(*this, context, setRemove<Set>);                                     \
    }                                                                                              \
    void Kind##RemoveImmediate::lower(Lowering & to) const {                                       \
        lowerChange<Set, Kind##Immediate>(*this, to, false);                                       \
    }                                                                                              \
    EvalResult Kind##RetainImmediate::eval(Context const & context) const {                        \
        return modifySet<Set>(*this, context, setRetain<Set>);                                     \
    }                                                                                              \
    void Kind##RetainImmediate::lower(Lowering & to) const {                                       \
        to.operatorChange(operatorFunction<Kind##RetainImmediate>);                                \
    }                                                                                              \
    EvalResult Kind##AssignImmediate::eval(Context const & context) const {                        \
        return assignSet<Set>(*this, context);                                                     \
    }                                                                                              \
    void Kind##AssignImmediate::lower(Lowering & to) const {                                       \
        to.operatorChange(operatorFunction<Kind##AssignImmediate>);                                \
    }

QCF_SET_OPERATORS(IntSet, U64SmallVector)
QCF_SET_OPERATORS(CommunitySet, CommunitySmallVector)
#undef QCF_SET_OPERATORS

// What is added is read first; when there is nothing, the attribute is left alone. It is then
// neither read nor marked as modified.
EvalResult ExtCommunitySetAddImmediate::eval(Context const & context) const {
    using Set = CommunitySmallVector;
    SetOperand<Set> added(*rhs_, context);
    if (isEmptySet(added.set)) {
        return EvalResult::fromBool(true);
    }
    SetOperand<Set> const current(*lhs_, context);
    // What is added tells whether a bandwidth is replaced; one that is there already is no reason.
    bool const isPlainUnion = added.set->lbwValue().isZero();
    return modify(*lhs_, current, added, context, isPlainUnion ? setAdd<Set> : setAddLinkBandwidth);
}
// With a link bandwidth it is no union of values any more, and is left to the node.
void ExtCommunitySetAddImmediate::lower(Lowering & to) const {
    auto const * const added = constantSet<CommunitySetImmediate>(*rhs_);
    if (added != nullptr && added->lbwValue().isZero()) {
        lowerChange<CommunitySmallVector, CommunitySetImmediate>(*this, to, true);
    } else {
        to.operatorChange(operatorFunction<ExtCommunitySetAddImmediate>);
    }
}

} // namespace Qcf::Eval
