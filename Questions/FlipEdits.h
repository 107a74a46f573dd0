#pragma once

#include "Questions/FlipConstants.h"

#include <functional>

namespace Qcf::Questions {

/// One part of a route given another value.
struct RouteEdit {
    RoutePart part = 0;
    U64 distance = 0; ///< from the route's own value, see FlipCandidates.h
    std::function<void(Agent::Route &)> apply;
};

/// The changes of one part that are worth trying.
struct PartEdits {
    std::vector<RouteEdit> edits; ///< the nearest first
    /// What they are all changes of as far as verdicts go: every outcome that some value of it has
    /// is that of one of these, or of the route itself, and none is nearer. Empty where that is not
    /// known.
    String complete;
};

PartEdits editsOf(Agent::Route const & route, RoutePart part, FlipGround const & ground);

} // namespace Qcf::Questions
