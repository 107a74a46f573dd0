#pragma once

#include "Text/Declarations.h"

namespace Qcf::Text {

/// Reads a route of a test behind the word `route`: `{ prefix 10.0.0.0/8; med 5 }` or
/// `from "FILE" NUMBER`. Keys and types of values are those of the routes format, which is what the
/// route is answered as. Throws Recovery after an error.
RouteDeclaration readRoute(Cursor & cursor, Scope const & scope);

/// Whether routes have a value of that name: an attribute that is neither the route as it came nor
/// computed from another.
bool isRouteKey(Eval::NodeClass const & attribute);
/// The names of all of them.
std::vector<std::string_view> routeKeys();

} // namespace Qcf::Text
