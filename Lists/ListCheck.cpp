#include "Lists/ListBinding.h"

#include <algorithm>
#include <set>
#include <tuple>

/// A program selects lists by slot and names them in its metadata; an agent binds by name. What
/// does not agree shows nowhere during an evaluation, which sees a list that matches or does not.
namespace Qcf::Lists {

namespace {

using Kind = Finding::Kind;

/// Which lists the slots of a kind select; of tunnel RIBs there are no lists.
struct UseKind {
    SlotKind slots;
    ListKind kind;
    AddressFamily family = AddressFamily::none; ///< of prefix lists that are of one family
};
// Both families of prefix lists are one kind of list; a dynamic one has entries of both.
constexpr UseKind useKinds[] = {
    {SlotKind::commList, ListKind::communityList},
    {SlotKind::extCommList, ListKind::extCommunityList},
    {SlotKind::largeCommList, ListKind::largeCommunityList},
    {SlotKind::tagSet, ListKind::tagSet},
    {SlotKind::asPathAccessList, ListKind::asPathAccessList},
    {SlotKind::v4PrefixList, ListKind::prefixList, AddressFamily::ipv4},
    {SlotKind::v6PrefixList, ListKind::prefixList, AddressFamily::ipv6},
    {SlotKind::dynamicPrefixList, ListKind::dynamicPrefixList},
    {SlotKind::roaTable, ListKind::roaTable},
};

UseKind const * findUseKind(SlotKind slots) {
    auto const * const row = std::ranges::find(useKinds, slots, &UseKind::slots);
    return row == std::end(useKinds) ? nullptr : row;
}

String listText(ListKind kind, std::string_view name) {
    return String(kindText(kind)) + " \"" + String(name) + '"';
}

bool isEmpty(Routing::RouteMap::TagSetStatus const & tags) { return tags.tags().empty(); }
bool isEmpty(DynamicPrefixList const & list) { return list.empty(); }
template <typename List>
bool isEmpty(List const & list) {
    return list.empty();
}
template <typename List>
bool isEmpty(PtrConst<List> const & list) {
    return isEmpty(*list);
}

// The maps are of different types, so that the kind is found by visiting all.
bool isDefined(NamedLists const & lists, ListKind kind, String const & name) {
    bool defined = false;
    lists.eachKind([&](ListKind each, auto const & byName) {
        defined = defined || (each == kind && byName.contains(name));
    });
    return defined;
}

Kind kindOf(EntryFinding::Kind kind) {
    switch (kind) {
    case EntryFinding::Kind::coveredEntry:
        return Kind::coveredEntry;
    case EntryFinding::Kind::anchoredPattern:
        return Kind::anchoredPattern;
    case EntryFinding::Kind::foreignPattern:
        return Kind::foreignPattern;
    }
    return Kind::coveredEntry;
}

class Check {
public:
    Check(FunctionMetadata const & metadata, NamedLists const & lists,
          ListCheckAlong const & along = {})
        : metadata_(metadata), lists_(lists), along_(along) {}

    void use(ListUse const & use) {
        auto const * const kind = findUseKind(use.kind);
        if (kind == nullptr) {
            return;
        }
        used_.emplace(kind->kind, use.name);
        spokenOf_.emplace(use.kind, use.name);
        name(use);
        U64 const slot = slotOf(metadata_.of(use.kind), use.name);
        // Slot 0 is that of no list.
        if (use.slot == 0 || use.slot != slot) {
            add(Kind::wrongSlot, use.place,
                listText(kind->kind, use.name) + " is used with slot " + std::to_string(use.slot) +
                    ", the metadata has " + std::to_string(slot));
        }
    }

    void name(ListUse const & use) {
        if (auto const * const kind = findUseKind(use.kind)) {
            checkName(*kind, use.name, use.place);
        }
    }

    // After the uses, which have places in the document: a name that was spoken of there is not
    // told again.
    void metadata() {
        for (SlotKindInfo const & slots : slotKinds) {
            if (auto const * const kind = findUseKind(slots.kind)) {
                metadataOf(slots, *kind);
            }
        }
    }

    void lists() {
        lists_.eachKind([&](ListKind kind, auto const & byName) {
            for (auto const & [name, list] : byName) {
                String const place = lists_.placeOf(kind, name);
                if (isEmpty(list)) {
                    // The one kind whose lists then have no answer.
                    add(Kind::emptyList, place,
                        listText(kind, name) + (kind == ListKind::prefixList
                                                    ? " is empty: it answers unknown"
                                                    : " is empty"));
                }
                entries(kind, name, place);
                if (along_.unused && !used_.contains({kind, name})) {
                    add(Kind::unusedList, place, listText(kind, name) + " is not used");
                }
            }
        });
    }

    std::vector<Finding> findings() && { return std::move(findings_); }

private:
    // Of a list that was not read from a document there is one place for all entries.
    void entries(ListKind kind, String const & name, String const & place) {
        auto const * const found = along_.entries;
        auto const at =
            found == nullptr ? EntryFindings::const_iterator() : found->find({kind, name});
        if (found == nullptr || at == found->end()) {
            return;
        }
        bool const hasPointers = place.ends_with(':' + NamedLists::pointerOf(kind, name));
        ListQuestions const questions = questionsOf(kind, name);
        for (EntryFinding const & finding : at->second) {
            if (finding.holdsFor(questions)) {
                add(kindOf(finding.kind), hasPointers ? place + finding.pointer : place,
                    listText(kind, name) + ": " + finding.text);
            }
        }
    }

    ListQuestions questionsOf(ListKind kind, String const & name) const {
        auto const * const row = std::ranges::find(useKinds, kind, &UseKind::kind);
        if (along_.questions == nullptr || row == std::end(useKinds)) {
            return {};
        }
        auto const at = along_.questions->find({row->slots, name});
        return at == along_.questions->end() ? ListQuestions() : at->second;
    }

    // Places that several functions share come up several times.
    void add(Kind kind, String const & place, String text) {
        Finding finding{kind, place, std::move(text)};
        if (told_.insert(finding.line()).second) {
            findings_.push_back(std::move(finding));
        }
    }

    void checkName(UseKind const & kind, String const & name, String const & place) {
        if (!isDefined(lists_, kind.kind, name)) {
            add(Kind::undefinedList, place, listText(kind.kind, name) + " is not defined");
            return;
        }
        if (kind.family == AddressFamily::none) {
            return;
        }
        // There is such a list, as was just looked up.
        bool const isV4 = lists_.prefixLists.at(name)->af() == AddressFamily::ipv4;
        if (isV4 != (kind.family == AddressFamily::ipv4)) {
            add(Kind::wrongFamily, place,
                listText(kind.kind, name) + " is used as a " + (isV4 ? "v6" : "v4") +
                    " list, its family is " + (isV4 ? "v4" : "v6"));
        }
    }

    void metadataOf(SlotKindInfo const & slots, UseKind const & kind) {
        String const place = String("metadata ") + slots.name;
        std::map<U16, String> nameOfSlot;
        for (auto const & [name, slot] : metadata_.*slots.slots) {
            used_.emplace(kind.kind, name);
            if (!spokenOf_.contains({slots.kind, name})) {
                checkName(kind, name, place);
            }
            // Of two names with one slot only one can be bound there.
            auto const [at, isFirst] = nameOfSlot.emplace(slot, name);
            if (!isFirst) {
                add(Kind::wrongSlot, place,
                    listText(kind.kind, name) + " has slot " + std::to_string(slot) +
                        ", and so has \"" + at->second + '"');
            }
        }
    }

    FunctionMetadata const & metadata_;
    NamedLists const & lists_;
    ListCheckAlong along_;
    std::set<std::pair<ListKind, String>> used_;
    std::set<std::pair<SlotKind, String>> spokenOf_;
    std::set<String> told_;
    std::vector<Finding> findings_;
};

} // namespace

std::vector<Finding> checkLists(FunctionMetadata const & metadata,
                                std::vector<ListUse> const & uses, NamedLists const & lists,
                                ListCheckAlong const & along) {
    Check check(metadata, lists, along);
    for (ListUse const & use : uses) {
        check.use(use);
    }
    check.metadata();
    check.lists();
    return std::move(check).findings();
}

// Slots do not matter to an evaluation that is about to bind them, only names do.
std::optional<ListKind> listKindOf(SlotKind slots) {
    auto const * const row = findUseKind(slots);
    return row == nullptr ? std::nullopt : std::optional(row->kind);
}

std::vector<Finding> unboundUses(std::vector<ListUse> const & uses, NamedLists const * lists) {
    PtrConst<NamedLists> const none = makePtr<NamedLists>();
    FunctionMetadata const noSlots;
    Check check(noSlots, lists != nullptr ? *lists : *none);
    for (ListUse const & use : uses) {
        check.name(use);
    }
    return std::move(check).findings();
}

String listText(ListUse const & use) {
    auto const * const kind = findUseKind(use.kind);
    return kind == nullptr ? String() : listText(kind->kind, use.name);
}

} // namespace Qcf::Lists
