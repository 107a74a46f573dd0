#include "Platform/Service/LogLines.h"

#include "Platform/Render/RendererV2.h"
#include "Platform/Render/Utf8.h"

#include <iostream>

#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/ostream_sink.h>

namespace {

spdlog::level::level_enum levelOf(LogLevel level) {
    switch (level) {
    case LogLevel::info:
        return spdlog::level::info;
    case LogLevel::warning:
        return spdlog::level::warn;
    case LogLevel::error:
        break;
    }
    return spdlog::level::err;
}

char const * patternOf(LogFormat format) {
    switch (format) {
    case LogFormat::plain:
        return "%v";
    case LogFormat::text:
        return "%Y-%m-%dT%H:%M:%S.%eZ %l %v";
    case LogFormat::json:
        break;
    }
    return R"({"time":"%Y-%m-%dT%H:%M:%S.%eZ","level":"%l","message":%v})";
}

// JSON leaves characters as they are that turn the direction of a terminal's text.
String jsonString(std::string_view text) {
    String json;
    RendererV2 renderer(json);
    renderer.value(text);
    return visibleText(json);
}

} // namespace

struct LogLines::Library {
    spdlog::logger logger;
};

LogLines::LogLines(LogFormat format) : LogLines(format, std::cerr) {}

LogLines::LogLines(LogFormat format, std::ostream & out)
    : format_(format),
      library_(new Library{spdlog::logger(
          "qcf", std::make_shared<spdlog::sinks::ostream_sink_mt>(out, /*force_flush=*/true))}) {
    library_->logger.set_formatter(std::make_unique<spdlog::pattern_formatter>(
        patternOf(format), spdlog::pattern_time_type::utc, "\n"));
}

LogLines::~LogLines() = default;

void LogLines::write(LogLevel level, std::string_view lines) {
    std::lock_guard const lock(mutex_);
    while (!lines.empty()) {
        std::size_t const end = lines.find('\n');
        auto const line = lines.substr(0, end);
        lines.remove_prefix(end == std::string_view::npos ? lines.size() : end + 1);
        String const text = format_ == LogFormat::json ? jsonString(line) : visibleLines(line);
        library_->logger.log(levelOf(level), spdlog::string_view_t(text));
    }
}
