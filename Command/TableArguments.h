#pragma once

#include "Command/Command.h"

/// The options that say which table a command evaluates and how, the same for every command.

/// Adds --routes, which must be given.
void addRoutes(CLI::App & command, String & routes);
/// Adds --threads, 1 unless given.
void addThreads(CLI::App & command, U64 & threads);
