#pragma once

#include "Watch/TraceNode.h"

namespace Qcf::Questions {

/// A lasting effect of a part of an evaluation.
struct TraceEffect {
    Eval::NodeClass const * target; ///< the attribute's class, or that of a built-in function
    String after;

    bool operator==(TraceEffect const &) const = default;
};

/// What the evaluation of the node changed, in order. Writes of what was there already are left
/// out, unless they are asked for.
std::vector<TraceEffect> effectsOf(Watch::TraceNode const & node, bool withIdle);

} // namespace Qcf::Questions
