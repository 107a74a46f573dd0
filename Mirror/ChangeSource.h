#pragma once

#include "Mirror/ChangeBatch.h"
#include "QcfLib/QcfLib.h"

#include <set>

namespace Qcf::Mirror {

/// Follows the effective changes of a status and its store, and writes them as batches.
///
/// Keys must be unique over all classes, and the children of every stored node must be stored, too;
/// both are asserted. Belongs to the publishing thread.
class ChangeSource {
public:
    /// What is there already counts as known to whoever gets the batches.
    explicit ChangeSource(Ptr<AllFunctionStatus> status);
    ChangeSource(ChangeSource const &) = delete;
    ChangeSource & operator=(ChangeSource const &) = delete;
    ~ChangeSource();

    bool hasChanges() const;
    /// Whether the store was replaced since the last batch, so that only a batch from nothing can
    /// tell what there is.
    bool replaced() const { return replaced_; }

    /// The changes since the last batch; everything when `start.base` is empty, which it must be
    /// after a replacement.
    Batch takeBatch(BatchStart start, Digest const & digest);
    /// Everything that there is, as a batch from nothing. The changes stay to be taken.
    Batch snapshot(BatchStart start, Digest const & digest) const;

private:
    using Node = Eval::AetNodeBase;

    void statusChanged(Notification const & notification);
    void watchStore();
    void flush();
    void writeNodes(BatchWriter & writer, std::vector<Node const *> nodes) const;
    void writeNode(BatchWriter & writer, Node const & node) const;
    std::vector<Node const *> dirtyNodes() const;

    Ptr<AllFunctionStatus> status_;
    SubscriptionId statusSubscription_;
    Ptr<AetCollections> store_; ///< the one that is watched
    SubscriptionId storeSubscription_ = 0;
    std::set<String> names_;
    std::set<U64> removed_;
    bool replaced_ = false;
};

} // namespace Qcf::Mirror
