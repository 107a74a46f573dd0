#include "Documents/ListNames.h"

#include "Platform/Render/Utf8.h"

namespace Qcf::Documents {

namespace {

constexpr U32 noUse = ~U32{0};
constexpr U16 largestSlot = 0xffff;

struct Kind {
    SlotMapMember member;
    char const * name;
};
using M = FunctionMetadata;
constexpr Kind kinds[] = {
    {&M::commListsUsed, "commListsUsed"},
    {&M::extCommListsUsed, "extCommListsUsed"},
    {&M::largeCommListsUsed, "largeCommListsUsed"},
    {&M::tagSetsUsed, "tagSetsUsed"},
    {&M::asPathAccessListsUsed, "asPathAccessListsUsed"},
    {&M::V4PrefixListsUsed, "V4PrefixListsUsed"},
    {&M::V6PrefixListsUsed, "V6PrefixListsUsed"},
    {&M::DynPrefixListsUsed, "DynPrefixListsUsed"},
    {&M::roaTablesUsed, "roaTablesUsed"},
    {&M::tunnelRibsUsed, "tunnelRibsUsed"},
};

[[noreturn]] void failSlot(JsonValue const & place, Kind const & kind, String const & name,
                           U16 slot, String const & found) {
    place.fail("metadata." + String(kind.name),
               "\"" + oneLine(name, 60) + "\" at slot " + std::to_string(slot) +
                   " throughout the document",
               found);
}

} // namespace

SlotMapMember listKindOf(SlotRule const & rule, bool isV4) {
    bool const other = rule.kind == &M::V4PrefixListsUsed && !isV4;
    return other ? &M::V6PrefixListsUsed : rule.kind;
}

std::size_t ListNames::number(SlotMapMember kind) {
    std::size_t i = 0;
    while (kinds[i].member != kind) {
        ++i;
    }
    return i;
}

// Slot 0 selects nothing, so any number of names may have it.
bool ListNames::take(SlotMapMember kind, String const & name, U16 slot) {
    if (slot != 0) {
        auto const [at, isNew] = taken_[number(kind)].emplace(slot, name);
        if (!isNew && at->second != name) {
            return false;
        }
    }
    (slots_.*kind).emplace(name, slot);
    return true;
}

void ListNames::metadataIs(JsonValue const & place, FunctionMetadata const & metadata) {
    for (Kind const & kind : kinds) {
        for (auto const & [name, slot] : metadata.*(kind.member)) {
            auto const known = (slots_.*(kind.member)).find(name);
            if (known != (slots_.*(kind.member)).end() && known->second != slot) {
                failSlot(place, kind, name, slot, "slot " + std::to_string(known->second));
            }
            if (!take(kind.member, name, slot)) {
                auto const & other = taken_[number(kind.member)].at(slot);
                failSlot(place, kind, name, slot, '"' + oneLine(other, 60) + "\" there");
            }
        }
    }
}

void ListNames::slotGiven(SlotMapMember kind, String const & name, U64 slot) {
    // What contradicts is kept as it is: the function's check will call it insane.
    if (slot != 0 && slot <= largestSlot && !(slots_.*kind).contains(name)) {
        take(kind, name, static_cast<U16>(slot));
    }
}

U16 ListNames::countedSlot(JsonValue const & place, SlotMapMember kind) {
    auto const & taken = taken_[number(kind)];
    U32 & last = lastCounted_[number(kind)];
    do {
        ++last;
    } while (last <= largestSlot && taken.contains(static_cast<U16>(last)));
    if (last > largestSlot) {
        place.fail(kinds[number(kind)].name, "at most 65535 names in a document", "more");
    }
    return static_cast<U16>(last);
}

U32 ListNames::use(JsonValue const & place, SlotMapMember kind, String const & name) {
    auto const [at, isNew] = byName_[number(kind)].emplace(name, static_cast<U32>(uses_.size()));
    if (!isNew) {
        return uses_[at->second].set;
    }
    if (!(slots_.*kind).contains(name)) {
        take(kind, name, countedSlot(place, kind));
    }
    auto const set = static_cast<U32>(sets_.size());
    sets_.push_back({at->second, 0, 0, 0});
    uses_.push_back({kind, name, set});
    lists_.push_back({kinds[number(kind)].name, name, slotOf(kind, name), place.pointer()});
    return set;
}

U16 ListNames::slotOf(SlotMapMember kind, String const & name) const {
    return Qcf::slotOf(slots_.*kind, name);
}

U32 ListNames::joined(U32 a, U32 b) {
    if (a == b || b == 0) {
        return a;
    }
    if (a == 0) {
        return b;
    }
    sets_.push_back({noUse, a, b, 0});
    return static_cast<U32>(sets_.size() - 1);
}

FunctionMetadata ListNames::metadataOf(JsonValue const & place, U32 set) {
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
            place.fail("metadata", "fewer uses of named lists in the document", "too many");
        }
        Set const & walked = sets_[at];
        if (walked.use == noUse) {
            open.push_back(walked.left);
            open.push_back(walked.right);
        } else {
            Use const & use = uses_[walked.use];
            (metadata.*(use.kind)).emplace(use.name, slotOf(use.kind, use.name));
        }
    }
    return metadata;
}

} // namespace Qcf::Documents
