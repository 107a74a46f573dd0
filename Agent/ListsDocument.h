#pragma once

#include "Agent/Lists.h"
#include "Agent/Reporter.h"
#include "Platform/Render/DocumentError.h"

namespace Qcf::Agent {

/// Reads a lists document ("qcf": "lists/1"). Throws DocumentError with one line that names the
/// file, the place in it, what was wanted and what was found; a ROA table that stands in a file of
/// its own is looked for beside `fileName`, and its faults are told under its own name. `warn` is
/// told what such a file has that is left out.
PtrConst<Lists> readLists(String text, String const & fileName, Reporter const & warn = {});

/// The same for a file; `-` is standard input.
PtrConst<Lists> readListsFile(String const & path, Reporter const & warn = {});

} // namespace Qcf::Agent
