#pragma once

#include "Platform/Framework/Types.h"

#include <cstdio>
#include <cstdlib>

/// What a target holds against the code that it runs. A failure says what and ends the process,
/// which the fuzzer takes for a finding.

inline void requireThat(bool holds, char const * what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

inline void requireSame(String const & wanted, String const & found) {
    if (wanted != found) {
        std::fprintf(stderr, "wanted:\n%s\nfound:\n%s\n", wanted.c_str(), found.c_str());
        std::abort();
    }
}
