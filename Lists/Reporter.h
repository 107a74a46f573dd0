#pragma once

#include "Platform/Framework/Types.h"

#include <functional>

namespace Qcf::Lists {

/// Takes one line of diagnostics, without line end.
using Reporter = std::function<void(String const & line)>;

} // namespace Qcf::Lists
