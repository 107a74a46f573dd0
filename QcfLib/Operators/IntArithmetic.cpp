#include "QcfLib/Operators/Lowering.h"
#include "QcfLib/QcfLibHelpers.h"

/// Assignment and arithmetic on integer attributes, within their range.
namespace Qcf::Eval {

namespace {

/// The reads have this order: the target's bounds, its current value, then the operand.
void compute(IntModifiable const & target, Int const & operand,
             Ptr<EvalContextBase> const & context, IntArithmetic arithmetic) {
    IntRange const bounds = boundsOf(target);
    U64 const current = target.getVal(context);
    SignedMagnitude const change = operand.signedVal(context);
    target.setVal(arithmetic(bounds, current, change), context);
}

} // namespace

// A negative product lies below every range, and a negative factor of zero does not make one.
U64 productWithin(IntRange const & range, U64 current, SignedMagnitude operand) {
    U64 product = 0;
    bool const tooLarge = __builtin_mul_overflow(current, operand.magnitude, &product);
    if (operand.strictlyNegative() && (tooLarge || product != 0)) {
        return range.min;
    }
    // What overflows lies above every range.
    return tooLarge ? range.max : range.clamp(product);
}

// The current value is not read: assigning is no reason to ask the agent.
void assignWithinRange(IntModifiable const & target, Int const & operand,
                       Ptr<EvalContextBase> const & context) {
    IntRange const range = rangeOf(target);
    SignedMagnitude const value = operand.signedVal(context);
    target.setVal(valueWithin(range, value), context);
}
void addWithinRange(IntModifiable const & target, Int const & operand,
                    Ptr<EvalContextBase> const & context) {
    compute(target, operand, context, sumWithin);
}
void subtractWithinRange(IntModifiable const & target, Int const & operand,
                         Ptr<EvalContextBase> const & context) {
    compute(target, operand, context, differenceWithin);
}
void multiplyWithinRange(IntModifiable const & target, Int const & operand,
                         Ptr<EvalContextBase> const & context) {
    compute(target, operand, context, productWithin);
}

EvalResult IntAssign::eval(Ptr<EvalContextBase> const & context) const {
    assignWithinRange(*lhs_, *rhs_, context);
    return EvalResult::fromBool(true);
}
void IntAssign::lower(Lowering & to) const {
    if (auto const constant = to.constantOf(*rhs_)) {
        to.assign(*lhs_, *constant);
    } else {
        to.operatorChange(operatorFunction<IntAssign>);
    }
}

// One line an operator: how the walk computes, and by what a plan computes the same.
#define QCF_INT_ARITHMETIC(Class, computeWithinRange, operation)                                   \
    EvalResult Class::eval(Ptr<EvalContextBase> const & context) const {                           \
        computeWithinRange(*lhs_, *rhs_, context);                                                 \
        return EvalResult::fromBool(true);                                                         \
    }                                                                                              \
    void Class::lower(Lowering & to) const {                                                       \
        if (auto const constant = to.constantOf(*rhs_)) {                                          \
            to.compute(*lhs_, *constant, operation);                                               \
        } else {                                                                                   \
            to.operatorChange(operatorFunction<Class>);                                            \
        }                                                                                          \
    }

QCF_INT_ARITHMETIC(IntPlusEq, addWithinRange, sumWithin)
QCF_INT_ARITHMETIC(IntMinusEq, subtractWithinRange, differenceWithin)
QCF_INT_ARITHMETIC(IntMultEq, multiplyWithinRange, productWithin)
#undef QCF_INT_ARITHMETIC

} // namespace Qcf::Eval
