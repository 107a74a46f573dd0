#include "Platform/Framework/VirtualSlot.h"
#include "QcfLib/QcfEval.h"

#include <gtest/gtest.h>

/// The order of the virtual operations, which engines and agents that are built apart agree on.

#if QCF_VIRTUAL_SLOTS_READABLE

using namespace Qcf::Eval;

namespace {

struct Slot {
    char const * name;
    std::ptrdiff_t offset;
};

/// Each operation stands right behind the one before it.
void expectInOrder(std::vector<Slot> const & slots) {
    for (std::size_t i = 1; i < slots.size(); ++i) {
        EXPECT_EQ(slots[i].offset - slots[i - 1].offset, std::ptrdiff_t{sizeof(void *)})
            << slots[i - 1].name << " " << slots[i].name;
    }
}

} // namespace

#define QCF_TEST_SLOT(operation)                                                                   \
    Slot { #operation, virtualSlotOffset(&Base::operation) }

// The attribute layer and the agents that derive from it fill these slots and add none before.
TEST(OperationSlots, OfAContext) {
    using Base = EvalContextBase;
    std::vector<Slot> const slots = {
        QCF_TEST_SLOT(evaluationLog),
        QCF_TEST_SLOT(reset),
        QCF_TEST_SLOT(adminAsInput),
        QCF_TEST_SLOT(afiInput),
        QCF_TEST_SLOT(afiSafiInput),
        QCF_TEST_SLOT(aigpAccumulationMetricInput),
        QCF_TEST_SLOT(aigpAccumulationMetricIs),
        QCF_TEST_SLOT(aigpMetricInput),
        QCF_TEST_SLOT(aigpMetricIs),
        QCF_TEST_SLOT(asPathInputPopulate),
        QCF_TEST_SLOT(asPathIs),
        QCF_TEST_SLOT(aggregateInput),
        QCF_TEST_SLOT(aggregateContributorInput),
        QCF_TEST_SLOT(bestpathInput),
        QCF_TEST_SLOT(prefixSidIndexInput),
        QCF_TEST_SLOT(prefixSidIndexIs),
        QCF_TEST_SLOT(routeSourceInput),
        QCF_TEST_SLOT(communityInputPopulate),
        QCF_TEST_SLOT(communityIs),
        QCF_TEST_SLOT(connectedInterfaceInput),
        QCF_TEST_SLOT(destinationSessionLocalAsInput),
        QCF_TEST_SLOT(aggregateLinkBandwidthInput),
        QCF_TEST_SLOT(evpnIpPrefixRouteGatewayAddrInput),
        QCF_TEST_SLOT(evpnIpPrefixRouteGatewayAddrIs),
        QCF_TEST_SLOT(evpnIpPrefixRouteLabelInput),
        QCF_TEST_SLOT(evpnIpPrefixRouteLabelIs),
        QCF_TEST_SLOT(evpnIpPrefixRoutePrefixInput),
        QCF_TEST_SLOT(evpnMacIpRouteEsiInput),
        QCF_TEST_SLOT(evpnMacIpRouteIpAddressInput),
        QCF_TEST_SLOT(evpnMacIpRouteMacAddressInput),
        QCF_TEST_SLOT(evpnRouteTypeInput),
        QCF_TEST_SLOT(extCommunityInputPopulate),
        QCF_TEST_SLOT(extCommunityIs),
        QCF_TEST_SLOT(recmpStateInput),
        QCF_TEST_SLOT(recmpStateIs),
        QCF_TEST_SLOT(flowspecDestinationPrefixInput),
        QCF_TEST_SLOT(flowspecSourcePrefixInput),
        QCF_TEST_SLOT(igpMetricInput),
        QCF_TEST_SLOT(tagInput),
        QCF_TEST_SLOT(tagIs),
        QCF_TEST_SLOT(instanceAsInput),
        QCF_TEST_SLOT(isisLevelInputPopulate),
        QCF_TEST_SLOT(isisLevelIs),
        QCF_TEST_SLOT(isisMetricInput),
        QCF_TEST_SLOT(isisMetricIs),
        QCF_TEST_SLOT(largeCommunityInputPopulate),
        QCF_TEST_SLOT(largeCommunityIs),
        QCF_TEST_SLOT(localPrefInput),
        QCF_TEST_SLOT(localPrefIs),
        QCF_TEST_SLOT(medInput),
        QCF_TEST_SLOT(medIs),
        QCF_TEST_SLOT(nextHopInput),
        QCF_TEST_SLOT(nextHopIs),
        QCF_TEST_SLOT(nextHopBestPathMetricInput),
        QCF_TEST_SLOT(nextHopBestPathMetricIs),
        QCF_TEST_SLOT(nextHopMetricInput),
        QCF_TEST_SLOT(originInput),
        QCF_TEST_SLOT(originIs),
        QCF_TEST_SLOT(ipPrefixInput),
        QCF_TEST_SLOT(resolutionRibsInput),
        QCF_TEST_SLOT(resolutionRibsIs),
        QCF_TEST_SLOT(resolutionRibsDefaultInput),
        QCF_TEST_SLOT(ribPreferenceInput),
        QCF_TEST_SLOT(ribPreferenceIs),
        QCF_TEST_SLOT(routePriorityInput),
        QCF_TEST_SLOT(routePriorityIs),
        QCF_TEST_SLOT(originValidationStateInput),
        QCF_TEST_SLOT(originValidationStateIs),
        QCF_TEST_SLOT(rtMembershipOriginAsInput),
        QCF_TEST_SLOT(rtMembershipRouteTargetInput),
        QCF_TEST_SLOT(sourceProtocolInput),
        QCF_TEST_SLOT(sourceSessionInterfaceBandwidthInput),
        QCF_TEST_SLOT(sourceSessionRemoteAsInput),
        QCF_TEST_SLOT(sourceSessionRemoteIpAddressInput),
        QCF_TEST_SLOT(sourceSessionRemoteRouterIdInput),
        QCF_TEST_SLOT(weightInput),
        QCF_TEST_SLOT(weightIs),
        QCF_TEST_SLOT(isBgpOutbound),
        QCF_TEST_SLOT(localAs),
        QCF_TEST_SLOT(peerConfed),
        QCF_TEST_SLOT(vrfId),
        QCF_TEST_SLOT(setOverlayIndex),
        QCF_TEST_SLOT(matchAsPathAccessList),
        QCF_TEST_SLOT(matchCommList),
        QCF_TEST_SLOT(matchExactCommList),
        QCF_TEST_SLOT(commAssignCommList),
        QCF_TEST_SLOT(commAddCommList),
        QCF_TEST_SLOT(commRemoveCommList),
        QCF_TEST_SLOT(commRetainCommList),
        QCF_TEST_SLOT(matchExtCommList),
        QCF_TEST_SLOT(matchExactExtCommList),
        QCF_TEST_SLOT(extCommAssignExtCommList),
        QCF_TEST_SLOT(extCommAddExtCommList),
        QCF_TEST_SLOT(extCommRemoveExtCommList),
        QCF_TEST_SLOT(extCommRetainExtCommList),
        QCF_TEST_SLOT(matchLargeCommList),
        QCF_TEST_SLOT(matchExactLargeCommList),
        QCF_TEST_SLOT(largeCommAssignLargeCommList),
        QCF_TEST_SLOT(largeCommAddLargeCommList),
        QCF_TEST_SLOT(largeCommRemoveLargeCommList),
        QCF_TEST_SLOT(largeCommRetainLargeCommList),
        QCF_TEST_SLOT(matchRoaTable),
    };
    EXPECT_EQ(slots.size(), 2U + 75 + 25);
    expectInOrder(slots);
    EXPECT_LT(virtualSlotOffset(&Base::publisher), virtualSlotOffset(&Base::typeData));
    EXPECT_LT(virtualSlotOffset(&Base::typeData), slots.front().offset);
    EXPECT_EQ(virtualSlotOffset(&GeneratedEvalContext::weightIs),
              virtualSlotOffset(&Base::weightIs));
    EXPECT_EQ(virtualSlotOffset(&EvalContext::matchRoaTable), slots.back().offset);
}

TEST(OperationSlots, OfAnExpression) {
    using Base = Expression;
    expectInOrder({QCF_TEST_SLOT(publisher), QCF_TEST_SLOT(typeData), QCF_TEST_SLOT(onNotification),
                   QCF_TEST_SLOT(compare), QCF_TEST_SLOT(hash), QCF_TEST_SLOT(eval),
                   QCF_TEST_SLOT(verifySanity), QCF_TEST_SLOT(dumpState)});
}

TEST(OperationSlots, OfAValue) {
    using Base = StorageType;
    expectInOrder({QCF_TEST_SLOT(compare), QCF_TEST_SLOT(hash),
                   QCF_TEST_SLOT(valueDependsOnStackFrameData), QCF_TEST_SLOT(toStrep),
                   QCF_TEST_SLOT(pushFuncArgToStack)});
}

TEST(OperationSlots, OfALogicalOperator) {
    using Base = LogicalOperator;
    expectInOrder({QCF_TEST_SLOT(compare), QCF_TEST_SLOT(hash), QCF_TEST_SLOT(toStrep),
                   QCF_TEST_SLOT(shouldShortCircuit), QCF_TEST_SLOT(maybeCastUnknownToFalse)});
}

#endif
