#pragma once

#include "Platform/Framework/Types.h"

namespace Qcf::Bench {

/// What a command line printed to its standard output, and how it ended.
struct CommandOutput {
    int status = -1; ///< its exit status; -1 when it did not come to one
    String text;
};
CommandOutput outputOf(String const & command);

} // namespace Qcf::Bench
