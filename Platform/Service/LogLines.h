#pragma once

#include "Platform/Framework/Types.h"

#include <iosfwd>
#include <memory>
#include <mutex>
#include <string_view>

/// How much a line matters.
enum class LogLevel : U8 {
    info,    ///< the ordinary course
    warning, ///< somebody should know, and what runs goes on
    error,   ///< something is not done that was asked for
};

/// How a line looks.
enum class LogFormat : U8 {
    plain, ///< as it is, for a terminal
    text,  ///< `2026-03-01T12:00:00.000Z warning edge: stays with version 2`
    json,  ///< `{"time":"2026-03-01T12:00:00.000Z","level":"warning","message":"..."}`
};

/// Writes lines with time (UTC) and level, for whoever collects them.
///
///     LogLines log(LogFormat::json);
///     log.write(LogLevel::info, "edge version 3");
///
/// What could act on a terminal is escaped, and bytes that are no UTF-8 are replaced, in every
/// form; a line of JSON is one object whatever the message holds. Of several lines each is written
/// by itself, and lines of other threads do not come in between.
class LogLines {
public:
    /// To standard error.
    explicit LogLines(LogFormat format);
    /// To a stream, which must outlive it.
    LogLines(LogFormat format, std::ostream & out);
    LogLines(LogLines const &) = delete;
    LogLines & operator=(LogLines const &) = delete;
    ~LogLines();

    /// Each ends in a newline; the last may lack it. Nothing for an empty text.
    void write(LogLevel level, std::string_view lines);

private:
    /// Hides the library that writes.
    struct Library;

    LogFormat format_;
    std::mutex mutex_;
    std::unique_ptr<Library> library_;
};
