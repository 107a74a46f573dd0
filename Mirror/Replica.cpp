#include "Mirror/Replica.h"

#include "Mirror/BatchChanges.h"
#include "Platform/Render/DocumentError.h"
#include "QcfLib/QcfEval.h"

/// Tries a batch and then makes it. Whatever can be wrong with a batch shows before the first
/// change, so that nobody who follows the status sees a part of it.
namespace Qcf::Mirror {

Replica::Replica(String name, std::shared_ptr<BatchSigner const> signer)
    : status_(allFunctionStatusFactory(std::move(name))),
      signer_(std::move(signer)),
      functions_(status_) {}

Digest Replica::digest() { return versionDigest(functions_.table().summary().digest(), lists_); }

PtrConst<PolicyVersion> Replica::policy() {
    // Findings about them name the version as their file.
    named_ = namedLists(lists_, status_->name() + " version " + std::to_string(version_.number),
                        namedOf_, named_);
    namedOf_ = lists_;
    // A status may be without a store.
    auto const * const nodes = storeOf(*status_);
    return makePtr<PolicyVersion>(version_, functions_.table(),
                                  nodes != nullptr ? nodes->size() : 0, named_, places_);
}

namespace {

/// The size of the store after the changes.
std::size_t changedSize(AetCollections const * base, BatchChanges const & changes) {
    // Computed and not counted afterwards, when it would be too late to refuse.
    std::size_t size = changes.nodes().size();
    if (base != nullptr) {
        size += base->size();
        for (CollKey const & place : changes.removed()) {
            size -= base->node(place.collection, place.key) ? 1 : 0;
        }
    }
    return size;
}

[[noreturn]] void refuse(StagedBatch const & batch, String const & why) {
    throw MirrorError("version " + std::to_string(batch.start().version) + ": " + why);
}

} // namespace

void Replica::checkContent(StagedBatch const & batch, BatchChanges const & changes,
                           FunctionTable const & functions) const {
    bool const isTree = batch.start().format >= treeFormat;
    Digest const digest = isTree ? functions.summary().digest() : flatDigest(functions);
    if (batch.version().digest != versionDigest(digest, changes.lists())) {
        refuse(batch, "its functions and lists are not those that were published");
    }
    if (changes.lists().size() != batch.lists()) {
        refuse(batch, "its lists are not as many as were published");
    }
    bool const fromNothing = batch.start().base.empty();
    if (changedSize(fromNothing ? nullptr : storeOf(*status_), changes) != batch.nodes()) {
        refuse(batch, "its nodes are not as many as were published");
    }
}

// Everything that can fail comes first.
void Replica::apply(StagedBatch const & batch) {
    // Before anything that it says is looked at.
    if (signer_ && !batch.isSignedBy(*signer_)) {
        refuse(batch, "it is not signed by the key that is wanted here");
    }
    // What says everything fits whatever is there.
    bool const fromNothing = batch.start().base.empty();
    if (!fromNothing && batch.start().base != version_.id) {
        refuse(batch, "it builds on another version than " + version_.toString());
    }
    try {
        PublishedLists const none;
        BatchChanges const changes(batch, fromNothing ? nullptr : storeOf(*status_),
                                   fromNothing ? none : lists_,
                                   fromNothing ? VersionPlaces() : places_);
        FunctionTable functions = functions_.changed(
            fromNothing ? FunctionTable() : functions_.table(), changes.functions());
        checkContent(batch, changes, functions);
        commit(changes, fromNothing);
        functions_.tableIs(std::move(functions));
        lists_ = changes.lists();
        places_ = changes.places();
    } catch (DocumentError const & error) {
        throw MirrorError(error.what());
    }
    // Last: whoever threw left the version as it was.
    version_ = batch.version();
}

// Between the markers, as the publisher brackets its changes, and with its values of them.
void Replica::commit(BatchChanges const & changes, bool fromNothing) {
    StatusFields const & fields = changes.status();
    status_->startOfDedupedFunctionUpdatesMarkerIs(fields.startMarker);
    if (fromNothing) {
        status_->reset();
    }
    if (fields.store) {
        status_->aetNodesIs();
        changeNodes(changes);
    } else {
        status_->aetNodesDel();
    }
    // Behind the nodes: whoever follows finds in the store what a name means.
    for (auto const & [name, function] : changes.functions()) {
        status_->aetIs(name, function);
    }
    status_->dedupedFunctionsPresentIs(fields.dedupedFunctionsPresent);
    status_->endOfDedupedFunctionUpdatesMarkerIs(fields.endMarker);
}

void Replica::changeNodes(BatchChanges const & changes) {
    AetCollections & nodes = status_->nodes();
    // First, since others may come under these keys.
    for (CollKey const & place : changes.removed()) {
        nodes.nodeDel(place.collection, place.key);
    }
    nodes.reserveMore(changes.nodes().size());
    for (auto const & node : changes.nodes()) {
        nodes.nodeIs(node);
    }
    // Nobody reads the store's own record of changes here, and it would grow.
    nodes.dirtyCollKeysDel();
}

} // namespace Qcf::Mirror
