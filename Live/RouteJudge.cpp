#include "Live/RouteJudge.h"

#include <utility>

namespace Qcf::Live {

void StoredRoutes::read(RibRoute const & route, PeerState const & peer, Rib rib,
                        Agent::Route & to) {
    to.clear();
    bool const as4 = (route.marks & RibRoute::as4) != 0;
    attributes_.decode(store_.bytes(route.attributes), {.as4 = as4, .rib = true}, to);
    if (attributes_.reach().present) {
        to.nextHop = attributes_.reach().nextHop;
    }
    to.ipPrefix = route.prefix();
    // From whom a route of a Loc-RIB came is not told.
    if (rib != Rib::loc) {
        to.sourceSessionRemoteAs = peer.as;
        to.sourceSessionRemoteIpAddress = peer.key.address;
        if (peer.bgpId != 0) {
            to.rareIs().sourceSessionRemoteRouterId = IpGenAddr::v4(peer.bgpId);
        }
    }
    to.session.localAs = peer.ownAs();
    // A Loc-RIB is looked at for what is sent of it.
    to.session.outbound = isOut(rib) || rib == Rib::loc;
    to.session.vrfId = peer.vrfId;
    if (peer.takesOwnAsOff(rib)) {
        takeOwnAsOff(peer.ownAs(), to);
    }
}

void StoredRoutes::takeOwnAsOff(U32 own, Agent::Route & route) {
    using Routing::Bgp::SegmentType;
    auto const & asns = route.asPath.asns();
    if (asns.empty() || asns.segments().front().type != SegmentType::sequence ||
        asns.asns().front() != own) {
        return;
    }
    path_ = asns;
    bool isFirst = true;
    path_.removeIf([&isFirst](U32 /*as*/) { return std::exchange(isFirst, false); });
    route.asPath.asnsIs(path_);
}

RouteJudge::RouteJudge(AttributeStore const & store, PtrConst<Eval::Function> function,
                       PtrConst<ExternalMatchersBase> const & matchers)
    : function_(std::move(function)),
      agent_(makePtr<Agent::AgentContext>(matchers)),
      context_(agent_),
      routes_(store) {}

RibRoute::Verdict RouteJudge::verdict(RibRoute const & route, PeerState const & peer, Rib rib) {
    routes_.read(route, peer, rib, route_);
    agent_->routeIs(route_);
    switch (function_->eval(context_).retVal()) {
    case Eval::TriStateBoolValue::true_:
        return RibRoute::Verdict::accepted;
    case Eval::TriStateBoolValue::false_:
        return RibRoute::Verdict::rejected;
    default:
        return RibRoute::Verdict::unknown;
    }
}

} // namespace Qcf::Live
