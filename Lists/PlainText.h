#pragma once

#include "Lists/Reporter.h"
#include "Platform/Render/ReadFile.h"

namespace Qcf::Lists {

/// The content of a file that may be compressed by gzip, bzip2 or xz, which its first bytes
/// tell; `-` is standard input.
///
/// Throws DocumentError for a file that cannot be read, for compressed data that are cut or
/// damaged, and for more than `limit` bytes of either. `warn` is told what follows the end of
/// compressed data.
String readPlainText(String const & path, Reporter const & warn, U64 limit = largestDocument);

/// The path of a file that a document names, as seen from the document: so a document and its files
/// can be moved together. Nothing is read from standard input by that name, since a path begins
/// with a folder.
String pathBeside(String const & document, std::string_view name);

} // namespace Qcf::Lists
