#pragma once

#include "Questions/Flip.h"

namespace Qcf::Questions {

/// Appends what was found for people: a line a flip, the first behind "flips:", and how far the
/// search went.
///
///     flips: prefix length 25 -> 24 (accepted, line 77)   [1 found of 61 tried; complete for med]
void appendFlips(String & out, FlipReport const & report, Watch::NodePlaces const & places);

/// Writes the same as the members `flips` and `flipSearch` of the object that is open. Each flip
/// has `attribute`, `from`, `to` with the values of the routes format, `and` with the same three of
/// a pair's second change, `distance`, `verdict`, `decidedBy` and the whole changed `route`.
void renderFlips(FlipReport const & report, Agent::Route const & before,
                 Watch::NodePlaces const & places, RendererV2 & renderer);

} // namespace Qcf::Questions
