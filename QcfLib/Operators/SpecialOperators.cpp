#include "QcfLib/Operators/Lowering.h"
#include "QcfLib/QcfEval.h"

/// Operators that write single values or act on the context.
namespace Qcf::Eval {

EvalResult IpAddressAssign::eval(Ptr<EvalContextBase> const & context) const {
    lhs_->setVal(rhs_->getVal(context), context);
    return EvalResult::fromBool(true);
}
void IpAddressAssign::lower(Lowering & to) const {
    to.operatorChange(operatorFunction<IpAddressAssign>);
}

EvalResult ResolutionRibsAssign::eval(Ptr<EvalContextBase> const & context) const {
    lhs_->setVal(rhs_->getVal(context), context);
    return EvalResult::fromBool(true);
}
void ResolutionRibsAssign::lower(Lowering & to) const {
    to.operatorChange(operatorFunction<ResolutionRibsAssign>);
}

EvalResult SetNextHopSelfImplExpr::eval(Ptr<EvalContextBase> const & context) const {
    auto & c = evalContext(context);
    bool const outbound = c.isBgpOutbound();
    if (outbound) {
        // An unset address: the agent puts its own in its place when it applies the changes.
        c.modify(ModifiableAttribute::nextHop).nextHop = IpGenAddr();
        c.nextHopSetToSelfIs(true);
    }
    return EvalResult::fromBoolWithReturn(outbound);
}
void SetNextHopSelfImplExpr::lower(Lowering & to) const {
    to.builtIn(operatorFunction<SetNextHopSelfImplExpr>);
}

EvalResult
EvpnIpPrefixRouteSetOverlayIndexImplExpr::eval(Ptr<EvalContextBase> const & context) const {
    // What an overlay index is, only the agent knows; its answer is the result as it stands.
    return context->setOverlayIndex();
}
void EvpnIpPrefixRouteSetOverlayIndexImplExpr::lower(Lowering & to) const {
    to.agentBody(&EvalContextBase::setOverlayIndex);
}

} // namespace Qcf::Eval
