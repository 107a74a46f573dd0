#pragma once

#include "Agent/Routes/Route.h"
#include "Platform/Render/RendererV2.h"
#include "QcfLib/EvaluationObserver.h"
#include "QcfLib/QcfEval.h"

#include <bitset>
#include <unordered_map>

namespace Qcf::Questions {

/// A part of a route that can be changed by itself: an attribute, by its index in
/// routeAttributeNames(), or one of the facts of the session, which follow.
using RoutePart = std::size_t;

inline constexpr RoutePart outboundPart = Agent::RouteMembers::size;
inline constexpr RoutePart localAsPart = outboundPart + 1;
inline constexpr RoutePart vrfPart = outboundPart + 2;
inline constexpr std::size_t routePartCount = outboundPart + 3;

/// Parts of a route, by a bit each.
using RoutePartSet = std::bitset<routePartCount>;

/// The part as texts name it: "med", "session.vrf_id".
String partName(RoutePart part);
/// The part's value as the routes format has it.
void renderPart(Agent::Route const & route, RoutePart part, RendererV2 & renderer);
String partText(Agent::Route const & route, RoutePart part);

/// The parts that an expression itself reads, those that its operands name and those that it asks
/// the agent for; what the expressions inside it read is theirs.
RoutePartSet partsReadBy(Eval::Expression const & node);

/// Those of them that no operand names: a list of AS paths looks at the origin, a dynamic list at
/// the session, the body of a built-in function at what it is for.
RoutePartSet partsReadUnnamed(Eval::AetNodeBase const & node);

/// Gathers the parts that an evaluation read, or at most too many: whatever is not among them
/// cannot change its result alone.
///
///     PartsRead parts;
///     context->evaluationObserverIs(&parts);
///     parts.clear();
///     function->eval(context);
///     parts.read().test(*findRouteAttribute("med"));
///
/// Keeps what it found out about nodes, which must outlive it. One thread's.
class PartsRead final : public Eval::EvaluationObserver {
public:
    void entered(Eval::Expression const & node, Eval::EvalContext & context) override;
    void left(Eval::Expression const & /*node*/, Eval::EvalResult /*result*/,
              Eval::EvalContext & /*context*/) override {}
    void thrown(Eval::Expression const & /*node*/, Eval::EvalContext & /*context*/) override {}

    RoutePartSet const & read() const { return read_; }
    void clear() { read_.reset(); }

private:
    RoutePartSet read_;
    std::unordered_map<Eval::Expression const *, RoutePartSet> known_;
};

} // namespace Qcf::Questions
