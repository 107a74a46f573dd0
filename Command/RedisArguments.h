#pragma once

#include "Command/Command.h"
#include "Mirror/Redis/RedisUrl.h"

/// Where a published store is: the options that say so, the same for every sub-command.
struct RedisArguments {
    /// As the options say it; `options()` reads it.
    String url;
    /// What the store is published under.
    String name;
    /// Files for TLS; empty where they are not given.
    String caFile;
    String certificateFile;
    String keyFile;
    /// Whether the server need not prove who it is.
    bool insecure = false;

    /// Adds --redis, --name and the TLS options; must outlive the parsing.
    void addTo(CLI::App & command);
    /// What they mean; a password that the URL does not hold is taken from QCF_REDIS_PASSWORD.
    /// Throws UsageError.
    Qcf::Mirror::RedisOptions options() const;
};
