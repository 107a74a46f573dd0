#pragma once

#include "Platform/Framework/Types.h"

#include <cstdlib>

/// How many random cases a test tries: few in the suite, as many as the variable says otherwise.
inline U64 casesWanted(U64 usual, char const * variable = "QCF_TEST_CASES") {
    char const * const wanted = std::getenv(variable);
    return wanted == nullptr ? usual : std::strtoull(wanted, nullptr, 10);
}
