#include "Command/TableArguments.h"

void addRoutes(CLI::App & command, String & routes) {
    command.add_option("--routes", routes, "Table of routes: MRT or JSON lines, also compressed")
        ->required()
        ->type_name("FILE");
}

void addThreads(CLI::App & command, U64 & threads) {
    constexpr U64 most = 256;
    addNumber(command, "--threads", threads, "Threads that evaluate", 1, most).default_str("1");
}
