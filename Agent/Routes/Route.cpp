#include "Agent/Routes/Route.h"

namespace Qcf::Agent {

namespace {

template <typename Value>
void restore(Value & value, Value const & fresh) {
    if constexpr (requires { value.clear(); }) {
        value.clear(); // keeps the storage
    } else {
        value = fresh;
    }
}

/// The members that every route carries; those of the other record are left alone.
template <typename Value>
void restoreCommon(Route & route, Route const & fresh, Value CommonAttributes::*member) {
    restore(route.*member, fresh.*member);
}
template <typename Value>
void restoreCommon(Route & /*route*/, Route const & /*fresh*/, Value RareAttributes::* /*member*/) {
}

template <auto... members>
void restoreAll(MemberList<members...> /*all*/, Route & route, Route const & fresh) {
    (restoreCommon(route, fresh, members), ...);
}

} // namespace

void Route::clear() {
    static Route const fresh;
    rare_.clear();
    session = fresh.session;
    restoreAll(RouteMembers(), *this, fresh);
}

std::span<char const * const> routeAttributeNames() { return routeMemberNames; }

} // namespace Qcf::Agent
