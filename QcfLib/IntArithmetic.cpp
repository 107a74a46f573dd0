#include "QcfLib/QcfLibHelpers.h"

#include <algorithm>

/// Assignment and arithmetic on integer attributes, within their range.
namespace Qcf::Eval {

namespace {

/// Range and current value of a target, and the operand, read in the order that agents see.
struct Operands {
    Operands(IntModifiable const & target, Int const & operand,
             Ptr<EvalContextBase> const & context)
        : target(target), context(context), min(target.min()), max(target.max()),
          current(target.getVal(context)), isNegative(operand.negative(context)),
          magnitude(operand.getVal(context)) {}

    bool strictlyNegative() const { return isNegative && magnitude != 0; }
    void write(U64 value) const { target.setVal(std::clamp(value, min, max), context); }
    // A sum of two magnitudes that wraps lies above every range.
    void writeSum() const {
        U64 const sum = current + magnitude;
        write(sum < current ? max : sum);
    }
    void writeDifference() const { write(current < magnitude ? min : current - magnitude); }

    IntModifiable const & target;
    Ptr<EvalContextBase> const & context;
    U64 min;
    U64 max;
    U64 current;
    bool isNegative;
    U64 magnitude;
};

} // namespace

void assignWithinRange(IntModifiable const & target, Int const & operand,
                       Ptr<EvalContextBase> const & context) {
    U64 const min = target.min();
    U64 const max = target.max();
    U64 const defaultValue = target.defaultValue();
    bool const negative = operand.negative(context);
    U64 const value = operand.getVal(context);
    if (negative && value != 0) {
        target.setVal(min, context);
    } else {
        target.setVal(value == defaultValue ? value : std::clamp(value, min, max), context);
    }
}

void addWithinRange(IntModifiable const & target, Int const & operand,
                    Ptr<EvalContextBase> const & context) {
    Operands const operands(target, operand, context);
    operands.strictlyNegative() ? operands.writeDifference() : operands.writeSum();
}

void subtractWithinRange(IntModifiable const & target, Int const & operand,
                         Ptr<EvalContextBase> const & context) {
    Operands const operands(target, operand, context);
    operands.strictlyNegative() ? operands.writeSum() : operands.writeDifference();
}

void multiplyWithinRange(IntModifiable const & target, Int const & operand,
                         Ptr<EvalContextBase> const & context) {
    Operands const operands(target, operand, context);
    U64 product = 0;
    bool const tooLarge = __builtin_mul_overflow(operands.current, operands.magnitude, &product);
    if (operands.strictlyNegative() && (tooLarge || product != 0)) {
        operands.write(operands.min);
    } else {
        operands.write(tooLarge ? operands.max : product);
    }
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
