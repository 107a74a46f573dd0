#pragma once

#include "Command/WatchPolicy.h"

/// Hears routers until it is interrupted, or with --once until their tables have settled. Answers
/// the exit code. What is newer than the policy takes its place meanwhile.
int watchRouters(WatchOptions const & options, WatchPolicy & source,
                 WatchPolicy::Policy const & policy);
