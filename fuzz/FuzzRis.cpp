#include "fuzz/LiveStation.h"

/// Watches the input as lines of RIS Live.
extern "C" int LLVMFuzzerTestOneInput(U8 const * data, std::size_t size) {
    watchRecording(data, size);
    return 0;
}
