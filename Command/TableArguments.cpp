#include "Command/TableArguments.h"

#include "Agent/Tables/RouteFile.h"
#include "Command/Readiness.h"
#include "Command/RepeatedOption.h"

#include <algorithm>
#include <utility>

void addRoutes(CLI::App & command, std::vector<String> & routes) {
    takesOneEach(
        *command
             .add_option(
                 "--routes", routes,
                 "Table of routes: MRT or JSON lines, also compressed. Given again, it names the\n"
                 "file whose routes come next: all are one table, read side by side")
             ->required()
             ->type_name("FILE"));
}

void addThreads(CLI::App & command, U64 & threads) {
    constexpr U64 most = 256;
    addNumber(command, "--threads", threads, "Threads that evaluate", 1, most).default_str("1");
}

String tableName(std::vector<String> const & routes) {
    String name;
    for (String const & file : routes) {
        name += (name.empty() ? "" : ", ") + file;
    }
    return name;
}

OpenedTable openTable(std::vector<String> const & routes, U64 threads) {
    if (std::ranges::count(routes, "-") > 1) {
        throw UsageError("only one file can be standard input");
    }
    auto const count = static_cast<U32>(threads);
    if (routes.size() == 1) {
        return {Qcf::Agent::openRoutes(routes.front(), tellLine, count)};
    }
    auto files = std::make_unique<Qcf::Agent::RouteFiles>(routes, tellLine, count);
    auto const * const asked = files.get();
    return {std::move(files), asked};
}
