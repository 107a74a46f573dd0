#include "Agent/Routes/Route.h"

/// Clearing a route, which readers do for each one: storage is kept, and the rare attributes, where
/// there are any, are only marked as absent.
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
    // The list has the members of both records; the overloads tell them apart.
    (restoreCommon(route, fresh, members), ...);
}

} // namespace

void Route::clear() {
    static Route const fresh;
    // Whatever the rare attributes were, they read as their defaults from here on.
    rare_.clear();
    session = fresh.session;
    restoreAll(RouteMembers(), *this, fresh);
}

std::span<char const * const> routeAttributeNames() { return routeMemberNames; }

} // namespace Qcf::Agent
