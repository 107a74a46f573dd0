#pragma once

#include "Agent/Routes/Route.h"

class JsonValue;

namespace Qcf::Agent {

/// Fills a route from an object whose members are attributes by language name, and `session`.
/// Attributes that are left out get their defaults; storage is reused. Throws DocumentError, which
/// names the place, for anything that is no attribute or does not fit one.
///
///     readRoute(document.root(), route); // {"prefix": "10.0.0.0/8", "med": 5}
///
/// After an exception the route is in no particular state.
///
/// The sets come out in order and without duplicates, the numbers within their limits, so that the
/// engine may rely on it. Nothing is read from the object later.
void readRoute(JsonValue const & object, Route & route);

} // namespace Qcf::Agent
