#pragma once

#include "QcfLib/QcfEval.h"

/// Which calls need no frame of their own: a callee whose arguments are constants can be lowered
/// where it is called, with the constants in the arguments' places.
namespace Qcf::Eval {

/// The nodes of a function's body, each once and callees not at all.
std::size_t ownNodes(Function const & function);

/// The nodes of a function's body, each counted wherever it stands and callees not at all, when its
/// arguments are used in places only that a plan fills with constants: on the right side of
/// comparisons, assignments and arithmetic of integers, and as arguments of calls. Otherwise, and
/// when they are more than `limit`: nothing.
std::optional<std::size_t> sizeInPlace(Function const & function, std::size_t limit);

} // namespace Qcf::Eval
