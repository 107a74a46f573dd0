#pragma once

#include "Agent/Routes/Route.h"
#include "Agent/Routes/RouteChanges.h"

#include <vector>

namespace Qcf::Agent {

/// The route with what an evaluation changed: as an agent would have it afterwards. Facts of the
/// session stay. Everything is copied, so that it outlives both.
///
///     Route const after = appliedTo(route, context->changes());
///
Route appliedTo(Route const & route, RouteChanges const & changes);

/// An attribute that two routes have other values of, as the texts that routes are read from.
struct AttributeDifference {
    std::string_view name; ///< the language name
    String before;
    String after;
};

/// What differs between two routes, in the order of the language names; sessions are not compared.
std::vector<AttributeDifference> differences(Route const & before, Route const & after);

/// The value of an attribute as the text of a route has it; empty where a route has none of that
/// name.
String attributeText(Route const & route, std::string_view languageName);

} // namespace Qcf::Agent
