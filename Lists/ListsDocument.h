#pragma once

#include "Lists/EntryFindings.h"
#include "Lists/Reporter.h"
#include "Platform/Render/JsonDocument.h"

namespace Qcf::Lists {

/// Reads a lists document ("qcf": "lists/1"), which holds named lists by kind:
///
///     {"qcf": "lists/1",
///      "communityLists": {"C": [{"action": "permit", "communities": ["65000:1"]}]},
///      "asPathAccessLists": {"A": [{"action": "permit", "regex": "_65001$"}]}}
///
/// Throws DocumentError with one line that names the file, the place in it, what was wanted and
/// what was found; nothing is taken from a document that has a fault, and unknown keys are faults.
/// A ROA table that stands in a file of its own is looked for beside `fileName`, and its faults are
/// told under its own name. `warn` is told what such a file has that is left out; without it nobody
/// is.
///
/// `findings` takes what is found about entries, where it is given; that costs a look at each.
///
/// `text` is handed over; what is answered is the caller's alone until it is shared.
PtrConst<NamedLists> readLists(String text, String const & fileName, Reporter const & warn = {},
                               EntryFindings * findings = nullptr);

/// The same for a file; `-` is standard input. A file that cannot be read is a DocumentError as
/// well.
PtrConst<NamedLists> readListsFile(String const & path, Reporter const & warn = {});

/// The lists of such a document as they are written in it, in the order of its sections, and by
/// name as they stand there. `root` is that of the parsed document.
std::vector<ListRecord> readListRecords(JsonValue const & root, String const & fileName,
                                        Reporter const & warn = {});

} // namespace Qcf::Lists
