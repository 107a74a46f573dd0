#pragma once

#include "Text/Cursor.h"
#include "Text/ImportRequest.h"
#include "Text/ListDeclaration.h"

namespace Qcf::Text {

/// What a file is that was imported.
struct ImportedFile {
    /// Where it lies, as seen from where the importing text was found. Two imports of one file from
    /// one folder have the same.
    String path;
    /// A policy text, which is for the caller to read: whatever does not begin with `{`.
    bool isText = false;
    /// The text; empty for lists.
    String text = {};
    /// The lists of any other file.
    std::vector<ListDeclaration> lists = {};
};

/// Reads `as KIND NAME [v4 | v6]` behind the path of an import, if it stands there. Throws Recovery
/// after an error.
std::optional<ImportRequest::As> readImportAs(Cursor & cursor);

/// Reads a file that a text imports, and tells by its content what it is: a policy text, a lists
/// document, a relying party's export of ROAs (plain or compressed), or lists as bgpq4 writes them
/// as JSON. Faults are told at the import in the words of the file's reader, with the place in it;
/// nothing is answered then.
std::optional<ImportedFile> importFile(ImportRequest const & request, Sources const & sources,
                                       Messages & messages);

} // namespace Qcf::Text
