#pragma once

#include "Agent/Routes/RouteReader.h"
#include "Lists/ByteSource.h"
#include "Lists/Reporter.h"
#include "Platform/Render/JsonDocument.h"

#include <exception>
#include <optional>
#include <string_view>

namespace Qcf::Agent {

/// Reads the routes of a file with one JSON object a line, of attributes by language name. Use it
/// through `openRoutes` or `makeJsonLinesReader`.
///
///     {"prefix": "10.0.0.0/8", "as_path": "65001 65002", "med": 50}
///
/// Empty lines are passed over. The first line that is no route ends the reading: `next` throws the
/// DocumentError that names the line and the place in it, and from then on answers false. Routes
/// before it were handed out.
///
/// Memory follows the longest line; after it nothing is allocated.
class JsonLinesReader final : public RouteReader {
public:
    /// Longest line that is read, in bytes. A longer one is a fault.
    static constexpr std::size_t maxLine = std::size_t{16} << 20;

    /// `name` stands before the line numbers of messages.
    JsonLinesReader(Lists::ByteSource source, String name, Lists::Reporter report);

    bool next(Route & route) override;
    ReadStatistics const & statistics() const override { return statistics_; }
    /// The line that ends the reading is told by the share that takes or decodes it.
    std::unique_ptr<RouteShare> makeShare() override;

private:
    /// Decodes runs of lines in a thread of its own, see RouteShare.
    class Share;

    /// Reads up to the next line that holds a route.
    bool readLine(Route & route);
    /// The next line without its end, in the source's window; nothing at the end of the data.
    std::optional<std::string_view> findLine(ReadStatistics & statistics);
    /// Makes those bytes the current line.
    std::string_view takeLine(std::size_t length, bool withEnd);
    /// Throws where a line gets too long to be kept.
    void checkLength(std::size_t length) const;
    /// "FILE:LINE: ", for messages.
    String lineName() const;

    /// The data, decompressed. Stands at the current line, whose bytes are skipped when the next
    /// one is looked for.
    Lists::ByteSource source_;
    /// Stands before the numbers of lines.
    String name_;
    /// Kept from line to line for its storage.
    JsonDocument document_;
    ReadStatistics statistics_;
    U64 line_ = 0;          ///< number of the current line, from 1
    std::size_t taken_ = 0; ///< bytes of the current line, still in the source's window
    bool finished_ = false;
    Lists::Reporter report_;   ///< told once what follows compressed data
    std::exception_ptr fault_; ///< behind the lines that the shares took
};

/// A reader of data that are known to be JSON lines; `name` is what its texts call them.
std::unique_ptr<RouteReader> makeJsonLinesReader(Lists::ByteSource source, String const & name,
                                                 Lists::Reporter report);

} // namespace Qcf::Agent
