#include "QcfLib/QcfLibHelpers.h"

/// Assignment and arithmetic on integer attributes, within their range.
namespace Qcf::Eval {

namespace {

SignedMagnitude read(Int const & operand, Ptr<EvalContextBase> const & context) {
    bool const negative = operand.negative(context);
    return {negative, operand.getVal(context)};
}

using Arithmetic = U64 (*)(IntRange const &, U64, SignedMagnitude);

/// Agents see the reads in this order: the target's current value, then the operand.
void compute(IntModifiable const & target, Int const & operand,
             Ptr<EvalContextBase> const & context, Arithmetic arithmetic) {
    IntRange const range{target.min(), target.max()};
    U64 const current = target.getVal(context);
    target.setVal(arithmetic(range, current, read(operand, context)), context);
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

U64 assigned(IntModifiable const & target, SignedMagnitude operand) {
    IntRange const range{target.min(), target.max()};
    U64 const defaultValue = target.defaultValue();
    if (operand.strictlyNegative()) {
        return range.min;
    }
    return operand.magnitude == defaultValue ? defaultValue : range.clamp(operand.magnitude);
}

void assignWithinRange(IntModifiable const & target, Int const & operand,
                       Ptr<EvalContextBase> const & context) {
    target.setVal(assigned(target, read(operand, context)), context);
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
