#include "Mirror/LocalChannel.h"

#include "Platform/Framework/Assert.h"

/// Replication within a process goes by the same batches, as text, as over a server. So mirrors
/// share no node with the publisher, and check what they get in the same way.
namespace Qcf::Mirror {

namespace {

StagedBatch stage(Batch batch) {
    // First and last piece have their own ways in, as they come from a stream.
    StagedBatch result("in process", std::move(batch.pieces.front()));
    for (std::size_t i = 1; i + 1 < batch.pieces.size(); ++i) {
        result.add(std::move(batch.pieces[i]));
    }
    result.finish(std::move(batch.pieces.back()));
    return result;
}

void applyTo(FollowedStore & mirror, StagedBatch const & batch) {
    mirror.replica().apply(batch);
    mirror.show();
}

} // namespace

LocalChannel::LocalChannel(Ptr<AllFunctionStatus> const & status, Report report)
    : status_(status),
      report_(std::move(report)),
      functions_(status),
      source_(status, [this] { passChanges(); }) {}

// What others have been given is brought up to date first, so that all that are attached stand at
// one version.
void LocalChannel::attach(FollowedStore & mirror) {
    QCF_ASSERT_TEXT(!status_->dedupedFunctionUpdatesInProgress(), "no batch is under way");
    // Nobody has the last version: what changed since need not be told, only counted.
    if (followers_.empty()) {
        renew();
    } else if (hasNews()) {
        passBatch();
    }
    BatchStart const start{version_.number, version_.id, ""};
    applyTo(mirror, stage(source_.snapshot(start, version_.digest, passedLists_, passedPlaces_)));
    followers_.push_back({&mirror, true});
}

void LocalChannel::detach(FollowedStore & mirror) {
    std::erase_if(followers_, [&](Follower const & each) { return each.mirror == &mirror; });
}

void LocalChannel::listsIs(std::vector<Lists::ListRecord> lists) {
    lists_ = publishedLists(std::move(lists), lists_);
    passChanges();
}

void LocalChannel::placesIs(VersionPlaces places) {
    places_ = std::move(places);
    passChanges();
}

bool LocalChannel::hasNews() const {
    return source_.hasChanges() || !sameLists(lists_, passedLists_) ||
           placesThatDiffer(places_, passedPlaces_) != 0;
}

// While nobody is attached, changes are noted and no more.
void LocalChannel::passChanges() {
    // Between the markers the status is not what anybody should see.
    if (followers_.empty() || status_->dedupedFunctionUpdatesInProgress() || !hasNews()) {
        return;
    }
    try {
        passBatch();
    } catch (MirrorError const & error) {
        // The publisher's own call must not fail because of a mirror. What could not be published
        // stays noted, and the next change tries again.
        troubleIs(error.what());
    }
}

VersionId LocalChannel::nextVersion() {
    VersionId next{version_.number + 1, newBatchId(), {}};
    next.digest = versionDigest(functions_.table().summary().digest(), lists_);
    return next;
}

/// Takes what there is for a version that nobody has yet.
void LocalChannel::renew() {
    if (version_.number == 0 || hasNews()) {
        version_ = nextVersion();
        source_.changesDel();
        passedLists_ = lists_;
        passedPlaces_ = places_;
    }
}

void LocalChannel::passBatch() {
    VersionId const next = nextVersion();
    BatchStart const start{next.number, next.id, source_.replaced() ? String() : version_.id};
    StagedBatch const change = stage(
        source_.takeBatch(start, next.digest, {passedLists_, lists_}, {passedPlaces_, places_}));
    passedLists_ = lists_;
    passedPlaces_ = places_;
    // From here on the version counts as given: a mirror that cannot take it is told everything
    // next time.
    version_ = next;
    String trouble;
    for (Follower & follower : followers_) {
        trouble += give(follower, change);
    }
    troubleIs(trouble);
}

/// Answers what went wrong. A mirror that something else was done to has everything told anew.
String LocalChannel::give(Follower & follower, StagedBatch const & change) {
    try {
        // The batch builds on the last version, which only those in step have.
        if (follower.inStep) {
            applyTo(*follower.mirror, change);
        } else {
            BatchStart const start{version_.number, version_.id, ""};
            applyTo(*follower.mirror,
                    stage(source_.snapshot(start, version_.digest, passedLists_, passedPlaces_)));
        }
        follower.inStep = true;
        return {};
    } catch (MirrorError const & error) {
        follower.inStep = false;
        return follower.mirror->name() + ": " + error.what();
    }
}

void LocalChannel::troubleIs(String trouble) {
    // The same trouble is told once, not with each change.
    if (trouble != trouble_ && !trouble.empty() && report_) {
        report_(trouble);
    }
    trouble_ = std::move(trouble);
}

} // namespace Qcf::Mirror
