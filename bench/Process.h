#pragma once

#include "Platform/Framework/Types.h"

#include <vector>

namespace Qcf::Bench {

/// What a command line printed to its standard output, and how it ended.
struct CommandOutput {
    int status = -1; ///< its exit status; -1 when it did not come to one
    String text;
};
CommandOutput outputOf(String const & command);

/// The words as a command line. None of them may hold a quote.
String commandOf(std::vector<String> const & words);

/// What running a program took, from its start to its end.
struct ProcessUse {
    int status = -1; ///< as above
    double wallNs = 0;
    double cpuNs = 0; ///< of all its threads, the system's part included
};
/// Runs a program with its arguments and throws away what it prints. Its path is looked for as
/// shells do.
ProcessUse useOf(std::vector<String> const & words);

/// Whether a program of that name is installed.
bool isInstalled(String const & program);

} // namespace Qcf::Bench
