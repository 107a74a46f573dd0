#include "Agent/Mrt/MrtReader.h"

#include <utility>

/// Reads the input as a route file that is taken for MRT, compressed or not.
extern "C" int LLVMFuzzerTestOneInput(U8 const * data, std::size_t size) {
    String bytes(reinterpret_cast<char const *>(data), size);
    auto const reader = Qcf::Agent::makeMrtReader(
        Qcf::Lists::ByteSource(Qcf::Lists::makeMemoryStream(std::move(bytes))), "fuzz",
        [](String const &) {});
    Qcf::Agent::Route route;
    while (reader->next(route)) {
    }
    return 0;
}
