#pragma once

#include "Platform/Framework/Types.h"

namespace Qcf::Bench {

/// Heap use of the calling thread, from malloc and everything built on it: operator new, C
/// libraries, slabs that get a new chunk. Memory that is mapped directly is not seen.
struct HeapUse {
    U64 blocks = 0; ///< blocks allocated or reallocated so far
    S64 bytes = 0;  ///< bytes allocated less bytes freed, as the allocator rounds them

    static HeapUse now();
    /// False where the allocator may not be replaced, under sanitizers: all counts stay 0 then.
    static bool counted();
};

/// Objects that the engine took from slabs while evaluating: sets and argument containers.
U64 slabObjectsTaken();

} // namespace Qcf::Bench
