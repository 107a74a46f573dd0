#pragma once

#include "Documents/Program.h"

namespace Qcf::Documents {

/// All nodes but the document's functions, children first and otherwise by key, so that equal
/// programs are written alike however they came to be.
std::vector<Eval::AetNodeBase const *> nodesInOrder(Program const & program);

} // namespace Qcf::Documents
