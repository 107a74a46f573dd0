#include "Agent/Routes/JsonLinesReader.h"

#include "Agent/Routes/RouteJson.h"
#include "Platform/Render/DocumentError.h"

#include <algorithm>
#include <cstring>
#include <utility>

/// Finds the lines in the data and the routes in the lines. Shares take runs of whole lines one
/// after the other, which is quick, and parse them side by side.
namespace Qcf::Agent {

namespace {

/// Reads a line that stands by itself; false when it is empty.
bool readRouteLine(std::string_view line, U64 number, JsonDocument & document,
                   ReadStatistics & statistics, Route & route) {
    if (line.find_first_not_of(" \t\r") == std::string_view::npos) {
        return false;
    }
    // A line that fails below is a record that was met, though no route.
    ++statistics.records;
    document.parseLine(line, number);
    readRoute(document.root(), route);
    ++statistics.routes;
    return true;
}

} // namespace

/// Takes whole lines and parses them by itself.
class JsonLinesReader::Share final : public RouteShare {
public:
    explicit Share(JsonLinesReader & reader) : reader_(reader), document_(reader.name_) {}

    bool take() override {
        // Some hundred lines: worth a turn, and usually no more routes than are kept at once.
        constexpr std::size_t piece = std::size_t{64} << 10;
        lines_.clear();
        at_ = 0;
        // Messages and counts are about the whole file, wherever the run starts.
        line_ = reader_.line_;
        begin_ = reader_.source_.offset() + reader_.taken_;
        // Found behind the lines of the share before; told now, as a piece without routes.
        if (reader_.fault_) {
            std::rethrow_exception(std::exchange(reader_.fault_, nullptr));
        }
        while (lines_.size() < piece && takeLine()) {
        }
        end_ = reader_.source_.offset() + reader_.taken_;
        return !lines_.empty();
    }

    bool next(Route & route) override {
        while (at_ < lines_.size()) {
            std::size_t const end = lines_.find('\n', at_);
            std::string_view const line(lines_.data() + at_, end - at_);
            at_ = end + 1;
            // The last line of a file may have no end there.
            statistics_.bytes = std::min(begin_ + at_, end_);
            if (readRouteLine(line, ++line_, document_, statistics_, route)) {
                return true;
            }
        }
        return false;
    }

    void settle() override { reader_.statistics_.add(std::exchange(statistics_, {})); }

private:
    bool takeLine() {
        try {
            auto const line = reader_.findLine(statistics_);
            if (line) {
                // Copied, because the source's window moves on with the next line. Each gets an
                // end, so that `next` can rely on one.
                lines_.append(*line) += '\n';
            }
            return line.has_value();
        } catch (...) {
            // A fault must not take the good lines before it along.
            if (lines_.empty()) {
                throw;
            }
            reader_.fault_ = std::current_exception(); // for whoever comes next
            return false;
        }
    }

    JsonLinesReader & reader_;
    JsonDocument document_;
    ReadStatistics statistics_;
    String lines_;
    std::size_t at_ = 0; ///< where the next line starts
    U64 line_ = 0;       ///< number of the line before it
    U64 begin_ = 0;      ///< where the lines start in the data
    U64 end_ = 0;
};

std::unique_ptr<RouteShare> JsonLinesReader::makeShare() { return std::make_unique<Share>(*this); }

JsonLinesReader::JsonLinesReader(Lists::ByteSource source, String name, Lists::Reporter report)
    : source_(std::move(source)),
      name_(std::move(name)),
      document_(name_),
      report_(std::move(report)) {}

bool JsonLinesReader::next(Route & route) {
    if (finished_) {
        return false;
    }
    // Stays set when a line throws.
    finished_ = true;
    finished_ = !readLine(route);
    return !finished_;
}

bool JsonLinesReader::readLine(Route & route) {
    while (auto const line = findLine(statistics_)) {
        statistics_.bytes = source_.offset() + taken_;
        if (readRouteLine(*line, line_, document_, statistics_, route)) {
            return true;
        }
    }
    return false;
}

/// The next line without its end, in the source's window; nothing at the end of the data. What is
/// met goes to the statistics of the caller: a share settles its own later.
std::optional<std::string_view> JsonLinesReader::findLine(ReadStatistics & statistics) {
    // The text of the line before was lent until now.
    source_.skip(std::exchange(taken_, 0));
    ++line_;
    std::size_t searched = 0;
    while (true) {
        std::size_t const available = source_.available();
        U8 const * const from = source_.data() + searched;
        auto const * const end =
            static_cast<U8 const *>(std::memchr(from, '\n', available - searched));
        if (end != nullptr) {
            return takeLine(static_cast<std::size_t>(end - source_.data()), true);
        }
        // Searched bytes are not searched again, or a long line would cost its length squared.
        searched = available;
        // Before more is asked for: data without line ends must not fill the memory.
        checkLength(searched);
        if (!source_.ensure(available + 1)) {
            break;
        }
    }
    // What is left of a line when the data break off is never parsed.
    if (!source_.fault().empty()) {
        statistics.cut = true;
        throw DocumentError(lineName() + source_.fault());
    }
    // What follows compressed data is known only here, and told once.
    if (auto const report = std::exchange(report_, {}); report && !source_.note().empty()) {
        report(name_ + ": " + source_.note());
    }
    return searched == 0 ? std::nullopt : std::optional(takeLine(searched, false));
}

void JsonLinesReader::checkLength(std::size_t length) const {
    if (length > maxLine) {
        throw DocumentError(lineName() + "wants a line of at most " + std::to_string(maxLine) +
                            " bytes, found a longer one");
    }
}

std::string_view JsonLinesReader::takeLine(std::size_t length, bool withEnd) {
    checkLength(length);
    taken_ = length + (withEnd ? 1 : 0);
    return {reinterpret_cast<char const *>(source_.data()), length};
}

String JsonLinesReader::lineName() const { return name_ + ':' + std::to_string(line_) + ": "; }

std::unique_ptr<RouteReader> makeJsonLinesReader(Lists::ByteSource source, String const & name,
                                                 Lists::Reporter report) {
    return std::make_unique<JsonLinesReader>(std::move(source), name, std::move(report));
}

} // namespace Qcf::Agent
