#pragma once

#include "Command/Command.h"

/// Makes an option whose values are kept in a vector one that may be given several times with a
/// value each, and that the help and the manual page show so. What follows its value is no further
/// one.
inline CLI::Option & takesOneEach(CLI::Option & option) {
    option.take_all()->expected(1)->allow_extra_args(false);
    return option;
}
