#pragma once

#include "Watch/TraceNode.h"

namespace Qcf::Questions {

/// A lasting effect of a part of an evaluation.
struct TraceEffect {
    Eval::NodeClass const * target; ///< the attribute's class, or that of a built-in function
    String after;

    bool operator==(TraceEffect const &) const = default;
};

/// What the evaluation of the node changed, in order: changes that came to nothing are left out.
std::vector<TraceEffect> effectsOf(Watch::TraceNode const & node);

} // namespace Qcf::Questions
