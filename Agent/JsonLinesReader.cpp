#include "Agent/JsonLinesReader.h"

#include "Agent/RouteJson.h"
#include "Platform/Render/DocumentError.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Qcf::Agent {

JsonLinesReader::JsonLinesReader(ByteSource source, String name)
    : source_(std::move(source)), name_(std::move(name)), document_(name_) {}

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
    while (auto const line = findLine()) {
        if (line->find_first_not_of(" \t\r") == std::string_view::npos) {
            continue;
        }
        ++statistics_.records;
        document_.parseLine(*line, line_);
        readRoute(document_.root(), route);
        ++statistics_.routes;
        return true;
    }
    return false;
}

/// The next line without its end, in the source's window; nothing at the end of the data.
std::optional<std::string_view> JsonLinesReader::findLine() {
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
        searched = available;
        checkLength(searched);
        if (!source_.ensure(available + 1)) {
            break;
        }
    }
    if (!source_.fault().empty()) {
        statistics_.cut = true;
        throw DocumentError(lineName() + source_.fault());
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
    statistics_.bytes += taken_;
    return {reinterpret_cast<char const *>(source_.data()), length};
}

String JsonLinesReader::lineName() const { return name_ + ':' + std::to_string(line_) + ": "; }

std::unique_ptr<RouteReader> makeJsonLinesReader(ByteSource source, String const & name,
                                                 Reporter /*report*/) {
    return std::make_unique<JsonLinesReader>(std::move(source), name);
}

} // namespace Qcf::Agent
