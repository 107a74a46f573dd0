#pragma once

#include "Platform/Render/DocumentError.h"

/// Largest document that is read, in bytes: 1 GiB.
inline constexpr U64 largestDocument = U64{1} << 30;

/// The whole content of a file, a pipe or a device; `-` is standard input. Throws DocumentError
/// when it cannot be read or holds more than `limit` bytes; no more than that is ever read.
String readFile(String const & path, U64 limit = largestDocument);
