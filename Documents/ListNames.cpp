#include "Documents/ListNames.h"

#include "Platform/Render/Utf8.h"

/// Joined sets form a graph, as the trees do that they belong to. Joining must be cheap, since
/// every node joins; listing happens once a function and may cost more.
namespace Qcf::Documents {

namespace {

/// Of a set that is two others joined.
constexpr U32 noUse = ~U32{0};
// Tables of the agent are indexed by 16 bits.
constexpr U16 largestSlot = 0xffff;

/// "metadata"
String metadataName() {
    return Eval::nodeClassOf<Eval::Function>().fieldOf(Eval::FieldRole::metadata)->name;
}

[[noreturn]] void failSlot(Place const & place, SlotKindInfo const & kind, String const & name,
                           U16 slot, String const & other) {
    place.fail(metadataName() + "." + kind.name,
               "\"" + oneLine(name, 60) + "\" at slot " + std::to_string(slot) +
                   " throughout the document",
               other);
}

} // namespace

// Slot 0 selects nothing, so any number of names may have it. A name that has a slot keeps it: the
// first one that is told counts.
bool ListNames::take(SlotKind kind, String const & name, U16 slot) {
    if (slot != 0) {
        auto const [at, isNew] = ofKind(kind).taken.emplace(slot, name);
        if (!isNew && at->second != name) {
            return false;
        }
    }
    slots_.of(kind).emplace(name, slot);
    return true;
}

// Slots are the document's and not a function's: one agent's tables serve all its functions, so
// that they must agree.
void ListNames::metadataIs(Place const & place, FunctionMetadata const & metadata) {
    for (SlotKindInfo const & info : slotKinds) {
        SlotMap const & slots = slots_.of(info.kind);
        for (auto const & [name, slot] : metadata.of(info.kind)) {
            auto const before = slots.find(name);
            if (before != slots.end() && before->second != slot) {
                failSlot(place, info, name, slot, "slot " + std::to_string(before->second));
            }
            if (!take(info.kind, name, slot)) {
                String const & other = ofKind(info.kind).taken.at(slot);
                failSlot(place, info, name, slot, '"' + oneLine(other, 60) + "\" there");
            }
        }
    }
}

void ListNames::slotIs(SlotKind kind, String const & name, U64 slot) {
    // What contradicts is kept as it is: the function's check will call it insane.
    if (slot != 0 && slot <= largestSlot && !slots_.of(kind).contains(name)) {
        take(kind, name, static_cast<U16>(slot));
    }
}

// Counted wider than slots are, so that the end shows.
U16 ListNames::nextSlot(Place const & place, SlotKind kind) {
    auto const & taken = ofKind(kind).taken;
    U32 & last = ofKind(kind).lastCounted;
    do {
        ++last;
    } while (last <= largestSlot && taken.contains(static_cast<U16>(last)));
    if (last > largestSlot) {
        place.fail(slotKindInfo(kind).name, "at most 65535 names in a document", "more");
    }
    return static_cast<U16>(last);
}

// The first use makes the set and the entry of the document's lists; all later ones answer with
// that set, so that a tree with many uses of one name has one set for it.
U32 ListNames::use(Place const & place, SlotKind kind, String const & name) {
    auto const [at, isNew] = ofKind(kind).uses.emplace(name, static_cast<U32>(uses_.size()));
    if (!isNew) {
        return uses_[at->second].set;
    }
    if (!slots_.of(kind).contains(name)) {
        take(kind, name, nextSlot(place, kind));
    }
    auto const set = static_cast<U32>(sets_.size());
    sets_.push_back({at->second, 0, 0, 0});
    uses_.push_back({kind, name, set});
    lists_.push_back({slotKindInfo(kind).name, name, slotOf(kind, name), place.text()});
    return set;
}

U16 ListNames::slotOf(SlotKind kind, String const & name) const {
    return Qcf::slotOf(slots_.of(kind), name);
}

// The sets themselves are not merged: a tree that shares its nodes would have them merged again and
// again.
U32 ListNames::join(U32 a, U32 b) {
    if (a == b || b == 0) {
        return a;
    }
    if (a == 0) {
        return b;
    }
    sets_.push_back({noUse, a, b, 0});
    return static_cast<U32>(sets_.size() - 1);
}

// Each function goes over all of its sets, once each. Many functions over one large tree go over
// the same ones, so that the steps are limited.
FunctionMetadata ListNames::metadataOf(Place const & place, U32 set) {
    FunctionMetadata metadata;
    std::vector<U32> open{set};
    ++visit_;
    while (!open.empty()) {
        U32 const at = open.back();
        open.pop_back();
        if (at == 0 || std::exchange(sets_[at].visit, visit_) == visit_) {
            continue;
        }
        if (++steps_ > ProgramLimits::nameSteps) {
            place.fail(metadataName(), "fewer uses of named lists in the document", "too many");
        }
        Set const & walked = sets_[at];
        if (walked.use == noUse) {
            open.push_back(walked.left);
            open.push_back(walked.right);
        } else {
            Use const & use = uses_[walked.use];
            metadata.of(use.kind).emplace(use.name, slotOf(use.kind, use.name));
        }
    }
    return metadata;
}

} // namespace Qcf::Documents
