#pragma once

#include "Mirror/Replica.h"
#include "Mirror/VersionedView.h"

#include <memory>

namespace Qcf::Mirror {

/// A reader's side: the copy of a published store, and the view that evaluating threads work with.
/// All but the view belongs to the thread that applies changes.
class Mirror {
public:
    explicit Mirror(String name) : name_(std::move(name)), replica_(fresh()) {}

    String const & name() const { return name_; }
    AllFunctionStatus const & status() const { return *replica_->status(); }
    VersionId const & version() const { return replica_->version(); }
    VersionedView & view() { return view_; }

    /// An empty copy, to be filled beside the present one and then adopted.
    std::unique_ptr<Replica> fresh() const { return std::make_unique<Replica>(name_); }
    /// The copy, for applying batches; `show` makes what it became visible.
    Replica & replica() { return *replica_; }
    void adopt(std::unique_ptr<Replica> replica) { replica_ = std::move(replica); }
    /// Evaluating threads work with the copy's version from here on.
    void show() { view_.currentIs(replica_->policy()); }

private:
    String name_;
    VersionedView view_;
    std::unique_ptr<Replica> replica_;
};

} // namespace Qcf::Mirror
