#pragma once

#include "Command/PreparedPolicy.h"
#include "Command/WatchOptions.h"

/// Hears routers until it is interrupted, or with --once until their tables have settled. Answers
/// the exit code.
int watchRouters(WatchOptions const & options, PreparedPolicy const & prepared);
