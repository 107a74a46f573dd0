#pragma once

#include "Platform/Framework/Types.h"

namespace Routing {

/// Code of the protocol that a route came from. The codes are the host's and are known by number
/// only: every value from 0 to 255 is a valid `RouteProto`, written as `RouteProto{52}`. Comparing
/// and showing it is all that is done with it. A route that carries a code which nobody knows is a
/// route all the same.
enum class RouteProto : U8 {};

namespace Isis {

/// IS-IS levels of a route, as one number: which of the two levels it belongs to. That nothing was
/// told is not the same as that there is no level.
enum class Level : U8 {
    unset = 0,      ///< not told
    level1 = 1,     ///< level 1 alone
    level2 = 2,     ///< level 2 alone
    level1And2 = 3, ///< both
    none = 4,       ///< explicitly no level
};

} // namespace Isis
} // namespace Routing
