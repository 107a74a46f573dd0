#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>

/// Where metrics are to be seen, as an operator writes it: `ADDRESS:PORT` or `FILE.prom`.
struct MetricsTarget {
    /// Empty for an address.
    String file;
    /// IPv4, numeric; `localhost` is 127.0.0.1.
    String address;
    U16 port = 0; ///< 0 for any that is free

    /// Whether none but this machine reaches it.
    bool isLocal() const;

    /// Throws std::runtime_error, one line that says what is wanted and what was found.
    static MetricsTarget parse(std::string_view text);
};
