#pragma once

#include "Mirror/Replica.h"
#include "Mirror/VersionedView.h"

#include <memory>

namespace Qcf::Mirror {

/// A reader's side: the copy of a published store, and the view that evaluating threads work with.
///
///     FollowedStore store("policies");
///     LocalChannel channel(status);              // within the process, or
///     RedisFollower follower(options, store, report); // from a server, with poll() in a loop
///     channel.attach(store);
///
///     VersionedView::Reader reader(store.view()); // in an evaluating thread
///     auto const version = reader.pin();
///     version->find("import")->eval(context);
///
/// A version becomes visible whole or not at all; whatever goes wrong on the way, threads keep the
/// last good one. All but the view belongs to the thread that applies changes. The view, and with
/// it this object, must outlive its readers.
class FollowedStore {
public:
    /// Empty, before any version. The name is that of the published store: a server has the store
    /// under it.
    /// With a signer nothing is taken that was not signed by its key.
    explicit FollowedStore(String name, std::shared_ptr<BatchSigner const> signer = nullptr)
        : name_(std::move(name)), signer_(std::move(signer)), replica_(emptyReplica()) {}

    /// The name of the published store, by which messages call it, too.
    String const & name() const { return name_; }
    /// The copy itself: functions under their names and the store of their nodes.
    AllFunctionStatus const & status() const { return *replica_->status(); }
    /// The version that the copy is; number 0 before the first.
    VersionId const & version() const { return replica_->version(); }
    /// What evaluating threads work with.
    VersionedView & view() { return view_; }

    /// An empty copy, to be filled beside the present one and then adopted.
    std::unique_ptr<Replica> emptyReplica() const {
        return std::make_unique<Replica>(name_, signer_);
    }
    /// The copy, for applying batches; `show` makes what it became visible.
    Replica & replica() { return *replica_; }
    void adopt(std::unique_ptr<Replica> replica) { replica_ = std::move(replica); }
    /// Evaluating threads work with the copy's version from here on.
    void show() { view_.currentIs(replica_->policy()); }

private:
    String name_;
    std::shared_ptr<BatchSigner const> signer_;
    VersionedView view_;
    std::unique_ptr<Replica> replica_;
};

} // namespace Qcf::Mirror
