#pragma once

#include "Documents/NodeFacts.h"
#include "Platform/Render/JsonDocument.h"

namespace Qcf::Documents {

class NodeBuilder;

/// Refuses, with a failure at `place`, a node that evaluation would stop the process at or that is
/// beyond the limits on trees. Completes what `facts` say about calls and logical chains.
/// `children` stand in the order of the node's fields.
void checkNode(JsonValue const & place, Eval::AetNodeBase const & node,
               std::span<NodeFacts const * const> children, NodeFacts & facts,
               NodeBuilder const & builder);

} // namespace Qcf::Documents
