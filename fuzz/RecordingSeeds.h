#pragma once

#include "Platform/Framework/Types.h"

#include <functional>

/// Takes an input that a target starts from, and its name.
using SeedWriter =
    std::function<void(String const & target, String const & name, String const & text)>;

/// Makes what the targets start from that hear routers, from the recorded streams of the tests: the
/// beginnings of the streams, and their updates as a collector would have recorded them.
void writeRecordingSeeds(SeedWriter const & write);
