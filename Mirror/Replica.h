#pragma once

#include "Mirror/FunctionDigests.h"
#include "Mirror/PolicyVersion.h"
#include "Mirror/StagedBatch.h"

namespace Qcf::Mirror {

class BatchChanges;

/// A copy of a published store: a status of its own that complete batches are applied to.
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
    /// Empty, before any version.
    explicit Replica(String name);

    /// Never null. Follow it, but do not change it.
    Ptr<AllFunctionStatus> const & status() const { return status_; }
    /// The version that the status is; number 0 before the first.
    VersionId const & version() const { return version_; }

    /// Applies a complete batch that builds on this version, or on nothing. Throws MirrorError and
    /// changes nothing when it does not, or does not fit.
    void apply(StagedBatch const & batch);
    /// For a publisher that changed the status itself.
    void versionIs(VersionId version) { version_ = std::move(version); }
    /// The digest over the functions as they are.
    Digest digest() { return digests_.of(status_->aet()); }
    /// For a publisher that shares what is known of the functions.
    FunctionDigests & digests() { return digests_; }
    /// The functions as they are, for evaluating threads.
    PtrConst<PolicyVersion> policy() const;

private:
    /// Whether the functions would have that digest after the changes.
    bool isDigest(Digest const & digest, AllFunctionStatus const * base,
                  BatchChanges const & changes);
    /// Makes the changes; they can no longer fail.
    void commit(BatchChanges const & changes, bool fromNothing);
    void changeNodes(BatchChanges const & changes);

    Ptr<AllFunctionStatus> status_;
    VersionId version_;
    FunctionDigests digests_;
};

} // namespace Qcf::Mirror
