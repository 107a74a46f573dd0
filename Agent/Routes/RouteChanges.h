#pragma once

#include "Agent/Routes/RouteGenerated.h"

namespace Qcf::Agent {

/// What a function changed of a route. A member counts only while its attribute's flag is set: the
/// object is reused from route to route, and `clear` clears the flags alone.
///
///     changes.eachChange([](auto attribute, char const * name, auto const & value) { ... });
///
/// Sets are lent: they stand in the context, in the function's constants or in the route itself,
/// and are good until the context gets another route. Paths are copies.
struct RouteChanges : ChangedAttributes {
    using Attribute = Eval::ModifiableAttribute;

    /// Bit n is set when attribute n was written.
    U32 flags = 0;

    void clear() { flags = 0; }
    bool changed(Attribute attribute) const { return (flags & flagOf(attribute)) != 0; }
    void mark(Attribute attribute) { flags |= flagOf(attribute); }

    /// Calls `visit(attribute, languageName, value)` for each change, in flush order.
    template <typename Visitor>
    void eachChange(Visitor && visit) const {
        eachMember(ChangeMembers(), visit);
    }

private:
    template <auto... members, typename Visitor>
    void eachMember(MemberList<members...> /*all*/, Visitor & visit) const {
        U8 number = 0;
        (visitChanged(Attribute{number++}, this->*members, visit), ...);
    }
    template <typename Value, typename Visitor>
    void visitChanged(Attribute attribute, Value const & value, Visitor & visit) const {
        if (changed(attribute)) {
            visit(attribute, changeMemberNames[static_cast<U8>(attribute)], value);
        }
    }
};

/// Language names of the modifiable attributes, by ModifiableAttribute.
std::span<char const * const> modifiableAttributeNames();

} // namespace Qcf::Agent
