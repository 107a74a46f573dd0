#pragma once

#include "Mirror/ChangeSource.h"
#include "Mirror/Mirror.h"

namespace Qcf::Mirror {

/// Replication within a process, without a server: each batch that a publisher completes in its
/// status is applied to the attached mirrors at once, in the publisher's thread. Evaluating threads
/// see it through the mirrors' views.
///
///     LocalChannel channel(status);
///     channel.attach(mirror);
///     ... startOfDedupedFunctionUpdatesMarkerIs(n), changes, endOf...MarkerIs(n) ...
class LocalChannel {
public:
    explicit LocalChannel(Ptr<AllFunctionStatus> const & status);
    LocalChannel(LocalChannel const &) = delete;
    LocalChannel & operator=(LocalChannel const &) = delete;
    ~LocalChannel();

    /// The mirror gets what there is, then every batch; it must outlive the channel or be detached.
    /// No batch may be under way.
    void attach(Mirror & mirror);
    void detach(Mirror & mirror);

    VersionId const & version() const { return version_; }

private:
    void batchEnded();

    Ptr<AllFunctionStatus> status_;
    ChangeSource source_;
    FunctionDigests digests_;
    VersionId version_;
    std::vector<Mirror *> mirrors_;
    SubscriptionId subscription_;
};

} // namespace Qcf::Mirror
