// The smallest agent: it gives the engine the attributes that it has, takes back those that a
// function may change, and evaluates one function for its routes.

#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "QcfLib/QcfEval.h"

#include <iostream>

using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): shorter to read

namespace {

/// A route as this agent keeps it.
struct Route {
    IpGenPrefix prefix;
    U64 med;
    U64 localPreference;
};

/// What the engine sees of a route: one object a thread, used for route after route. Attributes
/// that are not overridden have their defaults.
class Context final : public EvalContext {
public:
    Context() : EvalContext(nullptr, nullptr, nullptr) {}

    void routeIs(Route & route) {
        reset();
        route_ = &route;
    }

    IpGenPrefix ipPrefixInput() const override { return route_->prefix; }
    U64 medInput() const override { return route_->med; }
    U64 localPrefInput() const override { return route_->localPreference; }
    void medIs(U64 med) override { route_->med = med; }
    void localPrefIs(U64 localPreference) override { route_->localPreference = localPreference; }

private:
    Route * route_ = nullptr;
};

Ptr<ExpressionList> statements(PtrConst<Expression> first, PtrConst<ExpressionList> rest) {
    static U64 key = 100;
    return expressionListFactory(++key, std::move(first), std::move(rest));
}

Ptr<ReturnExpression> returning(U64 key, TriStateBoolValue value) {
    auto const constant = triStateBoolImmediateFactory(key, value);
    return returnExpressionFactory(key + 2, triStateBoolExpressionFactory(key + 1, constant));
}

/// if prefix.length > 24 { return false }  local_preference = 200; med += 10; return true
Ptr<Function> policy() {
    auto const tooLong = intGreaterThanFactory(3, Attribute::ipPrefixLengthFactory(1),
                                               intImmediateFactory(2, 24, false));
    auto const refuse = blockFactory(20, statements(returning(4, QcfFalse()), nullptr));
    auto const prefer =
        intAssignFactory(8, Attribute::localPrefFactory(7), intImmediateFactory(9, 200, false));
    auto const worsen =
        intPlusEqFactory(12, Attribute::medFactory(10), intImmediateFactory(11, 10, false));
    auto const rest =
        statements(prefer, statements(worsen, statements(returning(13, QcfTrue()), nullptr)));
    auto const body =
        blockFactory(22, statements(ifExpressionFactory(21, tooLong, refuse, nullptr), rest));
    return functionFactory(23, "embedded", FunctionMetadata(), Routing::Policy::RouteMapFeatures(),
                           AccessibleAttributes(), false, body);
}

} // namespace

int main() {
    Route routes[] = {{*IpGenPrefix::parse("192.0.2.0/24"), 5, 100},
                      {*IpGenPrefix::parse("198.51.100.128/25"), 5, 100}};
    auto const function = policy();
    auto const agent = makePtr<Context>();
    Ptr<EvalContextBase> const context = agent;
    for (Route & route : routes) {
        agent->routeIs(route);
        EvalResult const result = function->eval(context);
        std::cout << route.prefix << ' ' << result.retVal()
                  << " local_preference=" << route.localPreference << " med=" << route.med << '\n';
    }
    return routes[0].med == 15 && routes[1].med == 5 ? 0 : 1;
}
