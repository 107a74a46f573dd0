#pragma once

#include "QcfLib/QcfEvalContext.h"

#include <sstream>
#include <stdexcept>
#include <vector>

/// The scalar accessors with what a bare context reads: type, stem, initial value.
#define QCF_TEST_INPUTS(APPLY)                                                                     \
    APPLY(Acl::CommunityValue, adminAs, {})                                                        \
    APPLY(U64, afi, {0})                                                                           \
    APPLY(U64, afiSafi, {0})                                                                       \
    APPLY(U64, aigpAccumulationMetric, {0})                                                        \
    APPLY(U64, aigpMetric, {0})                                                                    \
    APPLY(TriStateBoolValue, aggregate, {QcfTrue()})                                               \
    APPLY(TriStateBoolValue, aggregateContributor, {QcfTrue()})                                    \
    APPLY(TriStateBoolValue, bestpath, {QcfTrue()})                                                \
    APPLY(U64, prefixSidIndex, {0})                                                                \
    APPLY(U64, routeSource, {0})                                                                   \
    APPLY(IntfId, connectedInterface, {})                                                          \
    APPLY(U64, destinationSessionLocalAs, {0})                                                     \
    APPLY(F32, aggregateLinkBandwidth, {0})                                                        \
    APPLY(IpGenAddr, evpnIpPrefixRouteGatewayAddr, {})                                             \
    APPLY(U64, evpnIpPrefixRouteLabel, {0})                                                        \
    APPLY(IpGenPrefix, evpnIpPrefixRoutePrefix, {})                                                \
    APPLY(std::optional<Evpn::Esid>, evpnMacIpRouteEsi, {})                                        \
    APPLY(IpGenAddr, evpnMacIpRouteIpAddress, {})                                                  \
    APPLY(EthAddr, evpnMacIpRouteMacAddress, {})                                                   \
    APPLY(U64, evpnRouteType, {0})                                                                 \
    APPLY(U64, recmpState, {0})                                                                    \
    APPLY(IpGenPrefix, flowspecDestinationPrefix, {})                                              \
    APPLY(IpGenPrefix, flowspecSourcePrefix, {})                                                   \
    APPLY(U64, igpMetric, {0})                                                                     \
    APPLY(U64, tag, {0})                                                                           \
    APPLY(U64, instanceAs, {0})                                                                    \
    APPLY(U64, isisMetric, {0})                                                                    \
    APPLY(U64, localPref, {100})                                                                   \
    APPLY(U64, med, {0})                                                                           \
    APPLY(IpGenAddr, nextHop, {})                                                                  \
    APPLY(U64, nextHopBestPathMetric, {0})                                                         \
    APPLY(U64, nextHopMetric, {0})                                                                 \
    APPLY(U64, origin, {256})                                                                      \
    APPLY(IpGenPrefix, ipPrefix, {})                                                               \
    APPLY(Routing::Rib::ResolutionRibProfileConfig, resolutionRibs, {false})                       \
    APPLY(Routing::Rib::ResolutionRibProfileConfig, resolutionRibsDefault, {true})                 \
    APPLY(U64, ribPreference, {0})                                                                 \
    APPLY(U64, routePriority, {0})                                                                 \
    APPLY(U64, originValidationState, {1})                                                         \
    APPLY(U64, rtMembershipOriginAs, {0})                                                          \
    APPLY(Acl::CommunityValue, rtMembershipRouteTarget, {})                                        \
    APPLY(U64, sourceProtocol, {0})                                                                \
    APPLY(F32, sourceSessionInterfaceBandwidth, {0})                                               \
    APPLY(U64, sourceSessionRemoteAs, {0})                                                         \
    APPLY(IpGenAddr, sourceSessionRemoteIpAddress, {})                                             \
    APPLY(IpGenAddr, sourceSessionRemoteRouterId, {})                                              \
    APPLY(U64, weight, {0})

/// The write-backs in flush order: argument type, stem.
#define QCF_TEST_WRITE_BACKS(APPLY)                                                                \
    APPLY(U64, aigpAccumulationMetric)                                                             \
    APPLY(U64, aigpMetric)                                                                         \
    APPLY(Routing::Bgp::AspathContainerFromExisting *, asPath)                                     \
    APPLY(U64, prefixSidIndex)                                                                     \
    APPLY(PtrConst<U64SmallVector> const &, community)                                             \
    APPLY(IpGenAddr, evpnIpPrefixRouteGatewayAddr)                                                 \
    APPLY(U64, evpnIpPrefixRouteLabel)                                                             \
    APPLY(PtrConst<CommunitySmallVector> const &, extCommunity)                                    \
    APPLY(U64, recmpState)                                                                         \
    APPLY(U64, tag)                                                                                \
    APPLY(PtrConst<U64SmallVector> const &, isisLevel)                                             \
    APPLY(U64, isisMetric)                                                                         \
    APPLY(PtrConst<CommunitySmallVector> const &, largeCommunity)                                  \
    APPLY(U64, localPref)                                                                          \
    APPLY(U64, med)                                                                                \
    APPLY(IpGenAddr, nextHop)                                                                      \
    APPLY(U64, nextHopBestPathMetric)                                                              \
    APPLY(U64, origin)                                                                             \
    APPLY(Routing::Rib::ResolutionRibProfileConfig const &, resolutionRibs)                        \
    APPLY(U64, ribPreference)                                                                      \
    APPLY(U64, routePriority)                                                                      \
    APPLY(U64, originValidationState)                                                              \
    APPLY(U64, weight)

namespace Qcf::Eval::test {

inline String written(U64 value) { return std::to_string(value); }
template <typename Set>
String written(PtrConst<Set> const & set) {
    return set ? set->toStrep() : "null";
}
inline String written(Routing::Bgp::AspathContainerFromExisting * path) {
    return path != nullptr ? path->toString() : "null";
}
template <typename Value>
String written(Value const & value) {
    return value.toString();
}

/// An agent that writes down every call that the engine makes of it, in order: "medInput",
/// "medIs 5", "commAddCommList 1,2 CL". Its route is the members of the stems' names.
class RecordingContext : public EvalContext {
public:
    explicit RecordingContext(PtrConst<ExternalMatchersBase> matchers = nullptr)
        : EvalContext(std::move(matchers), nullptr, nullptr) {}

    mutable std::vector<String> calls;
    String throwAt;     ///< the call to throw std::runtime_error from; "" for none
    bool lends = false; ///< the route's sets instead of copies
    bool outbound = false;
    U32 localAsValue = 0;
    U32 vrf = noVrf;
    bool matchAnswer = false;                  ///< of every list and ROA match
    Ptr<U64SmallVector> intSetAnswer;          ///< of every edit of an integer set
    Ptr<CommunitySmallVector> communityAnswer; ///< of every edit of a community set

    /// The calls joined by "; ", which are forgotten.
    String takeCalls() {
        String text;
        for (String const & call : std::exchange(calls, {})) {
            text += (text.empty() ? "" : "; ") + call;
        }
        return text;
    }

#define QCF_TEST_INPUT(Type, stem, initial)                                                        \
    Type stem initial;                                                                             \
    Type stem##Input() const override {                                                            \
        note(#stem "Input");                                                                       \
        return stem;                                                                               \
    }
    QCF_TEST_INPUTS(QCF_TEST_INPUT)
#undef QCF_TEST_INPUT

    Routing::Bgp::AsPath asPath;
    std::vector<U64> community;
    std::vector<U64> isisLevel;
    std::vector<Acl::CommunityValue> extCommunity;
    std::vector<Acl::CommunityValue> largeCommunity;

    void asPathInputPopulate(Routing::Bgp::AspathContainerFromExisting * path) const override {
        note("asPathInputPopulate");
        path->existingPathIs(&asPath);
    }
#define QCF_TEST_POPULATE(Set, stem)                                                               \
    void stem##InputPopulate(Ptr<Set> const & set) const override {                                \
        if (lends) {                                                                               \
            set->lend({stem.data(), stem.size()});                                                 \
        }                                                                                          \
        for (std::size_t i = 0; !lends && i < stem.size(); ++i) {                                  \
            set->insert(stem[i]);                                                                  \
        }                                                                                          \
        note(#stem "InputPopulate");                                                               \
    }
    QCF_TEST_POPULATE(U64SmallVector, community)
    QCF_TEST_POPULATE(U64SmallVector, isisLevel)
    QCF_TEST_POPULATE(CommunitySmallVector, extCommunity)
    QCF_TEST_POPULATE(CommunitySmallVector, largeCommunity)
#undef QCF_TEST_POPULATE

#define QCF_TEST_WRITE_BACK(Type, stem)                                                            \
    void stem##Is(Type value) override { note(#stem "Is", written(value)); }
    QCF_TEST_WRITE_BACKS(QCF_TEST_WRITE_BACK)
#undef QCF_TEST_WRITE_BACK

    bool isBgpOutbound() const override {
        note("isBgpOutbound");
        return outbound;
    }
    U32 localAs() const override {
        note("localAs");
        return localAsValue;
    }
    U32 vrfId() const override {
        note("vrfId");
        return vrf;
    }
    EvalResult setOverlayIndex() override {
        note("setOverlayIndex");
        return EvalResult::fromBoolWithReturn(matchAnswer);
    }
    bool matchRoaTable(U32 slot, U32 state) const override {
        note("matchRoaTable", std::to_string(slot) + " " + std::to_string(state));
        return matchAnswer;
    }
    bool matchAsPathAccessList(Routing::Bgp::AspathContainerFromExisting const * path, U64 number,
                               PtrConst<AsPathListStatus> const & status) const override {
        note("matchAsPathAccessList",
             path->toString() + " " + std::to_string(number) + (status ? " list" : " null"));
        return matchAnswer;
    }

#define QCF_TEST_MATCH(operation, Set, Status)                                                     \
    bool operation(PtrConst<Set> const & set, PtrConst<Status> const & status) const override {    \
        note(#operation, written(set) + (status ? " list" : " null"));                             \
        return matchAnswer;                                                                        \
    }
#define QCF_TEST_ASSIGN(operation, Set, Status, answer)                                            \
    Ptr<Set> operation(PtrConst<Status> const & status) override {                                 \
        note(#operation, status ? "list" : "null");                                                \
        return answer;                                                                             \
    }
#define QCF_TEST_EDIT(operation, Set, Status, answer)                                              \
    Ptr<Set> operation(Ptr<Set> const & set, PtrConst<Status> const & status) override {           \
        note(#operation, written(PtrConst<Set>(set)) + (status ? " list" : " null"));              \
        return answer;                                                                             \
    }
#define QCF_TEST_LISTS(Kind, prefix, Set, Status, answer)                                          \
    QCF_TEST_MATCH(match##Kind, Set, Status)                                                       \
    QCF_TEST_MATCH(matchExact##Kind, Set, Status)                                                  \
    QCF_TEST_ASSIGN(prefix##Assign##Kind, Set, Status, answer)                                     \
    QCF_TEST_EDIT(prefix##Add##Kind, Set, Status, answer)                                          \
    QCF_TEST_EDIT(prefix##Remove##Kind, Set, Status, answer)                                       \
    QCF_TEST_EDIT(prefix##Retain##Kind, Set, Status, answer)
    QCF_TEST_LISTS(CommList, comm, U64SmallVector, CommListStatus, intSetAnswer)
    QCF_TEST_LISTS(ExtCommList, extComm, CommunitySmallVector, ExtCommListStatus, communityAnswer)
    QCF_TEST_LISTS(LargeCommList, largeComm, CommunitySmallVector, LargeCommListStatus,
                   communityAnswer)
#undef QCF_TEST_LISTS
#undef QCF_TEST_EDIT
#undef QCF_TEST_ASSIGN
#undef QCF_TEST_MATCH

private:
    void note(String const & call, String const & value = "") const {
        calls.push_back(value.empty() ? call : call + " " + value);
        if (call == throwAt) {
            throw std::runtime_error(call);
        }
    }
};

} // namespace Qcf::Eval::test
