#pragma once

#include "Text/Declarations.h"

namespace Qcf::Text {

/// Settles which declared list each construct names, and of which family or kind it is where the
/// construct leaves that open. Tells of lists of another kind or family, of names that are taken
/// twice, and warns of names that are near to a declared one and of lists that nothing asks.
void resolveLists(Declarations & declarations, Sources const & sources, Messages & messages);

} // namespace Qcf::Text
