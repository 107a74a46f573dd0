#pragma once

#include "QcfLib/QcfEval.h"

#include <optional>

/// Which calls need no frame of their own: a callee whose arguments are constants can be inlined,
/// with the constants in the arguments' places.
namespace Qcf::Eval {

/// The nodes of a function's body, each once and callees not at all.
std::size_t ownNodes(Function const & function);

/// The nodes of a function's body, each counted wherever it stands and callees not at all, when its
/// arguments are used as integers in constant places only. Otherwise, and when they are more than
/// `limit`: nothing.
std::optional<std::size_t> sizeInlined(Function const & function, std::size_t limit);

} // namespace Qcf::Eval
