#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>

/// Gives a regular file another content: it has the old one or the new one whole, whatever fails in
/// between. A new file is written beside it, put on the disk and renamed over it; a symbolic link
/// stays one, and the permissions stay. Throws std::runtime_error, one line that begins with the
/// path, when the file is none or may not be written; then nothing is left behind.
void replaceFile(String const & path, std::string_view content);
