#pragma once

#include "Text/Cursor.h"
#include "Text/Scope.h"

namespace Qcf::Text {

/// Reads a constant behind the word `const`: a name, `=`, and a literal or a set of them, in which
/// constants above may stand.
///
///     const LIMIT = 24
///     const OURS = { 65000:1, 64512..65534 }
///
/// Throws Recovery after an error; the name is in `into` where it is known and free.
void readConstant(Cursor & cursor, Constants const & above, Constant & into);

} // namespace Qcf::Text
