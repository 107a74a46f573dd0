#pragma once

#include "Text/Declarations.h"

namespace Qcf::Text {

/// Reads a function from its annotations or the word `function` on.
///
///     if (auto function = readFunction(cursor, tree, constants)) ...
///
/// Throws Recovery where the header cannot be read; the cursor then stands within it. A body with
/// errors is told and leaves the function without a draft.
FunctionDeclaration readFunction(Cursor & cursor, DraftTree & tree, Constants const & constants);

} // namespace Qcf::Text
