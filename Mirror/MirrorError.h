#pragma once

#include "Platform/Framework/Types.h"

#include <stdexcept>

namespace Qcf::Mirror {

/// What was received cannot be used (damaged, cut short, or not ours), or what is there cannot be
/// published. `what` is one line.
///
/// Whoever throws it has changed nothing: a store that is followed keeps its version, one that is
/// published stays as it was. Trouble with a server is another matter, see RedisConnectionError.
class MirrorError : public std::runtime_error {
public:
    explicit MirrorError(String const & line) : std::runtime_error(line) {}
};

} // namespace Qcf::Mirror
