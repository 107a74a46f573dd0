#pragma once

#include "Documents/Program.h"
#include "Text/Declarations.h"
#include "Text/SourceMap.h"

#include <span>

namespace Qcf::Text {

/// Settles what the declarations of all texts mean to each other: which function a call calls and
/// whether its arguments suit, of which family a list is, in which order functions stand. Tells
/// whatever is wrong. Functions end up in the order in which their nodes are to be made.
///
/// Takes time in proportion to the declarations.
void resolve(Declarations & declarations, Sources const & sources, Messages & messages);

/// Makes the program of functions that were resolved without an error, in their order, which has
/// callees before callers. Tells what the tree itself refuses.
Documents::Program makeProgram(std::span<FunctionDeclaration const> functions,
                               Sources const & sources, Messages & messages, SourceMap & map);

} // namespace Qcf::Text
