#pragma once

#include "Command/WatchOptions.h"
#include "Live/LivePolicy.h"

/// Where the policy of a station comes from, and what takes its place later.
class WatchPolicy {
public:
    using Policy = std::shared_ptr<Qcf::Live::LivePolicy const>;

    WatchPolicy() = default;
    WatchPolicy(WatchPolicy const &) = delete;
    WatchPolicy & operator=(WatchPolicy const &) = delete;
    virtual ~WatchPolicy() = default;

    /// The policy to begin with; null where it may not be evaluated, which is told. Throws as
    /// readers of policies do.
    virtual Policy first() = 0;
    /// A newer one, once for each; else null. To be called some times a second, behind `first`.
    /// Never waits: what is new is read on a thread of its own, and told where it is not good.
    virtual Policy newer() = 0;

    /// The one that the options name: files, or a published store.
    static std::unique_ptr<WatchPolicy> of(WatchOptions const & options);
};
