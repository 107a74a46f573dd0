#pragma once

#include "Agent/Evaluation/AgentContext.h"
#include "Live/AttributeStore.h"
#include "Live/PeerState.h"
#include "QcfLib/QcfEval.h"

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

/// Evaluates a function for routes of tables. After the largest route it allocates nothing. Belongs
/// to one thread.
///
///     RouteJudge judge(store, function, matchers);
///     route.verdict = judge.verdict(route, peer, Rib::inPre);
class RouteJudge {
public:
    RouteJudge(AttributeStore const & store, PtrConst<Eval::Function> function,
               PtrConst<ExternalMatchersBase> const & matchers);

    RibRoute::Verdict verdict(RibRoute const & route, PeerState const & peer, Rib rib);
    /// What was evaluated last, and what it changed.
    Agent::Route const & route() const { return route_; }
    Agent::AgentContext const & context() const { return *agent_; }

private:
    PtrConst<Eval::Function> function_;
    // One context in two types, so that no pointer is converted for a route.
    Ptr<Agent::AgentContext> agent_;
    Ptr<Eval::EvalContextBase> context_;
    StoredRoutes routes_;
    Agent::Route route_;
};

} // namespace Qcf::Live
