#include "Mirror/Replica.h"

#include "Mirror/BatchChanges.h"
#include "Platform/Render/DocumentError.h"
#include "QcfLib/QcfEval.h"

/// Tries a batch and then makes it. Whatever can be wrong with a batch shows before the first
/// change, so that nobody who follows the status sees a part of it.
namespace Qcf::Mirror {

Replica::Replica(String name) : status_(allFunctionStatusFactory(std::move(name))) {}

PtrConst<PolicyVersion> Replica::policy() const {
    PolicyVersion::Functions functions;
    for (auto const & [name, function] : status_->aet()) {
        functions.emplace(name, ptrCast<Eval::Function const>(function));
    }
    // A status may be without a store.
    auto const * const nodes = storeOf(*status_);
    return makePtr<PolicyVersion>(version_, std::move(functions),
                                  nodes != nullptr ? nodes->size() : 0);
}

namespace {

/// The functions as they will be after the changes.
AllFunctionStatus::Functions changedFunctions(AllFunctionStatus const * base,
                                              BatchChanges const & changes) {
    auto functions = base != nullptr ? base->aet() : AllFunctionStatus::Functions();
    for (auto const & [name, function] : changes.functions()) {
        if (function) {
            functions[name] = function;
        } else {
            functions.erase(name);
        }
    }
    return functions;
}

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

// Functions that stay under their names need not be looked at: their digest is known.
bool Replica::isDigest(Digest const & digest, AllFunctionStatus const * base,
                       BatchChanges const & changes) {
    return base != nullptr && changes.functions().empty()
               ? digest == version_.digest
               : digest == digests_.of(changedFunctions(base, changes));
}

// Everything that can fail comes first.
void Replica::apply(StagedBatch const & batch) {
    // What says everything fits whatever is there.
    bool const fromNothing = batch.start().base.empty();
    if (!fromNothing && batch.start().base != version_.id) {
        refuse(batch, "it builds on another version than " + version_.toString());
    }
    AllFunctionStatus const * const base = fromNothing ? nullptr : status_.get();
    AetCollections const * const store = base != nullptr ? storeOf(*base) : nullptr;
    try {
        BatchChanges const changes(batch, store);
        if (!isDigest(batch.version().digest, base, changes)) {
            refuse(batch, "its functions are not those that were published");
        }
        if (changedSize(store, changes) != batch.nodes()) {
            refuse(batch, "its nodes are not as many as were published");
        }
        commit(changes, fromNothing);
        // Digests of functions that went would keep their nodes alive.
        if (fromNothing || !changes.functions().empty()) {
            digests_.keepInUse();
        }
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
