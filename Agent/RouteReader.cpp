#include "Agent/RouteReader.h"

#include "Agent/MrtReader.h"

#include <algorithm>
#include <span>
#include <utility>

namespace Qcf::Agent {

namespace {

/// True when the first bytes are those of a text. MRT starts with a time of four bytes, of which
/// at least one is no character in any record of this century, and with a type below 32.
bool looksLikeText(ByteSource & source) {
    constexpr std::size_t looked = 512;
    source.ensure(looked);
    std::span const head(source.data(), std::min(source.available(), looked));
    return std::ranges::all_of(
        head, [](U8 byte) { return byte >= ' ' || byte == '\t' || byte == '\r' || byte == '\n'; });
}

} // namespace

void ReadStatistics::add(ReadStatistics const & part) {
    records += part.records;
    routes += part.routes;
    withdrawals += part.withdrawals;
    damagedRecords += part.damagedRecords;
    skippedRecords += part.skippedRecords;
    skippedFamilies += part.skippedFamilies;
    bytes = std::max(bytes, part.bytes);
    cut = cut || part.cut;
}

std::unique_ptr<RouteReader> openRoutes(String const & path, Reporter report) {
    return openRoutes(openFileStream(path), path == "-" ? "standard input" : path,
                      std::move(report));
}

std::unique_ptr<RouteReader> openRoutes(std::unique_ptr<ByteStream> stream, String const & name,
                                        Reporter report) {
    ByteSource source(std::move(stream));
    bool const empty = !source.ensure(1);
    if (empty && !source.fault().empty()) {
        throw RouteFileError(name + ": " + source.fault());
    }
    if (!empty && looksLikeText(source)) {
        return makeJsonLinesReader(std::move(source), name, std::move(report));
    }
    if (!empty && !looksLikeMrt(source)) {
        // A text with a stray control character near its start: its reader names the place.
        if (*source.data() == '{') {
            return makeJsonLinesReader(std::move(source), name, std::move(report));
        }
        throw RouteFileError(name + ": wants MRT or JSON lines, found neither");
    }
    return makeMrtReader(std::move(source), name, std::move(report));
}

} // namespace Qcf::Agent
