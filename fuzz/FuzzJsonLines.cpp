#include "Agent/Routes/JsonLinesReader.h"
#include "Platform/Render/DocumentError.h"

#include <utility>

/// Reads the input as a route file of JSON lines, compressed or not.
extern "C" int LLVMFuzzerTestOneInput(U8 const * data, std::size_t size) {
    String bytes(reinterpret_cast<char const *>(data), size);
    auto const reader = Qcf::Agent::makeJsonLinesReader(
        Qcf::Lists::ByteSource(Qcf::Lists::makeMemoryStream(std::move(bytes))), "fuzz", {});
    Qcf::Agent::Route route;
    try {
        while (reader->next(route)) {
        }
    } catch (DocumentError const &) {
    }
    return 0;
}
