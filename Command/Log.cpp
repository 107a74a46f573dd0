#include "Command/Log.h"

#include "Command/Colours.h"
#include "Platform/Render/Utf8.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <iostream>
#include <mutex>
#include <optional>
#include <utility>

#include <unistd.h>

namespace {

constexpr std::array<std::pair<std::string_view, LogFormat>, 3> formats{
    {{"plain", LogFormat::plain}, {"text", LogFormat::text}, {"json", LogFormat::json}}};

// Empty while lines are plain.
std::optional<LogLines> & logLines() {
    static std::optional<LogLines> lines;
    return lines;
}

std::array<std::atomic<U64>, 3> & counts() {
    static std::array<std::atomic<U64>, 3> counts{};
    return counts;
}

LogLevel levelOf(std::string_view line) {
    bool const isError = line.find(": error: ") != std::string_view::npos;
    bool const isWarning = line.find(": warning: ") != std::string_view::npos;
    return isError ? LogLevel::error : isWarning ? LogLevel::warning : LogLevel::info;
}

/// Held while something is told, so that its lines stay together.
std::mutex & turn() {
    static std::mutex mutex;
    return mutex;
}

void countAndLog(LogLevel level, std::string_view line) {
    counts()[static_cast<std::size_t>(level)].fetch_add(1, std::memory_order_relaxed);
    if (logLines()) {
        logLines()->write(level, line);
    }
}

void writePlain(String const & lines) {
    if (!logLines()) {
        std::cerr << colouredMessages(visibleLines(lines), STDERR_FILENO) << std::flush;
    }
}

/// With the line ends that names from anywhere may hold escaped: what is one line stays one.
String asOneLine(String const & text) {
    String line;
    for (char const each : text) {
        each == '\n' ? line += "\\n" : line += each;
    }
    return line;
}

void tellAs(LogLevel level, String const & text) {
    String const line = asOneLine(text);
    std::lock_guard const lock(turn());
    countAndLog(level, line);
    writePlain(line + '\n');
}

} // namespace

void tell(String const & lines) {
    std::lock_guard const lock(turn());
    std::string_view rest = lines;
    while (!rest.empty()) {
        std::string_view const line = rest.substr(0, rest.find('\n'));
        countAndLog(levelOf(line), line);
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    }
    writePlain(lines);
}

void tellLine(String const & line) { tell(asOneLine(line) + '\n'); }
void tellWarning(String const & line) { tellAs(LogLevel::warning, line); }
void tellError(String const & line) { tellAs(LogLevel::error, line); }

U64 linesTold(LogLevel level) {
    return counts()[static_cast<std::size_t>(level)].load(std::memory_order_relaxed);
}

void addLogFormat(CLI::App & command, String & target) {
    command
        .add_option("--log-format", target,
                    "How lines on standard error look: text (time, level, message), json (the\n"
                    "same as an object a line) or plain (the message alone); text unless given,\n"
                    "plain with --once")
        ->check(CLI::IsMember({"plain", "text", "json"}));
}

void logFormatIs(std::string_view format) {
    for (auto const & [name, value] : formats) {
        if (name == format && value != LogFormat::plain) {
            logLines().emplace(value);
        }
    }
}
