#include "Mirror/ChangeSource.h"

#include "Mirror/BatchNodes.h"
#include "Mirror/BatchPlaces.h"
#include "Mirror/ListDifference.h"
#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfAllAetEntities.h"
#include "QcfLib/QcfEval.h"

/// Notes what changes and tells it as a batch. Only places and names are noted: what a batch says
/// of them is read when it is taken, so that what changed twice is told once.
namespace Qcf::Mirror {

using Node = Eval::AetNodeBase;

namespace {

/// Says how lists change, where there are any.
void writeLists(BatchWriter & writer, PublishedLists const & before, PublishedLists const & after) {
    writer.listsAre(after.size(), writeListChanges(writer, before, after));
}

} // namespace

ChangeSource::ChangeSource(Ptr<AllFunctionStatus> status, std::function<void()> changed)
    : status_(std::move(status)),
      changed_(std::move(changed)),
      statusSubscription_(status_->publisher().subscribe(
          [this](Notification const & notification) { statusChanged(notification); })) {
    watchStore();
}

ChangeSource::~ChangeSource() {
    // The status lives on, and would call what is gone.
    status_->publisher().unsubscribe(statusSubscription_);
    unwatchStore();
}

void ChangeSource::tellChange() const {
    if (changed_) {
        changed_();
    }
}

void ChangeSource::statusChanged(Notification const & notification) {
    std::string_view const attribute = notification.attribute;
    if (attribute == "aet") {
        names_.insert(notification.name);
    } else if (attribute == "aetNodes") {
        // Another store: what was noted of the one before means nothing any more.
        replaced_ = true;
        unwatchStore();
        watchStore();
    } else {
        fields_ = true;
    }
    tellChange();
}

// Changes are noted by the store itself, in a record that it knows; the notification is asked for
// only where somebody wants to act at once.
void ChangeSource::watchStore() {
    store_ = status_->aetNodes();
    if (!store_) {
        return;
    }
    store_->followerIs(nodes_);
    if (changed_) {
        storeSubscription_ =
            store_->publisher().subscribe([this](Notification const &) { tellChange(); });
    }
}

void ChangeSource::unwatchStore() {
    if (store_) {
        store_->followerDel(nodes_);
        store_->publisher().unsubscribe(storeSubscription_);
    }
    nodes_.clear();
}

// Markers and flags alone are worth a batch, too.
bool ChangeSource::hasChanges() const {
    return replaced_ || fields_ || !names_.empty() || !nodes_.changes().empty();
}

// The store that is followed stays the same; only what was noted of it goes.
void ChangeSource::changesDel() {
    names_.clear();
    nodes_.clear();
    fields_ = false;
    replaced_ = false;
}

Batch ChangeSource::takeBatch(BatchStart start, Digest const & digest, ListChange const & lists,
                              PlaceChange const & places) {
    QCF_ASSERT_TEXT(!replaced_ || start.base.empty(), "a replaced store is told from nothing");
    // From nothing: what changed is a part of what there is.
    if (start.base.empty()) {
        Batch batch = snapshot(std::move(start), digest, lists.after, places.after);
        changesDel();
        return batch;
    }
    std::vector<CollKey> gone;
    std::vector<Node const *> come;
    for (AetChanges::Change const & change : nodes_.changes()) {
        // Nodes do not change: another node under the key is one that goes and one that comes.
        if (change.kind != Notification::added) {
            gone.push_back(change.place());
        }
        if (auto const node = store_->node(change.collection, change.key)) {
            come.push_back(node.get());
        }
    }
    BatchWriter writer(std::move(start));
    writer.signerIs(signer_.get());
    // A key that is used again goes before it comes.
    writer.remove(gone);
    BatchNodes nodes(writer, store_.get(), std::move(come));
    nodes.write();
    // Behind the nodes that the names refer to.
    for (String const & name : names_) {
        auto const function = status_->aet(name);
        function ? nodes.function(name, *function) : writer.functionDel(name);
    }
    writeLists(writer, lists.before, lists.after);
    writePlaceChanges(writer, places.before, places.after);
    Batch batch = writer.finish(StatusFields::of(*status_), digest, status_->aet().size(),
                                store_ ? store_->size() : 0);
    // Last: where something cannot be published, the changes stay to be taken.
    changesDel();
    return batch;
}

Batch ChangeSource::snapshot(BatchStart start, Digest const & digest, PublishedLists const & lists,
                             VersionPlaces const & places) const {
    // Whatever the caller builds on, this says everything.
    start.base.clear();
    BatchWriter writer(std::move(start));
    writer.signerIs(signer_.get());
    std::vector<Node const *> all;
    if (store_) {
        all.reserve(store_->size());
        store_->forEachNode([&](Ptr<Node> const & node) { all.push_back(node.get()); });
    }
    std::size_t const size = all.size();
    BatchNodes nodes(writer, store_.get(), std::move(all));
    nodes.write();
    for (auto const & [name, function] : status_->aet()) {
        nodes.function(name, *function);
    }
    writeLists(writer, {}, lists);
    writePlaceChanges(writer, {}, places);
    return writer.finish(StatusFields::of(*status_), digest, status_->aet().size(), size);
}

} // namespace Qcf::Mirror
