#pragma once

#include "Agent/Routes/Boxed.h"
#include "Agent/Routes/RouteGenerated.h"
#include "Agent/Routes/Session.h"

namespace Qcf::Agent {

/// One route with its attributes and the facts of its session, each with the value that it has when
/// nothing is known. Made to be reused from route to route: clearing keeps the storage.
///
///     Route route;
///     route.med = 50;                            // what every route carries stands in place
///     route.rareIs().tag = 7;                    // the rest in a record that most routes lack
///     assert(route.rare().isisMetric == 0);
///
/// Sets must be ascending and without duplicates; the limits of numbers are in RouteAttributes.h.
/// Whoever fills a route sees to both. Attributes can also be gone through in the order of their
/// language names (`routeAttributeNames`).
///
/// A plain value: a copy has everything, the rare attributes included. One thread writes it.
struct Route : CommonAttributes {
    /// Facts of the session, which are no attributes.
    Session session;

    /// The rare attributes; their defaults as long as none was set.
    RareAttributes const & rare() const { return rare_.get(); }
    /// The rare attributes for writing.
    RareAttributes & rareIs() { return rare_.make(); }
    /// Restores the defaults and keeps the storage.
    void clear();

    /// Notes that attribute `index` of routeAttributeNames() was in the source, as readers do for
    /// those that they meet: a default may stand there.
    void carriedIs(std::size_t index) { carried_ |= U64{1} << index; }
    /// Whether the route came with that attribute: it was noted, or has another value than its
    /// default, as in a route that was filled by hand.
    bool carries(std::size_t index) const;

    /// Calls `visit` with attribute `index` of routeAttributeNames() for writing; not at all when
    /// there is none. A visit of a rare attribute makes the rare record, whether anything is
    /// written or not.
    template <typename Visitor>
    void visitAttribute(std::size_t index, Visitor && visit) {
        visitMember(RouteMembers(), index, visit);
    }

    /// Calls `visit(index, value)` for every attribute in the order of routeAttributeNames().
    /// Rare ones that nobody set are visited, too, with their defaults.
    template <typename Visitor>
    void eachAttribute(Visitor && visit) const {
        eachMember(RouteMembers(), visit);
    }

private:
    /// A member where it stands, in the route or in the rare record, which writing makes.
    template <typename Value>
    Value & writable(Value CommonAttributes::*member) {
        return this->*member;
    }
    template <typename Value>
    Value & writable(Value RareAttributes::*member) {
        return rareIs().*member;
    }
    template <typename Value>
    Value const & readable(Value CommonAttributes::*member) const {
        return this->*member;
    }
    template <typename Value>
    Value const & readable(Value RareAttributes::*member) const {
        return rare().*member;
    }

    /// One function a member, so that an index leads to its member by a table.
    template <auto member, typename Visitor>
    static void visitOne(Route & route, Visitor & visit) {
        visit(route.writable(member));
    }
    template <auto... members, typename Visitor>
    void visitMember(MemberList<members...> /*all*/, std::size_t index, Visitor & visit) {
        static constexpr void (*visits[])(Route &, Visitor &) = {&visitOne<members, Visitor>...};
        if (index < sizeof...(members)) {
            visits[index](*this, visit);
        }
    }
    template <auto... members, typename Visitor>
    void eachMember(MemberList<members...> /*all*/, Visitor & visit) const {
        std::size_t index = 0;
        (visit(index++, readable(members)), ...);
    }

    static_assert(RouteMembers::size <= 64, "a bit an attribute");
    U64 carried_ = 0;
    /// Apart, since most routes have none of them.
    Boxed<RareAttributes> rare_;
};

/// The index of an attribute that is known where the code is written:
/// `routeIndexOf<&CommonAttributes::med>()`.
template <auto member, auto... members>
constexpr std::size_t routeIndexIn(MemberList<members...> /*all*/) {
    std::size_t index = 0;
    std::size_t found = sizeof...(members);
    auto const look = [&](bool isIt) { found = isIt ? index : found, ++index; };
    (look(std::is_same_v<MemberList<member>, MemberList<members>>), ...);
    return found;
}
template <auto member>
constexpr std::size_t routeIndexOf() {
    constexpr std::size_t index = routeIndexIn<member>(RouteMembers());
    static_assert(index < RouteMembers::size, "a member of a route");
    return index;
}

/// Language names of the attributes of a Route, in the order of visitAttribute's index.
std::span<char const * const> routeAttributeNames();

} // namespace Qcf::Agent
