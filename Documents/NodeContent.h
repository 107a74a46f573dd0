#pragma once

#include "Documents/NodeFacts.h"

namespace Qcf::Documents {

/// Appends what tells the node from others of different content: class, scalars, and the structure
/// numbers of its children, whose facts stand in the order of its node fields. Keys do not count,
/// floats by their bits. For shared classes.
///
/// Two nodes have the same bytes exactly if they are equal, as far as equal children have equal
/// numbers; no content runs over into another. The bytes are good for one process alone.
void appendContent(Eval::AetNodeBase const & node, std::span<NodeFacts const * const> children,
                   String & content);

} // namespace Qcf::Documents
