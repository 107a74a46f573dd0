#pragma once

#include "Lists/ByteSource.h"
#include "Live/ReplaySteps.h"
#include "Live/RouterSet.h"

namespace Qcf::Live {

/// Reads a recording to its end, which counts as settled. By its content it is
///
/// - a stream of BMP: one connection of a router;
/// - MRT: what a collector received from its peers, for one router called after the collector's
///   AS. Further files of that collector go on where the one before ended. Tables in it are passed
///   over;
/// - lines of RIS Live: the same for each host that they name.
///
/// Only BMP has no times of recording. Faults are told as notes, with their place; answers whether
/// all could be read, though single messages may have been damaged.
bool replay(RouterSet & routers, Lists::ByteSource source, String const & name,
            ReplaySteps const & steps = {});

} // namespace Qcf::Live
