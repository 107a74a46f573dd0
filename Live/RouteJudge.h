#pragma once

#include "Agent/Evaluation/AgentContext.h"
#include "Live/AttributeStore.h"
#include "Live/LivePolicy.h"
#include "Live/PeerState.h"

namespace Qcf::Live {

/// Makes routes of what tables keep, as a function sees them.
class StoredRoutes {
public:
    /// The store must outlive it.
    explicit StoredRoutes(AttributeStore const & store) : store_(store) {}

    /// Writes the route with its attributes and the facts of its session over `to`, whose storage
    /// is kept. The router's own AS is taken off where the peer has it in front.
    void read(RibRoute const & route, PeerState const & peer, Rib rib, Agent::Route & to);

private:
    void takeOwnAsOff(U32 own, Agent::Route & route);

    AttributeStore const & store_;
    Agent::PathAttributes attributes_;
    Routing::Bgp::AsnVector path_;
};

/// Evaluates a policy's function on a context of one thread. After the largest route it allocates
/// nothing.
class RouteEvaluator {
public:
    explicit RouteEvaluator(std::shared_ptr<LivePolicy const> policy);

    /// The statement is known while StatementCounts are on. The route must be there as long as the
    /// context is asked about it.
    RouteOutcome evaluate(Agent::Route const & route);

    std::shared_ptr<LivePolicy const> const & policy() const { return policy_; }
    /// Of what was evaluated last.
    Eval::EvalResult result() const { return result_; }
    Agent::AgentContext const & context() const { return *agent_; }

private:
    U16 numberOf(U32 decider);

    std::shared_ptr<LivePolicy const> policy_;
    // One context in two types, so that no pointer is converted for a route.
    Ptr<Agent::AgentContext> agent_;
    Ptr<Eval::EvalContextBase> context_;
    Eval::EvalResult result_;
    std::vector<U16> numbers_; ///< of statements by deciders
};

/// Evaluates routes of tables by the policy that is shown, and, while another one is to take its
/// place, by that as well. Belongs to one thread.
///
///     RouteJudge judge(store, policy);
///     judge.judge(route, peer, Rib::inPre, table.side);
class RouteJudge {
public:
    RouteJudge(AttributeStore const & store, std::shared_ptr<LivePolicy const> policy)
        : shown_(std::move(policy)), routes_(store) {}

    std::shared_ptr<LivePolicy const> const & policy() const { return shown_.policy(); }
    /// The one that is to take its place; null for none.
    void nextIs(std::shared_ptr<LivePolicy const> policy);
    bool hasNext() const { return next_.has_value(); }
    /// It has: from the next route on it is shown.
    void nextIsShown();

    /// By the policy that is shown.
    Verdict verdict(RibRoute const & route, PeerState const & peer, Rib rib);
    /// What was evaluated last, and what it changed.
    Agent::Route const & route() const { return route_; }
    Agent::AgentContext const & context() const { return shown_.context(); }

    /// Sets the route's outcomes: that of the policy that is shown on its side, that of the next
    /// one, or none, on the other.
    void judge(RibRoute & route, PeerState const & peer, Rib rib, U8 side);
    /// Sets the outcome of the next policy of a route that has the other one.
    void judgeNext(RibRoute & route, PeerState const & peer, Rib rib, U8 side);

private:
    /// Of two outcomes of one route.
    bool writesOther(RouteOutcome const & shown, RouteOutcome const & next) const;

    RouteEvaluator shown_;
    std::optional<RouteEvaluator> next_;
    StoredRoutes routes_;
    Agent::Route route_;
};

} // namespace Qcf::Live
