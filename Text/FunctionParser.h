#pragma once

#include "Text/Declarations.h"

namespace Qcf::Text {

/// Reads a function from its annotations or the word `function` on.
///
///     FunctionDeclaration function;
///     readFunction(cursor, tree, scope, function);
///
/// Throws Recovery where the header cannot be read or the body has no end; the cursor then stands
/// within it, and `into` holds what was read before. A body with errors is told and leaves the
/// function without a draft.
void readFunction(Cursor & cursor, DraftTree & tree, TextScope const & outer,
                  FunctionDeclaration & into);

} // namespace Qcf::Text
