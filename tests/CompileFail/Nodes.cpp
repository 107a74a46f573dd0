// Misuse of nodes: what the types of operands, the immutability of trees and the classes themselves
// forbid. How a case reads is told in Pointers.cpp.

#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "QcfLib/QcfEval.h"

namespace Qcf::Eval {

void build(Ptr<EvalContextBase> const & context, PtrConst<EvalContextBase> const & constant) {
    auto const one = intImmediateFactory(1, 1, false);
    auto const med = Attribute::medFactory(2);
    auto const assignment = intAssignFactory(3, med, one);
    auto const body = blockFactory(5, expressionListFactory(4, assignment, nullptr));
    auto const communities = Attribute::communityFactory(6);
    auto const extended = Attribute::extCommunityFactory(7);
    auto const copied = ModifyFlag::copyOnWrite;
    PtrConst<U64SmallVector> fresh;
    PtrConst<CommunitySmallVector> const others = makePtr<CommunitySmallVector>(copied);
    static_cast<void>(communities->lendVal(context, fresh));
    static_cast<void>(extended->typeData());
    static_cast<void>(body->eval(context));
    static_cast<void>(constant->typeData());

    // misuse: intAssignFactory(10, one, one);
    // says: could not convert .*one|no matching function|no (viable|known) conversion

    // misuse: intAssignFactory(10, Attribute::afiFactory(11), one);
    // says: could not convert .*afiFactory|no (viable|known) conversion

    // misuse: intAssignFactory(10, Attribute::medInputFactory(11), one);
    // says: could not convert .*medInputFactory|no (viable|known) conversion

    // misuse: communitySetAssignImmediateFactory(10, extended, communities);
    // says: could not convert .*communities|no (viable|known) conversion

    // misuse: intSetHasAnyImmediateFactory(10, communities, one);
    // says: could not convert .*one|no (viable|known) conversion

    // misuse: expressionListFactory(10, one, nullptr);
    // says: could not convert .*one|no (viable|known) conversion

    // misuse: returnExpressionFactory(10, one);
    // says: could not convert .*one|no (viable|known) conversion

    // misuse: ifExpressionFactory(10, med, body, nullptr);
    // says: could not convert .*med|no (viable|known) conversion

    // misuse: triStateBoolImmediateFactory(10, true);
    // says: cannot convert 'bool'|no matching function|cannot initialize a parameter

    // misuse: intImmediateFactory(10, 1);
    // says: too few arguments|no matching function

    // misuse: IntImmediate copy = *one;
    // says: use of deleted function|implicitly-deleted

    // misuse: assignment->lhs() = nullptr;
    // says: discards qualifiers|no viable overloaded '='|no match for 'operator='

    // misuse: class Later final : public IntAssign {};
    // says: cannot derive from 'final' base|is marked 'final'

    // misuse: makePtr<Expression>(U64{10});
    // says: abstract class type|is an abstract class

    // misuse: body->eval(constant);
    // says: cannot convert|no (viable|known) conversion

    // misuse: communities->setVal(others, context);
    // says: cannot convert|could not convert|no (viable|known) conversion

    // misuse: communities->lendVal(context, fresh)->clear();
    // says: discards qualifiers|not marked const

    // misuse: CommunitySmallVector::isEqual(nullptr, fresh.get());
    // says: cannot convert|cannot initialize a parameter
}

} // namespace Qcf::Eval
