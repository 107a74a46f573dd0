#pragma once

#include "Agent/Routes/Route.h"
#include "Text/Declarations.h"

namespace Qcf::Watch {

/// The route that a test declares: its own, or one of a file of routes, which is looked for beside
/// the text. Throws what readers of routes throw, and DocumentError where the file has fewer.
Agent::Route readTestRoute(Text::RouteDeclaration const & declared, Text::Sources const & sources);

} // namespace Qcf::Watch
