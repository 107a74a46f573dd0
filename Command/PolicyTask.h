#pragma once

#include "Command/WatchPolicy.h"
#include "Live/PolicySwap.h"
#include "Live/StationTask.h"

/// Looks for a newer policy and puts it in the place of the one before, between a station's reads.
class PolicyTask final : public Qcf::Live::StationTask {
public:
    using Changed = std::function<void(Qcf::Live::PolicyChange const & change)>;

    /// All must outlive it; `changed` is told of each policy that is shown from then on.
    PolicyTask(WatchPolicy & source, Qcf::Live::RouterSet & routers, U32 threads, Changed changed)
        : source_(source), swap_(routers, threads), changed_(std::move(changed)) {}

    bool step(Deadline deadline) override {
        if (auto policy = source_.newer()) {
            swap_.begin(std::move(policy));
        }
        if (auto const change = swap_.step(deadline)) {
            changed_(*change);
        }
        return swap_.isUnderWay();
    }

private:
    WatchPolicy & source_;
    Qcf::Live::PolicySwap swap_;
    Changed changed_;
};
