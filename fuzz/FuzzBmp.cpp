#include "fuzz/LiveStation.h"
#include "fuzz/Require.h"

namespace {

using namespace Qcf::Live; // NOLINT(google-build-using-namespace): what is under test

/// Hears the bytes in pieces of that size, as a socket may bring them.
void hear(RouterSet & routers, std::span<U8 const> bytes, std::size_t piece) {
    Connection connection(routers, "fuzz");
    try {
        std::size_t used = 0;
        for (std::size_t end = 0; end < bytes.size();) {
            end = std::min(bytes.size(), end + piece);
            used += connection.take(bytes.subspan(used, end - used));
        }
    } catch (Damage const &) {
    } catch (LimitReached const &) {
    }
    if (connection.router() != nullptr) {
        connection.router()->settle();
    }
}

} // namespace

/// Reads the input as the stream of a router, whole and in pieces: both come to the same.
extern "C" int LLVMFuzzerTestOneInput(U8 const * data, std::size_t size) {
    String shown[2];
    for (std::size_t i = 0; i < 2; ++i) {
        FuzzedStation station;
        hear(station.routers, {data, size}, i == 0 ? size + 1 : 7);
        station.requireWholeCounts();
        shown[i] = station.shown();
    }
    requireSame(shown[0], shown[1]);
    return 0;
}
