#pragma once

#include "Documents/NodeFacts.h"

namespace Qcf::Documents {

/// Appends what tells the node from others of different content: class, scalars, and the structure
/// numbers of its children, whose facts stand in the order of its node fields. Keys do not count,
/// floats by their bits. For shared classes.
void appendContent(Eval::AetNodeBase const & node, std::span<NodeFacts const * const> children,
                   String & content);

} // namespace Qcf::Documents
