#include "QcfLib/QcfLib.h"

#include "Platform/Framework/Assert.h"
#include "QcfLib/Nodes/NodeTexts.h"
#include "QcfLib/QcfAllAetEntities.h"

/// The published root. Each operation changes first and publishes afterwards, and publishes
/// nothing where nothing changed.
namespace Qcf {

AllFunctionStatus::AllFunctionStatus(String name) : name_(std::move(name)) { aetNodesIs(); }

AllFunctionStatus::~AllFunctionStatus() {
    if (aetNodes_) {
        // Others may hold the store: it must not point here any more.
        aetNodes_->parentIs(nullptr);
    }
}

Ptr<AllFunctionStatus> AllFunctionStatus::AllFunctionStatusIs(String name) {
    return makePtr<AllFunctionStatus>(std::move(name));
}
Ptr<AllFunctionStatus> allFunctionStatusFactory(String name) {
    return makePtr<AllFunctionStatus>(std::move(name));
}

// Counted: the function stays good when the name is taken away.
PtrConst<Eval::FunctionBase> AllFunctionStatus::aet(std::string_view name) const {
    auto const found = aet_.find(name);
    return found == aet_.end() ? nullptr : found->second;
}

void AllFunctionStatus::aetIs(String const & name, PtrConst<Eval::FunctionBase> const & function) {
    if (!function) {
        aetDel(name);
        return;
    }
    auto const [entry, isNew] = aet_.try_emplace(name, function);
    if (isNew) {
        publishAet(name, Notification::added);
    } else if (entry->second != function) {
        // The function that was there lives until listeners were told.
        PtrConst<Eval::FunctionBase> const before = std::exchange(entry->second, function);
        publishAet(name, Notification::changed);
    }
}

void AllFunctionStatus::aetDel(std::string_view name) {
    auto const found = aet_.find(name);
    if (found != aet_.end()) {
        // Out of the map before it is told, and its name kept for the telling.
        auto const removed = aet_.extract(found);
        publishAet(removed.key(), Notification::removed);
    }
}

void AllFunctionStatus::aetDelAll() {
    // One by one, from the front: a listener may change the functions in between.
    while (!aet_.empty()) {
        aetDel(aet_.begin()->first);
    }
}

Ptr<AllAetEntities> const & AllFunctionStatus::aetNodesIs() {
    if (!aetNodes_) {
        // The parent comes before the news: who is told may go up from there.
        aetNodes_ = allAetEntitiesFactory();
        aetNodes_->parentIs(this);
        publish("aetNodes");
    }
    return aetNodes_;
}

void AllFunctionStatus::aetNodesDel() {
    if (aetNodes_) {
        aetNodes_->parentIs(nullptr);
        aetNodes_ = nullptr;
        publish("aetNodes");
    }
}

AetCollections & AllFunctionStatus::nodes() const {
    QCF_ASSERT_TEXT(aetNodes_, "the store is there");
    return *aetNodes_;
}

// Writing what is there already tells nobody anything; so with the markers.
void AllFunctionStatus::dedupedFunctionsPresentIs(bool present) {
    if (present != dedupedFunctionsPresent_) {
        dedupedFunctionsPresent_ = present;
        publish("dedupedFunctionsPresent");
    }
}

void AllFunctionStatus::startOfDedupedFunctionUpdatesMarkerIs(U32 marker) {
    if (marker != startOfUpdates_) {
        startOfUpdates_ = marker;
        publish("startOfDedupedFunctionUpdatesMarker");
    }
}

void AllFunctionStatus::endOfDedupedFunctionUpdatesMarkerIs(U32 marker) {
    if (marker != endOfUpdates_) {
        endOfUpdates_ = marker;
        publish("endOfDedupedFunctionUpdatesMarker");
    }
}

// A fresh store rather than an emptied one: its members would each be a change.
void AllFunctionStatus::reset() {
    aetDelAll();
    aetNodesDel();
    aetNodesIs();
}

void AllFunctionStatus::publish(char const * attribute) {
    Entity::publish({.attribute = attribute, .subject = this});
}

void AllFunctionStatus::publishAet(String const & name, Notification::Kind kind) {
    Entity::publish({.attribute = "aet", .kind = kind, .name = name, .subject = this});
}

void AllFunctionStatus::dumpState(PtrConst<DumpContext> const & dumpContext, U32 indent) const {
    DumpContext const & dump = *dumpContext;
    Eval::dumpIndent(dumpContext, indent);
    dump.print("Total QCF AETs: %u\n", static_cast<U32>(aet_.size()));
    for (auto const & [name, function] : aet_) {
        Eval::dumpIndent(dumpContext, indent);
        dump.print("Qcf AET for function %s\n", name.c_str());
        // A function that is published under several names is shown once.
        if (dump.firstTime(function.get())) {
            function->dumpState(dumpContext, indent);
        } else {
            Eval::dumpIndent(dumpContext, indent);
            dump.print("function %s@%p, as above\n", function->funcName().c_str(),
                       static_cast<void const *>(function.get()));
        }
    }
    Eval::dumpIndent(dumpContext, indent);
    dump.print("dedupedFunctionsPresent %d\n", dedupedFunctionsPresent_ ? 1 : 0);
    Eval::dumpIndent(dumpContext, indent);
    dump.print("startOfDedupedFunctionUpdatesMarker %u\n", startOfUpdates_);
    Eval::dumpIndent(dumpContext, indent);
    dump.print("endOfDedupedFunctionUpdatesMarker %u\n", endOfUpdates_);
}

} // namespace Qcf
