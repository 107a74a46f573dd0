#pragma once

#include "Documents/NodeTable.h"
#include "Documents/Place.h"

namespace Qcf::Documents {

/// What is wanted of an operand out of which a return would come.
inline constexpr std::string_view wantsNoReturn = "operand that does not return";

/// Refuses, with a DocumentError at `place`, a node that evaluation would stop the process at or
/// that is beyond the limits on trees: an operand that returns, a call whose arguments are not
/// those that its callee reads, bounds of ranges that do not match. Whatever passes can be
/// evaluated.
///
/// Completes what `facts`, which are the node's own, say about calls and logical chains. `children`
/// stand in the order of the node's fields, null for absent ones. `earlier` has all nodes below.
void checkNode(Place const & place, Eval::AetNodeBase const & node,
               std::span<NodeFacts const * const> children, NodeFacts & facts,
               NodeTable const & earlier);

} // namespace Qcf::Documents
