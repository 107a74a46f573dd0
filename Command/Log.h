#pragma once

#include "Platform/Service/LogLines.h"

#include <CLI/CLI.hpp>

/// What commands say on standard error, in the form that the process was asked for: plain lines, or
/// lines of a log. Any thread may tell; what is told at once stays together.

/// Tells lines; each matters as much as it says itself: where `error:` or `warning:` stands behind
/// a place, that much, else it is information.
void tell(String const & lines);
/// The same of one line without its end; line ends within are escaped, as below.
void tellLine(String const & line);
/// One line, of which it is known how much it matters.
void tellWarning(String const & line);
void tellError(String const & line);

/// How many lines of that level were told so far.
U64 linesTold(LogLevel level);

/// Adds --log-format to a command that may stay, where each line is to have its time and level.
void addLogFormat(CLI::App & command, String & target);
/// What is told from here on has that form: "plain", "text" or "json". Before threads are started.
void logFormatIs(std::string_view format);
