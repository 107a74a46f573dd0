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

template <typename Value>
bool isSame(Value const & a, Value const & b) {
    if constexpr (requires { a.asns(); }) {
        return a.asns() == b.asns();
    } else {
        return a == b;
    }
}

} // namespace

void Route::clear() {
    static Route const fresh;
    // Whatever the rare attributes were, they read as their defaults from here on.
    rare_.clear();
    carried_ = 0;
    session = fresh.session;
    restoreAll(RouteMembers(), *this, fresh);
}

bool Route::carries(std::size_t index) const {
    if (((carried_ >> index) & 1) != 0) {
        return true;
    }
    static Route const fresh;
    bool isOther = false;
    eachAttribute([&](std::size_t at, auto const & value) {
        if (at != index) {
            return;
        }
        fresh.eachAttribute([&](std::size_t freshAt, auto const & freshValue) {
            if constexpr (std::is_same_v<decltype(value), decltype(freshValue)>) {
                isOther = isOther || (freshAt == index && !isSame(value, freshValue));
            }
        });
    });
    return isOther;
}

std::span<char const * const> routeAttributeNames() { return routeMemberNames; }

} // namespace Qcf::Agent
