#pragma once

#include "Documents/NodeFacts.h"
#include "Documents/Program.h"

namespace Qcf::Documents {

/// What is wrong with a function although it can be read, by what is known of its tree.
FunctionFault faultOf(Eval::Function const & function, NodeFacts const & facts);

} // namespace Qcf::Documents
