#pragma once

#include "Command/Command.h"
#include "Mirror/Redis/RedisUrl.h"

/// Where a published store is: the options that say so.
struct RedisArguments {
    String url;
    String name;
    String caFile;
    String certificateFile;
    String keyFile;
    bool insecure = false;

    /// Adds --redis, --name and the TLS options; must outlive the parsing.
    void addTo(CLI::App & command);
    /// What they mean; a password that the URL does not hold is taken from QCF_REDIS_PASSWORD.
    /// Throws UsageError.
    Qcf::Mirror::RedisOptions options() const;
};
