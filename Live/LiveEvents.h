#pragma once

#include "Agent/Routes/ValueRenderer.h"
#include "Live/Comparison.h"
#include "Live/PolicySwap.h"
#include "Live/RouteEvents.h"
#include "Live/TopDeciding.h"

namespace Qcf::Live {

/// The statement that decided about a route.
struct DecidedBy {
    Watch::NodePlace const * place = nullptr; ///< null where the function's end was reached
    String reason = {};
};

/// Events as lines of JSON, for programs: `event`, `time`, then `router`, `peer` and `rib` as far
/// as they apply, then what the event says. Each line is handed out whole, with its end.
///
///     {"event":"sync","time":"...","router":"edge1","peer":"192.0.2.1","rib":"in-pre",
///      "family":"ipv4","routes":1639}
///
/// Belongs to one thread.
class LiveEvents {
public:
    using Write = std::function<void(std::string_view line)>;
    using Clock = std::function<String()>;

    /// `clock` says the time of an event; that of the machine unless it is given.
    explicit LiveEvents(Write write, Clock clock = {});

    void note(Where const & where, String const & text);
    void peer(Where const & where, bool isUp, U8 reason);
    void sync(Where const & where, AddressFamily family, U64 routes);
    /// What is new of a route; without `decided` nothing is said of it.
    void route(RouteNews const & news, DecidedBy const & decided);
    /// A route that is not equal to what the router has.
    void differs(RouteDifference const & difference, Rib rib, DecidedBy const & decided);
    /// Another policy has taken the place of the one before: how many routes that changes, and by
    /// which statements most of those are decided now that have another verdict.
    void policy(PolicyChange const & change);
    /// A difference of a route is over.
    void agrees(Where const & where, Agent::UpdatePrefix const & key);
    /// What all comparisons came to.
    void summary(ComparisonCounts const & counts);

private:
    void begin(char const * event, Where const & where);
    void end();
    void member(char const * key, auto const & value) {
        renderer_.key(key);
        renderer_.value(value);
    }
    void prefix(Agent::UpdatePrefix const & key);
    void attribute(ComparedAttribute attribute, RouteDifference const & difference);
    void value(char const * key, Agent::Route const & route, std::size_t index);

    Write write_;
    Clock clock_;
    String line_;
    RendererV2 renderer_;
    Agent::ValueRenderer values_;
};

} // namespace Qcf::Live
