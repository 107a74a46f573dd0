#pragma once

#include "Watch/TraceNode.h"

namespace Qcf::Watch {

/// Notes why a node's result is unknown, and which unknown results inside it the node made
/// something else of. To be called when the node was left, after all inside it. The context is at
/// the node.
///
/// Reasons begin where a value, a list or a function has no answer, and travel up with the result.
void noteUnknown(TraceNode & at, Eval::EvalContext & context);

} // namespace Qcf::Watch
