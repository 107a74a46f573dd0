#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>

/// Writes a file from its beginning on, made where there is none. Throws std::runtime_error, one
/// line that begins with the path and says why, when it cannot be written whole.
void writeFile(String const & path, std::string_view content);
