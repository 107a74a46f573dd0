#pragma once

#include "Mirror/FunctionDigests.h"
#include "Mirror/PolicyVersion.h"
#include "Mirror/StagedBatch.h"

namespace Qcf::Mirror {

class BatchChanges;

/// A copy of a published store: a status of its own that complete batches are applied to. Belongs
/// to one thread; the versions that it hands out do not.
class Replica {
public:
    /// Empty, before any version.
    explicit Replica(String name);

    Ptr<AllFunctionStatus> const & status() const { return status_; }
    VersionId const & version() const { return version_; }

    /// Applies a complete batch that builds on this version, or on nothing. Throws MirrorError and
    /// changes nothing when it does not, or does not fit.
    void apply(StagedBatch const & batch);
    /// For a publisher that changed the status itself.
    void versionIs(VersionId version) { version_ = std::move(version); }
    /// The digest over the functions as they are.
    Digest digest() { return digests_.of(status_->aet()); }
    FunctionDigests & digests() { return digests_; }
    /// The functions as they are, for evaluating threads.
    PtrConst<PolicyVersion> policy() const;

private:
    bool isDigest(Digest const & digest, AllFunctionStatus const * base,
                  BatchChanges const & changes);
    void commit(BatchChanges const & changes, bool fromNothing);
    void changeNodes(BatchChanges const & changes);

    Ptr<AllFunctionStatus> status_;
    VersionId version_;
    FunctionDigests digests_;
};

} // namespace Qcf::Mirror
