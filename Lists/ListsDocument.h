#pragma once

#include "Lists/NamedLists.h"
#include "Lists/Reporter.h"
#include "Platform/Render/DocumentError.h"

namespace Qcf::Lists {

/// Reads a lists document ("qcf": "lists/1"). Throws DocumentError with one line that names the
/// file, the place in it, what was wanted and what was found; a ROA table that stands in a file of
/// its own is looked for beside `fileName`, and its faults are told under its own name. `warn` is
/// told what such a file has that is left out.
PtrConst<NamedLists> readLists(String text, String const & fileName, Reporter const & warn = {});

/// The same for a file; `-` is standard input.
PtrConst<NamedLists> readListsFile(String const & path, Reporter const & warn = {});

} // namespace Qcf::Lists
