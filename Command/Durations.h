#pragma once

#include "Command/Command.h"

#include <chrono>

/// Adds an option that wants a time: a number and its unit, `500ms`, `5s`, `10m` or `2h`. `target`
/// keeps its value while the option is not given, and must outlive the parsing.
CLI::Option & addDuration(CLI::App & command, String const & option,
                          std::chrono::milliseconds & target, String const & description,
                          std::chrono::milliseconds least = std::chrono::milliseconds(1));
