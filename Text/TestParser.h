#pragma once

#include "Text/Declarations.h"

namespace Qcf::Text {

/// Reads a test behind the word `test`. Throws Recovery after an error; the cursor then stands
/// within the test.
TestDeclaration readTest(Cursor & cursor, DraftTree & tree, TextScope const & outer,
                         ConstantScope const & listConstants);

} // namespace Qcf::Text
