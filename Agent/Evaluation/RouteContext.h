#pragma once

#include "Agent/Routes/Route.h"
#include "Agent/Routes/RouteChanges.h"
#include "QcfLib/QcfEvalContext.h"

namespace Qcf::Agent {

/// The evaluation context of an agent whose routes are Route objects: knows the route that is
/// evaluated and gathers what the evaluation writes back.
///
///     context->routeIs(route);
///     result = function->eval(context);
///     context->changes().eachChange(...);
///
/// The route must outlive its evaluation, and must not change before the context gets the next one:
/// its sets and its path are lent to the engine. One thread uses a context at a time.
class RouteContext : public Eval::EvalContext {
public:
    using EvalContext::EvalContext;

    /// The route to evaluate next. Forgets the last one and its changes in place: `reset` is not
    /// called.
    void routeIs(Route const & route) {
        forgetRoute();
        changes_.clear();
        route_ = &route;
        ++routeNumber_;
    }
    Route const & route() const { return *route_; }
    /// Routes that were given so far: tells one from the next, which may stand in the same object.
    U64 routeNumber() const { return routeNumber_; }
    /// What the last evaluation wrote back.
    RouteChanges const & changes() const { return changes_; }

protected:
    using Attribute = Eval::ModifiableAttribute;

    /// Notes a new value of an attribute: a path is copied, a set is lent, null is an empty one.
    template <typename Member, typename Value>
    void changedIs(Attribute attribute, Member ChangedAttributes::*member, Value const & value) {
        changes_.mark(attribute);
        Member & changed = changes_.*member;
        if constexpr (requires { value->asns(); }) {
            value == nullptr ? changed.clear() : void(changed = value->asns());
        } else if constexpr (requires { value->view(); }) {
            changed = value ? value->view() : Member();
        } else {
            changed = value;
        }
    }

private:
    Route const * route_ = nullptr;
    U64 routeNumber_ = 0;
    RouteChanges changes_;
};

} // namespace Qcf::Agent
