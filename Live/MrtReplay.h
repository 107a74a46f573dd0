#pragma once

#include "Lists/ByteSource.h"
#include "Live/ReplaySteps.h"
#include "Live/RouterSet.h"

namespace Qcf::Live {

/// `replay` for data that are known to be MRT.
bool replayMrt(RouterSet & routers, Lists::ByteSource source, String const & name,
               ReplaySteps const & steps);

} // namespace Qcf::Live
