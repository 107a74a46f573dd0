#pragma once

#include "QcfLib/QcfEvalContext.h"

namespace Qcf::Eval {

// How a set becomes an attribute's value. A lent set is not counted when it is stored, since it
// lives until the context's next reset; but one that another attribute's value alone keeps alive
// may be replaced before that.

/// Stores a set that an operand lent.
template <typename Target, typename Set>
void storeLent(Target const & target, Set const * set, Ptr<EvalContextBase> const & context) {
    if (evalContext(context).attributeContentConst().owns(set)) {
        target.setVal(PtrConst<Set>(set), context);
    } else {
        target.lentValIs(set, context);
    }
}

/// Stores the right operand's own set: a lent one, or one that was built for this call and stands
/// in `fresh`. Whoever lent it still has it, so that it must not be written in place any more: a
/// later change of one attribute would show in the other.
template <typename Target, typename Set>
void storeRightOperand(Target const & target, Set const * set, PtrConst<Set> & fresh,
                       Ptr<EvalContextBase> const & context) {
    if (fresh) {
        target.setVal(std::move(fresh), context);
        return;
    }
    if (set != nullptr && set->modifyFlag() == ModifyFlag::reuseOnWrite) {
        const_cast<Set *>(set)->modifyFlagIs(ModifyFlag::copyOnWrite);
    }
    storeLent(target, set, context);
}

} // namespace Qcf::Eval
