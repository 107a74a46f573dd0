#pragma once

#include "Platform/Framework/Types.h"

#include <stdexcept>

namespace Qcf::Mirror {

/// What was received cannot be used: damaged, cut short, or not ours. `what` is one line.
class MirrorError : public std::runtime_error {
public:
    explicit MirrorError(String const & line) : std::runtime_error(line) {}
};

} // namespace Qcf::Mirror
