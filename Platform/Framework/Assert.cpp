#include "Platform/Framework/Assert.h"

#include <cstdio>
#include <cstdlib>

void assertionFailed(char const * text, char const * file, int line) noexcept {
    std::fprintf(stderr, "assertion failed: %s (%s:%d)\n", text, file, line);
    // An embedder may have given standard error a buffer, which an abort would lose.
    std::fflush(stderr);
    std::abort();
}
