#include "fuzz/LiveStation.h"

/// Watches the input as the updates that a collector recorded, in MRT.
extern "C" int LLVMFuzzerTestOneInput(U8 const * data, std::size_t size) {
    watchRecording(data, size);
    return 0;
}
