#pragma once

#include "Agent/Tables/RouteFiles.h"
#include "Command/Command.h"

/// The options that say which table a command evaluates and how, the same for every command.

/// Adds --routes, which must be given, and may be several times: the files are one table then.
void addRoutes(CLI::App & command, std::vector<String> & routes);
/// Adds --threads, 1 unless given.
void addThreads(CLI::App & command, U64 & threads);

/// What messages call the table: its file, or its files.
String tableName(std::vector<String> const & routes);

/// The table that --routes and --threads tell of.
struct OpenedTable {
    std::unique_ptr<Qcf::Agent::RouteReader> reader;
    /// The same reader where it reads several files; else null.
    Qcf::Agent::RouteFiles const * files = nullptr;
};

/// Opens it; damage is told on standard error. Throws FileError.
OpenedTable openTable(std::vector<String> const & routes, U64 threads);
