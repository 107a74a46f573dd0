#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfEval.h"

/// Prefix lists as values: which matcher a function's list stands for.
namespace Qcf::Eval {

namespace {

using Routing::Policy::PrefixListMatcher;

/// The slot must be the one that the function's metadata gives the name, and never 0.
bool indexIsSane(PrefixList const & node, SlotMap const & slots, String const & name,
                 U16 indexInAet) {
    U16 const indexInMetadata = slotOf(slots, name);
    QCF_TRACE(traceQcfEval, 2,
              node.typeData().name << "::verifySanity: indexInAet=" << indexInAet
                                   << " indexInMetadata=" << indexInMetadata);
    return indexInAet != 0 && indexInAet == indexInMetadata;
}

/// The one query that guards dynamic prefix lists: they select what is sent to a peer.
bool dynamicListsInUse(EvalContextBase const & context) { return context.isBgpOutbound(); }

} // namespace

PrefixListMatcher const *
PrefixListImmediate::getValWithArgs(Ptr<EvalContextBase const> const & context,
                                    AddressFamily family) const {
    return context->externalMatchers()->prefixList(isV4_, indexInAet_, family);
}

bool PrefixListImmediate::verifySanity(FunctionMetadata const & metadata) const {
    auto const & slots = isV4_ ? metadata.V4PrefixListsUsed : metadata.V6PrefixListsUsed;
    return indexIsSane(*this, slots, name_, indexInAet_);
}

// What was passed is a matcher already, of the family that its list had in the caller.
PrefixListMatcher const *
PrefixListVariable::getValWithArgs(Ptr<EvalContextBase const> const & context,
                                   AddressFamily family) const {
    auto const * const prefixListTypeArgValues = evalContext(context).prefixListTypeArgValues();
    QCF_ASSERT_TEXT(nullptr != prefixListTypeArgValues &&
                        argVectorIndex_ < prefixListTypeArgValues->size(),
                    "nullptr != prefixListTypeArgValues && "
                    "argVectorIndex() < prefixListTypeArgValues->size()");
    auto const * const matcher = (*prefixListTypeArgValues)[argVectorIndex_];
    bool const wrongFamily =
        matcher != nullptr && family != AddressFamily::none && family != matcher->af();
    return wrongFamily ? nullptr : matcher;
}

// Without a VRF, a status or an outbound session the list is not in use, and answers as one that is
// not there. A candidate without a family has no list either.
PrefixListMatcher const *
DynamicPrefixListImmediate::getValWithArgs(Ptr<EvalContextBase const> const & context,
                                           AddressFamily family) const {
    auto const & matchers = *context->externalMatchers();
    U32 const vrfId = context->vrfId();
    auto const * const status = matchers.dynamicPrefixLists.at(indexInAet_).get();
    if (vrfId == EvalContext::noVrf || status == nullptr || !status->activeIn(vrfId) ||
        !dynamicListsInUse(*context)) {
        return nullptr;
    }
    switch (family) {
    case AddressFamily::ipv4:
        return matchers.dynamicIpv4PrefixLists.at(indexInAet_).get();
    case AddressFamily::ipv6:
        return matchers.dynamicIpv6PrefixLists.at(indexInAet_).get();
    case AddressFamily::none:
        break;
    }
    return nullptr;
}

bool DynamicPrefixListImmediate::verifySanity(FunctionMetadata const & metadata) const {
    return indexIsSane(*this, metadata.DynPrefixListsUsed, name_, indexInAet_);
}

} // namespace Qcf::Eval
