#include "QcfLib/QcfLibHelpers.h"

/// Assignment and arithmetic on integer attributes, within their range.
namespace Qcf::Eval {

namespace {

using Arithmetic = U64 (*)(IntRange const &, U64, SignedMagnitude);

/// The reads have this order: the target's bounds, its current value, then the operand.
void compute(IntModifiable const & target, Int const & operand,
             Ptr<EvalContextBase> const & context, Arithmetic arithmetic) {
    IntRange const bounds = boundsOf(target);
    U64 const current = target.getVal(context);
    SignedMagnitude const change = operand.signedVal(context);
    target.setVal(arithmetic(bounds, current, change), context);
}

} // namespace

U64 multiplied(IntRange const & range, U64 current, SignedMagnitude operand) {
    U64 product = 0;
    bool const tooLarge = __builtin_mul_overflow(current, operand.magnitude, &product);
    if (operand.strictlyNegative() && (tooLarge || product != 0)) {
        return range.min;
    }
    return tooLarge ? range.max : range.clamp(product);
}

void assignWithinRange(IntModifiable const & target, Int const & operand,
                       Ptr<EvalContextBase> const & context) {
    IntRange const range = rangeOf(target);
    SignedMagnitude const value = operand.signedVal(context);
    target.setVal(assigned(range, value), context);
}
void addWithinRange(IntModifiable const & target, Int const & operand,
                    Ptr<EvalContextBase> const & context) {
    compute(target, operand, context, added);
}
void subtractWithinRange(IntModifiable const & target, Int const & operand,
                         Ptr<EvalContextBase> const & context) {
    compute(target, operand, context, subtracted);
}
void multiplyWithinRange(IntModifiable const & target, Int const & operand,
                         Ptr<EvalContextBase> const & context) {
    compute(target, operand, context, multiplied);
}

EvalResult IntAssign::eval(Ptr<EvalContextBase> const & context) const {
    assignWithinRange(*lhs_, *rhs_, context);
    return EvalResult::fromBool(true);
}
EvalResult IntPlusEq::eval(Ptr<EvalContextBase> const & context) const {
    addWithinRange(*lhs_, *rhs_, context);
    return EvalResult::fromBool(true);
}
EvalResult IntMinusEq::eval(Ptr<EvalContextBase> const & context) const {
    subtractWithinRange(*lhs_, *rhs_, context);
    return EvalResult::fromBool(true);
}
EvalResult IntMultEq::eval(Ptr<EvalContextBase> const & context) const {
    multiplyWithinRange(*lhs_, *rhs_, context);
    return EvalResult::fromBool(true);
}

} // namespace Qcf::Eval
