#pragma once

#include "Command/Command.h"
#include "Mirror/BatchSigner.h"
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
    /// Has the password; empty where it is not given.
    String passwordFile;
    /// Whether the server need not prove who it is.
    bool insecure = false;
    /// Holds the key that batches are signed with; empty for none.
    String signKeyFile;

    /// Adds --redis, --name and the TLS options; must outlive the parsing.
    void addTo(CLI::App & command);
    /// What they mean. The password is that of the URL, which others can see in the list of
    /// processes, else the first line of the file, else that in QCF_REDIS_PASSWORD. Throws
    /// UsageError, and DocumentError for the file.
    Qcf::Mirror::RedisOptions options() const;
    /// Signs batches, and knows signed ones; null without --sign-key-file. Throws DocumentError,
    /// and MirrorError for a key that is too short.
    std::shared_ptr<Qcf::Mirror::BatchSigner const> signer() const;
};
