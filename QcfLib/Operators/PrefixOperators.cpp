#include "QcfLib/Operators/Lowering.h"
#include "QcfLib/QcfLibHelpers.h"

/// Tests of prefixes and addresses against prefixes, prefix lists and ROA tables.
namespace Qcf::Eval {

namespace {

/// The list is asked for by the candidate's family: a list of the other family is as good as none.
EvalResult matchList(PrefixList const & list, Routing::Policy::MatchInput_ const & input,
                     EvalResult const & withoutList, Ptr<EvalContextBase> const & context) {
    auto const * const matcher = list.getValWithArgs(context, input.prefix.af());
    if (matcher == nullptr) {
        return withoutList;
    }
    return tristateToEvalResult(matcher->matchWithTristate(input, nullptr));
}

bool listOperandIsSane(char const * label, PrefixList const & list,
                       FunctionMetadata const & metadata) {
    bool const sane = list.verifySanity(metadata);
    QCF_TRACE(traceQcfEval, 2, label << "::verifySanity: exprSane=" << sane);
    return sane;
}

} // namespace

EvalResult IpPrefixCoveredBy::eval(Ptr<EvalContextBase> const & context) const {
    IpGenPrefix const lhs = lhs_->getVal(context);
    IpGenPrefix const rhs = rhs_->getVal(context);
    return EvalResult::fromBool(rhs.contains(lhs));
}
// A prefix that has no accessor is a constant like the other side, which nobody writes.
void IpPrefixCoveredBy::lower(Lowering & to) const {
    auto const * const constant = as<IpPrefixImmediate>(*rhs_);
    if (constant != nullptr && lhs_->source() != nullptr) {
        to.test(ConstantTest::of(*lhs_, std::vector{constant->value()}));
    } else {
        to.operatorTest(operatorFunction<IpPrefixCoveredBy>);
    }
}

EvalResult IpPrefixMatchPrefixList::eval(Ptr<EvalContextBase> const & context) const {
    return matchList(*rhs_, {lhs_->getVal(context)}, EvalResult::fromBool(false), context);
}
void IpPrefixMatchPrefixList::lower(Lowering & to) const { to.listTest(*lhs_, *rhs_, QcfFalse()); }

EvalResult IpPrefixMatchCoveredPrefixList::eval(Ptr<EvalContextBase> const & context) const {
    // Without a list the decision is left to the logical operators around.
    return matchList(*rhs_, {lhs_->getVal(context)}, EvalResult(), context);
}
void IpPrefixMatchCoveredPrefixList::lower(Lowering & to) const {
    to.listTest(*lhs_, *rhs_, QcfUnknown());
}
EvalResult IpAddressMatchPrefixList::eval(Ptr<EvalContextBase> const & context) const {
    Routing::Policy::MatchInput_ const host{IpGenPrefix::host(lhs_->getVal(context))};
    return matchList(*rhs_, host, EvalResult::fromBool(false), context);
}
void IpAddressMatchPrefixList::lower(Lowering & to) const { to.listTest(*lhs_, *rhs_, QcfFalse()); }

bool IpPrefixMatchPrefixList::verifySanity(FunctionMetadata const & metadata) const {
    return listOperandIsSane(typeData().name, *rhs_, metadata);
}
bool IpPrefixMatchCoveredPrefixList::verifySanity(FunctionMetadata const & metadata) const {
    // The label is not the class's name, but the one that is looked for in traces.
    return listOperandIsSane("IpAddressCoveredPrefixList", *rhs_, metadata);
}
bool IpAddressMatchPrefixList::verifySanity(FunctionMetadata const & metadata) const {
    return listOperandIsSane(typeData().name, *rhs_, metadata);
}

EvalResult MatchOriginAsValidityImplExpr::eval(Ptr<EvalContextBase> const & context) const {
    auto const slot = getIntFromArgVector<U32>(context, 0);
    auto const state = getIntFromArgVector<U32>(context, 1);
    // The table is the agent's: it knows by slot and state what it is asked.
    return EvalResult::fromBoolWithReturn(context->matchRoaTable(slot, state));
}

namespace {

/// An argument that reading it would not assert.
std::optional<U32> constantArgument(Lowering const & to, std::size_t index) {
    auto const argument = to.constantArgument(index);
    bool const isRead = argument && !argument->strictlyNegative() &&
                        argument->magnitude <= std::numeric_limits<U32>::max();
    return isRead ? std::optional(static_cast<U32>(argument->magnitude)) : std::nullopt;
}

} // namespace

void MatchOriginAsValidityImplExpr::lower(Lowering & to) const {
    auto const slot = constantArgument(to, 0);
    auto const state = constantArgument(to, 1);
    if (slot && state) {
        to.originTest(*slot, *state);
    } else {
        to.builtIn(operatorFunction<MatchOriginAsValidityImplExpr>);
    }
}

} // namespace Qcf::Eval
