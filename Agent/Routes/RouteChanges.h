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

    /// Nothing counts as changed any more; the values stay and mean nothing.
    void clear() { flags = 0; }
    /// Whether the attribute was written back, so that its member counts.
    bool changed(Attribute attribute) const { return (flags & flagOf(attribute)) != 0; }
    /// The attribute's member counts from here on; writing it is the caller's.
    void mark(Attribute attribute) { flags |= flagOf(attribute); }

    /// Calls `visit(attribute, languageName, value)` for each change, in flush order.
    template <typename Visitor>
    void eachChange(Visitor && visit) const {
        eachMember(ChangeMembers(), visit);
    }

private:
    /// The list of members is in the order of ModifiableAttribute, so that places are numbers.
    template <auto... members, typename Visitor>
    void eachMember(MemberList<members...> /*all*/, Visitor & visit) const {
        U8 number = 0;
        (visitChanged(Attribute{number++}, this->*members, visit), ...);
    }
    /// Passes over what was not written: it is left from some route before.
    template <typename Value, typename Visitor>
    void visitChanged(Attribute attribute, Value const & value, Visitor & visit) const {
        if (changed(attribute)) {
            visit(attribute, changeMemberNames[static_cast<U8>(attribute)], value);
        }
    }
};

/// Language names of the modifiable attributes, by ModifiableAttribute. One table for all threads,
/// which holds as long as the program.
std::span<char const * const> modifiableAttributeNames();

} // namespace Qcf::Agent
