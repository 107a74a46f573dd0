#pragma once

#include "QcfLib/QcfEvalBasicTypes.h"

namespace Qcf::Eval {

/// Writes the result of a set operation to `target`.
///
/// Where the result is the right operand's own container, and others hold that container too (it is
/// another attribute's value), it must not be written in place any more: a later change of one
/// attribute would show in the other.
template <typename Target, typename Set>
void storeResult(Target const & target, PtrConst<Set> result, PtrConst<Set> const & lhs,
                 PtrConst<Set> const & rhs, Ptr<EvalContextBase> const & context) {
    bool const isRightOperand = result && result == rhs && result != lhs;
    if (isRightOperand && rhs->modifyFlag() == ModifyFlag::reuseOnWrite) {
        // The caller's `rhs` and `result` are two of the users; sets of the cache are not counted.
        if (rhs->immortal() || rhs->refCount() > 2) {
            constCast(rhs)->modifyFlagIs(ModifyFlag::copyOnWrite);
        }
    }
    target.setVal(std::move(result), context);
}

} // namespace Qcf::Eval
