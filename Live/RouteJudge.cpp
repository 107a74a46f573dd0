#include "Live/RouteJudge.h"

#include "Questions/ChangeComparison.h"

#include <algorithm>
#include <utility>

namespace Qcf::Live {

void StoredRoutes::read(RibRoute const & route, PeerState const & peer, Rib rib,
                        Agent::Route & to) {
    to.clear();
    bool const as4 = route.has(RibRoute::as4);
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

RouteEvaluator::RouteEvaluator(std::shared_ptr<LivePolicy const> policy)
    : policy_(std::move(policy)),
      agent_(makePtr<Agent::AgentContext>(policy_->matchers)),
      context_(agent_),
      numbers_(policy_->statements.numbersByDecider()) {}

RouteOutcome RouteEvaluator::evaluate(Agent::Route const & route) {
    agent_->routeIs(route);
    Eval::DecidedEvaluation const evaluated = evalDecided(*policy_->function, context_);
    result_ = evaluated.result;
    Verdict const verdict = result_.retVal() == Eval::QcfTrue()    ? Verdict::accepted
                            : result_.retVal() == Eval::QcfFalse() ? Verdict::rejected
                                                                   : Verdict::unknown;
    return {verdict, numberOf(evaluated.decider)};
}

U16 RouteEvaluator::numberOf(U32 decider) {
    if (decider == Eval::DecidedEvaluation::unknown) {
        return 0;
    }
    if (decider >= numbers_.size() || numbers_[decider] == 0) [[unlikely]] {
        // Functions got other plans meanwhile. What is in none of them is not asked for again.
        numbers_ = policy_->statements.numbersByDecider();
        numbers_.resize(std::max<std::size_t>(numbers_.size(), decider + 1));
    }
    return numbers_[decider];
}

void RouteJudge::nextIs(std::shared_ptr<LivePolicy const> policy) {
    next_.reset();
    if (policy) {
        next_.emplace(std::move(policy));
    }
}

void RouteJudge::nextIsShown() {
    shown_ = std::move(*next_);
    next_.reset();
}

Verdict RouteJudge::verdict(RibRoute const & route, PeerState const & peer, Rib rib) {
    routes_.read(route, peer, rib, route_);
    return shown_.evaluate(route_).verdict;
}

void RouteJudge::judge(RibRoute & route, PeerState const & peer, Rib rib, U8 side) {
    routes_.read(route, peer, rib, route_);
    RouteOutcome const shown = shown_.evaluate(route_);
    RouteOutcome next;
    if (next_) {
        next = next_->evaluate(route_);
        next.writesOther = writesOther(shown, next);
    }
    route.outcomeIs(side, shown);
    route.outcomeIs(side ^ 1U, next);
}

void RouteJudge::judgeNext(RibRoute & route, PeerState const & peer, Rib rib, U8 side) {
    routes_.read(route, peer, rib, route_);
    RouteOutcome next = next_->evaluate(route_);
    RouteOutcome const shown = route.outcome(side);
    // What is written counts where both accept, and is not kept.
    if (shown.verdict == Verdict::accepted && next.verdict == Verdict::accepted) {
        shown_.evaluate(route_);
        next.writesOther = writesOther(shown, next);
    }
    route.outcomeIs(side ^ 1U, next);
}

bool RouteJudge::writesOther(RouteOutcome const & shown, RouteOutcome const & next) const {
    return shown.verdict == Verdict::accepted && next.verdict == Verdict::accepted &&
           !Questions::isSameOutcome({shown_.result(), shown_.context()},
                                     {next_->result(), next_->context()});
}

} // namespace Qcf::Live
