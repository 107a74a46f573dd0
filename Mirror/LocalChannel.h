#pragma once

#include "Mirror/ChangeSource.h"
#include "Mirror/FollowedStore.h"

namespace Qcf::Mirror {

/// Replication within a process, without a server: each batch that a publisher completes in its
/// status is applied to the attached mirrors at once, in the publisher's thread. Evaluating threads
/// see it through the mirrors' views.
///
///     LocalChannel channel(status);
///     channel.attach(mirror);
///     ... startOfDedupedFunctionUpdatesMarkerIs(n), changes, endOf...MarkerIs(n) ...
///
/// A change outside the markers is a batch of its own. A batch costs what it changes, and a look at
/// each of the lists that there are.
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
    void attach(FollowedStore & mirror);
    void detach(FollowedStore & mirror);

    /// Publishes lists with the functions, which name them: a status knows none. They go out with
    /// the batch that is under way, else as a version of their own. Each list is named once. Throws
    /// MirrorError for a list that no reader would take; what was there before then stays.
    void listsIs(std::vector<Lists::ListRecord> lists);

    /// Tells where the functions stand in their texts, and their nodes by the keys that they have
    /// in the status: `placesOf` makes that of a program. Goes out as lists do.
    void placesIs(VersionPlaces places);

    /// The last version that the mirrors were given.
    VersionId const & version() const { return version_; }
    /// Why the mirrors are behind the status, as when it holds what cannot be published: they keep
    /// what they have until a batch mends that. Empty while they are in step.
    String const & trouble() const { return trouble_; }

private:
    /// A store that follows, and whether the next batch fits it.
    struct Follower {
        FollowedStore * mirror;
        bool inStep; ///< has what batches build on
    };

    /// Whether there is what the last version has not.
    bool hasNews() const;
    /// A change came: passes a batch on when one is complete.
    void passChanges();
    /// The version that the changes make.
    VersionId nextVersion();
    void renew();
    void passBatch();
    /// Applies the batch to one store; answers what went wrong.
    String give(Follower & follower, StagedBatch const & change);
    /// Reports trouble that is new.
    void troubleIs(String trouble);

    Ptr<AllFunctionStatus> status_;
    Report report_;
    StatusFunctions functions_;
    PublishedLists lists_;       ///< of the version that is to come
    PublishedLists passedLists_; ///< of the last version
    VersionPlaces places_;       ///< of the version that is to come
    VersionPlaces passedPlaces_; ///< of the last version
    VersionId version_;          ///< number 0 before the first mirror
    std::vector<Follower> followers_;
    String trouble_;
    ChangeSource source_;
};

} // namespace Qcf::Mirror
