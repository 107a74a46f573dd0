#pragma once

#include "Platform/Framework/Types.h"

namespace Qcf::test {

/// Number of blocks that this thread has taken from the heap by `new` since it started;
/// always 0 under AddressSanitizer, and under clang's
/// ThreadSanitizer.
U64 allocationCount();

} // namespace Qcf::test
