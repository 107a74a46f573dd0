#pragma once

#include "Command/CommandTable.h"

/// The manual page of the program, `qcf(1)`, in the language of roff: what each sub-command is for.
/// It carries no date, so that it is the same whenever it is built.
std::string programPage(CommandTable const & table);
/// The page of a sub-command, `qcf-eval(1)`.
std::string commandPage(CommandTable const & table, CommandRow const & command);
