#include "Mirror/Replica.h"

#include "Mirror/BatchChanges.h"
#include "Platform/Render/DocumentError.h"
#include "QcfLib/QcfEval.h"

namespace Qcf::Mirror {

Replica::Replica(String name) : status_(allFunctionStatusFactory(std::move(name))) {}

PtrConst<PolicyVersion> Replica::policy() const {
    PolicyVersion::Functions functions;
    for (auto const & [name, function] : status_->aet()) {
        functions.emplace(name, ptrCast<Eval::Function const>(function));
    }
    return makePtr<PolicyVersion>(version_, std::move(functions), status_->nodes().size());
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
std::size_t changedSize(AllFunctionStatus const * base, BatchChanges const & changes) {
    std::size_t size = changes.nodes().size();
    if (base != nullptr) {
        size += base->nodes().size();
        for (U64 const key : changes.removed()) {
            size -= base->nodes().anyNode(key, [](auto const &) { return true; }) ? 1 : 0;
        }
    }
    return size;
}

[[noreturn]] void refuse(StagedBatch const & batch, String const & why) {
    throw MirrorError("version " + std::to_string(batch.start().version) + ": " + why);
}

} // namespace

// Everything that can fail comes first.
void Replica::apply(StagedBatch const & batch) {
    bool const fromNothing = batch.start().base.empty();
    if (!fromNothing && batch.start().base != version_.id) {
        refuse(batch, "it builds on another version than " + version_.toString());
    }
    AllFunctionStatus const * const base = fromNothing ? nullptr : status_.get();
    try {
        BatchChanges const changes(batch, base != nullptr ? &base->nodes() : nullptr);
        if (digests_.of(changedFunctions(base, changes)) != batch.version().digest) {
            refuse(batch, "its functions are not those that were published");
        }
        if (changedSize(base, changes) != batch.nodes()) {
            refuse(batch, "its nodes are not as many as were published");
        }
        commit(changes, fromNothing, static_cast<U32>(batch.start().version));
    } catch (DocumentError const & error) {
        throw MirrorError(error.what());
    }
    version_ = batch.version();
    digests_.keepInUse();
}

void Replica::commit(BatchChanges const & changes, bool fromNothing, U32 marker) {
    // Markers rise within one life of a name; a name that begins anew starts them again.
    status_->endOfDedupedFunctionUpdatesMarkerIs(marker - 1);
    status_->startOfDedupedFunctionUpdatesMarkerIs(marker);
    if (fromNothing) {
        status_->reset();
    }
    AetCollections & nodes = status_->nodes();
    for (U64 const key : changes.removed()) {
        if (auto const node = nodes.anyNode(key, [](auto const &) { return true; })) {
            nodes.nodeDel(static_cast<U16>(node->typeData().number()), key);
        }
    }
    nodes.reserveMore(changes.nodes().size());
    for (auto const & node : changes.nodes()) {
        nodes.nodeIs(node);
    }
    for (auto const & [name, function] : changes.functions()) {
        status_->aetIs(name, function);
    }
    nodes.dirtyCollKeysDel();
    status_->dedupedFunctionsPresentIs(true);
    status_->endOfDedupedFunctionUpdatesMarkerIs(marker);
}

} // namespace Qcf::Mirror
