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
///
/// A change outside the markers is a batch of its own. That is for a few: each batch costs in
/// proportion to the functions that there are.
class LocalChannel {
public:
    /// Takes one line for the operator.
    using Report = std::function<void(String const & line)>;

    /// `report` is told of trouble, once each time that there is another one.
    explicit LocalChannel(Ptr<AllFunctionStatus> const & status, Report report = {});
    LocalChannel(LocalChannel const &) = delete;
    LocalChannel & operator=(LocalChannel const &) = delete;

    /// The mirror gets what there is, then every batch; it must outlive the channel or be detached.
    /// No batch may be under way. Throws MirrorError when there is something that cannot be
    /// published; the mirror is not attached then.
    void attach(Mirror & mirror);
    void detach(Mirror & mirror);

    /// The last version that the mirrors were given.
    VersionId const & version() const { return version_; }
    /// Why the mirrors are behind the status, as when it holds what cannot be published: they keep
    /// what they have until a batch mends that. Empty while they are in step.
    String const & trouble() const { return trouble_; }

private:
    struct Follower {
        Mirror * mirror;
        bool inStep; ///< has what batches build on
    };

    void changed();
    VersionId nextVersion();
    void renew();
    void pass();
    String give(Follower & follower, StagedBatch const & change);
    void troubleIs(String trouble);

    Ptr<AllFunctionStatus> status_;
    Report report_;
    FunctionDigests digests_;
    VersionId version_; ///< number 0 before the first mirror
    std::vector<Follower> followers_;
    String trouble_;
    ChangeSource source_;
};

} // namespace Qcf::Mirror
