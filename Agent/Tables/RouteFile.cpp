#include "Agent/Tables/RouteFile.h"

#include "Agent/Mrt/MrtReader.h"
#include "Agent/Routes/JsonLinesReader.h"

#include <algorithm>
#include <span>
#include <utility>

/// Tells from the first bytes what a file of routes holds and makes the reader for it.
/// Decompression lies below: what is looked at here are the data themselves.
namespace Qcf::Agent {

namespace {

/// True when the first bytes are those of a text. MRT starts with a time of four bytes, of which
/// at least one is no character in any record of this century, and with a type below 32.
bool looksLikeText(Lists::ByteSource & source) {
    constexpr std::size_t looked = 512;
    source.ensure(looked);
    std::span const head(source.data(), std::min(source.available(), looked));
    return std::ranges::all_of(
        head, [](U8 byte) { return byte >= ' ' || byte == '\t' || byte == '\r' || byte == '\n'; });
}

} // namespace

std::unique_ptr<RouteReader> openRoutes(String const & path, Lists::Reporter report, U32 threads) {
    return openRoutes(Lists::openFileStream(path), path == "-" ? "standard input" : path,
                      std::move(report), threads);
}

std::unique_ptr<RouteReader> openRoutes(std::unique_ptr<Lists::ByteStream> stream,
                                        String const & name, Lists::Reporter report, U32 threads) {
    Lists::ByteSource source(std::move(stream), threads);
    bool const empty = !source.ensure(1);
    // A stream that fails before its first byte is no empty table.
    if (empty && !source.fault().empty()) {
        throw Lists::FileError(name + ": " + source.fault());
    }
    // Text is asked for first: that looks at few bytes, the search for a record of MRT at many
    // more.
    if (!empty && looksLikeText(source)) {
        return makeJsonLinesReader(std::move(source), name, std::move(report));
    }
    if (!empty && !looksLikeMrt(source)) {
        // A text with a stray control character near its start: its reader names the place.
        if (*source.data() == '{') {
            return makeJsonLinesReader(std::move(source), name, std::move(report));
        }
        throw Lists::FileError(name + ": wants MRT or JSON lines, found neither");
    }
    return makeMrtReader(std::move(source), name, std::move(report));
}

} // namespace Qcf::Agent
