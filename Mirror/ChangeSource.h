#pragma once

#include "Mirror/ChangeBatch.h"
#include "Mirror/PublishedLists.h"
#include "Mirror/VersionPlaces.h"
#include "QcfLib/QcfLib.h"

#include <functional>
#include <set>

namespace Qcf::Mirror {

/// Follows the effective changes of a status and its store, and writes them as batches. Any number
/// may follow one status. Belongs to the publishing thread.
///
///     ChangeSource source(status);
///     ... changes of the status ...
///     if (source.hasChanges()) {
///         send(source.takeBatch({version, newBatchId(), lastId}, digest));
///     }
///
/// A member that came and went within a batch is not told. Costs a note a change, and in a batch
/// what it says.
class ChangeSource {
public:
    /// What is there already counts as known to whoever gets the batches. `changed` is called with
    /// each change, once it is noted.
    explicit ChangeSource(Ptr<AllFunctionStatus> status, std::function<void()> changed = {});
    ChangeSource(ChangeSource const &) = delete;
    ChangeSource & operator=(ChangeSource const &) = delete;
    ~ChangeSource();

    /// Whether a batch would say anything.
    bool hasChanges() const;
    /// Whether the store was replaced since the last batch, so that only a batch from nothing can
    /// tell what there is.
    bool replaced() const { return replaced_; }

    /// The changes since the last batch; everything when `start.base` is empty, which it must be
    /// after a replacement. Throws MirrorError when there is something that cannot be published;
    /// the changes then stay to be taken. A status knows no lists and no places: who publishes some
    /// says how they change; `digest` is then over the lists, too.
    Batch takeBatch(BatchStart start, Digest const & digest, ListChange const & lists = {},
                    PlaceChange const & places = {});
    /// Everything that there is, as a batch from nothing, with these lists and places. The changes
    /// stay to be taken. Throws as `takeBatch` does.
    Batch snapshot(BatchStart start, Digest const & digest, PublishedLists const & lists = {},
                   VersionPlaces const & places = {}) const;
    /// Batches are signed from here on; null for not.
    void signerIs(std::shared_ptr<BatchSigner const> signer) { signer_ = std::move(signer); }
    /// Forgets the changes: whoever gets the batches knows of them.
    void changesDel();

private:
    /// Notes a change of the status.
    void statusChanged(Notification const & notification);
    /// Calls `changed`, where there is one.
    void tellChange() const;
    /// Follows the store that the status has now.
    void watchStore();
    void unwatchStore();

    Ptr<AllFunctionStatus> status_;
    std::function<void()> changed_;
    std::shared_ptr<BatchSigner const> signer_;
    SubscriptionId statusSubscription_;
    Ptr<AetCollections> store_; ///< the one that is watched
    SubscriptionId storeSubscription_ = 0;
    /// Members that came and went since the last batch.
    AetChanges nodes_;
    /// Names that mean another function than at the last batch.
    std::set<String> names_;
    bool fields_ = false; ///< markers and flags changed
    bool replaced_ = false;
};

} // namespace Qcf::Mirror
