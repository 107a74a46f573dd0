#pragma once

#include "Platform/Framework/Types.h"

#include <cstdlib>

/// How many random cases a test tries: few in the suite, as many as QCF_TEST_CASES says otherwise.
inline U64 casesWanted(U64 usual) {
    char const * const wanted = std::getenv("QCF_TEST_CASES");
    return wanted == nullptr ? usual : std::strtoull(wanted, nullptr, 10);
}
