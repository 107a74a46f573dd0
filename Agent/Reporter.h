#pragma once

#include "Platform/Framework/Types.h"

#include <functional>

namespace Qcf::Agent {

/// Takes one line of diagnostics, without line end.
using Reporter = std::function<void(String const & line)>;

} // namespace Qcf::Agent
