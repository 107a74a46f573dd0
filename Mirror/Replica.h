#pragma once

#include "Mirror/PolicyVersion.h"
#include "Mirror/PublishedLists.h"
#include "Mirror/StagedBatch.h"
#include "Mirror/StatusFunctions.h"

namespace Qcf::Mirror {

class BatchChanges;

/// A copy of a published store: a status of its own, and lists, that complete batches are applied
/// to.
///
///     StagedBatch batch(place, firstPiece);
///     ... batch.add(piece), batch.finish(lastPiece) ...
///     replica.apply(batch); // all of it, or MirrorError and nothing
///
/// Belongs to one thread; the versions that it hands out do not.
///
/// A batch is tried before it counts: nodes are built, checked and their digest compared with the
/// one that the writer computed, and only then is the status changed, between the writer's markers.
class Replica {
public:
    /// Empty, before any version. With a signer it takes no batch that was not signed by its key.
    explicit Replica(String name, std::shared_ptr<BatchSigner const> signer = nullptr);

    /// Never null. Follow it, but do not change it.
    Ptr<AllFunctionStatus> const & status() const { return status_; }
    /// The version that the status is; number 0 before the first.
    VersionId const & version() const { return version_; }

    /// The lists of the version.
    PublishedLists const & lists() const { return lists_; }
    /// The places of the version's functions.
    VersionPlaces const & places() const { return places_; }

    /// Applies a complete batch that builds on this version, or on nothing. Throws MirrorError and
    /// changes nothing when it does not, or does not fit.
    void apply(StagedBatch const & batch);
    /// For a publisher that changed the status itself.
    void versionIs(VersionId version) { version_ = std::move(version); }
    /// For a publisher, as well: the lists and places of the version that is to come.
    void listsIs(PublishedLists lists) { lists_ = std::move(lists); }
    void placesIs(VersionPlaces places) { places_ = std::move(places); }
    /// The digest over functions and lists as they are; costs what changed since the last one.
    Digest digest();
    /// For a publisher that shares what is known of the functions.
    FunctionDigests & digests() { return functions_.digests(); }
    /// Functions and lists as they are, for evaluating threads. Costs what changed since the last
    /// call.
    PtrConst<PolicyVersion> policy();

private:
    /// Whether what the batch comes to is what was published; throws when it is not.
    void checkContent(StagedBatch const & batch, BatchChanges const & changes,
                      FunctionTable const & functions) const;
    /// Makes the changes; they can no longer fail.
    void commit(BatchChanges const & changes, bool fromNothing);
    void changeNodes(BatchChanges const & changes);

    Ptr<AllFunctionStatus> status_;
    VersionId version_;
    std::shared_ptr<BatchSigner const> signer_;
    StatusFunctions functions_;
    PublishedLists lists_;
    VersionPlaces places_;
    /// What the last call of `policy` made, and of what.
    PtrConst<Lists::NamedLists> named_;
    PublishedLists namedOf_;
};

} // namespace Qcf::Mirror
