#pragma once

#include "Platform/Framework/Types.h"

#include <functional>

namespace Qcf::Lists {

/// Takes one line of diagnostics, without line end: what a reader goes on after, such as damage
/// that it passes over. An empty one drops the lines; readers then do not make them. It is called
/// by the thread that reads, one call at a time, and may throw: the exception leaves the reader.
using Reporter = std::function<void(String const & line)>;

} // namespace Qcf::Lists
