#pragma once

#include "Documents/Program.h"

namespace Qcf::Documents {

/// All nodes but the document's functions, children first and otherwise by key, so that equal
/// programs are written alike however they came to be. A call may so come before the function that
/// it calls.
///
/// Sorting by key is all that most programs need, since their children have smaller keys; any
/// others are ordered in time proportional to nodes and children.
std::vector<Eval::AetNodeBase const *> nodesInOrder(Program const & program);

} // namespace Qcf::Documents
