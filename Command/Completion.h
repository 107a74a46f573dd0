#pragma once

#include "Command/CommandTable.h"

// What a shell reads to complete the command line: commands, options, their choices, files where a
// file is wanted, and nothing where only the user knows.
/// For bash, which needs no other package.
std::string bashCompletion(CommandTable const & table);
/// For zsh; it shows what each command and option is for.
std::string zshCompletion(CommandTable const & table);
