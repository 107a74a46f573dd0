#pragma once

#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/Types.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace Qcf::Mirror {

/// What a map sums up of its entries where nobody wants that.
struct NoSummary {
    template <typename Slots>
    explicit NoSummary(Slots const & /*slots*/) {}
};

/// Values by name, in a map that does not change: another one is made of it, which shares with it
/// all that is the same. Copying costs nothing, a change a few nodes, and what two maps share is
/// not looked at to find where they differ.
///
///     NameMap<U32> const one = NameMap<U32>().with({{"a", 1}, {"b", 2}});
///     NameMap<U32> const two = one.with({{"a", {}}}); // without "a"; `one` stays as it is
///     U32 const * b = two.find("b");
///
/// It is a tree of 16 branches a level, which follows the bits of a hash of the name. Its shape
/// depends on the names alone, in every process on every machine. Each node holds a `Summary` of
/// what is under it, which is made once of its slots: of each the `place`, and the `entry` or the
/// `node`. Names of one hash, which somebody can make, stand side by side in one node: they cost
/// time, and nothing else.
///
/// Any number of threads may share maps.
template <typename Value, typename Summary = NoSummary>
class NameMap {
public:
    struct Entry final : PtrInterface {
        Entry(String eachName, Value eachValue, U64 eachPath)
            : name(std::move(eachName)), value(std::move(eachValue)), path(eachPath) {}

        String name;
        Value value;
        U64 path; ///< the hash of the name
    };
    /// What becomes of a name; no value takes it away.
    struct Change {
        String name;
        std::optional<Value> value;
    };

    bool empty() const { return !root_; }
    std::size_t size() const { return root_ ? root_->size : 0; }
    /// The value of that name, valid as long as a map that has it; null for none.
    Value const * find(std::string_view name) const;
    /// The map after the changes; where two are of one name, the last one counts.
    NameMap with(std::vector<Change> changes) const;
    /// Of all entries.
    Summary summary() const { return root_ ? root_->summary : Summary(Slots()); }
    /// Calls `visit(entry)` for each entry, in an order of no meaning.
    template <typename Visit>
    void each(Visit const & visit) const {
        eachOf({nullptr, root_}, visit);
    }
    /// All entries in name order; costs sorting them.
    std::vector<Entry const *> inOrder() const;
    /// Calls `visit(before, after)` for each name whose entry is not one object in both, null where
    /// there is none; the values may be equal. What both share is passed over.
    template <typename Visit>
    static void eachDifference(NameMap const & before, NameMap const & after, Visit const & visit) {
        differences({nullptr, before.root_}, {nullptr, after.root_}, 0, visit);
    }

private:
    static constexpr U32 branchBits = 4;
    static constexpr std::size_t branches = std::size_t{1} << branchBits;
    /// Behind the last bits of the hash there is one level more, for names that share all of them.
    static constexpr U32 levels = 64 / branchBits;

    struct Node;
    /// An entry, or the node of several; neither where there is nothing.
    struct Branch {
        PtrConst<Entry> entry;
        PtrConst<Node> node;

        explicit operator bool() const { return entry || node; }
        bool operator==(Branch const &) const = default;
    };
    /// A branch that has something, and its place among those of its node.
    struct Slot {
        PtrConst<Entry> entry;
        PtrConst<Node> node;
        U8 place = 0;

        Branch branch() const { return {entry, node}; }
    };
    using Slots = std::vector<Slot>;
    using Branches = std::array<Branch, branches>;

    /// Has more than one entry under it, unless it is the root.
    struct Node final : PtrInterface {
        explicit Node(Slots && eachSlots) : slots(std::move(eachSlots)), summary(slots) {
            for (Slot const & slot : slots) {
                size += slot.node ? slot.node->size : 1;
            }
        }

        Slots slots; ///< by their places; on the last level by name
        Summary summary;
        std::size_t size = 0;
    };
    /// A change with the hash of its name.
    struct Step {
        U64 path;
        Change change;
    };

    static U64 pathOf(std::string_view name);
    static std::size_t placeOf(U64 path, U32 level) {
        return (path >> (64 - branchBits * (level + 1))) & (branches - 1);
    }
    static Branch entryOf(Step & step);
    static Branches branchesOf(Branch const & branch, U32 level);
    /// What stands for those branches.
    static Branch joined(Branches const & under);
    /// The branch after the steps, which are sorted by their paths.
    static Branch edited(Branch const & branch, std::span<Step> steps, U32 level);
    /// The same for names that share all of their hash.
    static Branch editedLast(Branch const & branch, std::span<Step> steps);
    template <typename Visit>
    static void eachOf(Branch const & branch, Visit const & visit);
    template <typename Visit>
    static void differences(Branch const & before, Branch const & after, U32 level,
                            Visit const & visit);
    template <typename Visit>
    static void differencesByName(Branch const & before, Branch const & after, Visit const & visit);

    PtrConst<Node> root_; ///< null where there is nothing
};

// FNV-1a, whose bits are mixed once more, because the upper ones are used first. Whoever changes it
// changes the shape of every map, and with it the digests of versions.
template <typename Value, typename Summary>
U64 NameMap<Value, Summary>::pathOf(std::string_view name) {
    U64 hash = 0xcbf29ce484222325U;
    for (char const byte : name) {
        hash = (hash ^ static_cast<U8>(byte)) * 0x100000001b3U;
    }
    hash = (hash ^ (hash >> 32)) * 0xd6e8feb86659fd93U;
    return hash ^ (hash >> 32);
}

template <typename Value, typename Summary>
Value const * NameMap<Value, Summary>::find(std::string_view name) const {
    U64 const path = pathOf(name);
    Node const * node = root_.get();
    for (U32 level = 0; node != nullptr; ++level) {
        auto const & slots = node->slots;
        auto const isIt = [&](Slot const & slot) {
            return level == levels ? slot.entry->name == name : slot.place == placeOf(path, level);
        };
        auto const slot = std::find_if(slots.begin(), slots.end(), isIt);
        if (slot == slots.end()) {
            return nullptr;
        }
        if (slot->entry) {
            return slot->entry->name == name ? &slot->entry->value : nullptr;
        }
        node = slot->node.get();
    }
    return nullptr;
}

template <typename Value, typename Summary>
NameMap<Value, Summary> NameMap<Value, Summary>::with(std::vector<Change> changes) const {
    std::vector<Step> steps;
    steps.reserve(changes.size());
    for (Change & change : changes) {
        U64 const path = pathOf(change.name);
        steps.push_back({path, std::move(change)});
    }
    // Stable, so that of two changes of one name the later one stays the later one.
    std::ranges::stable_sort(steps, {}, &Step::path);
    Branch const top = edited({nullptr, root_}, steps, 0);
    NameMap result;
    result.root_ = top.node;
    if (top.entry) {
        Slots slots;
        slots.push_back({top.entry, nullptr, static_cast<U8>(placeOf(top.entry->path, 0))});
        result.root_ = makePtr<Node>(std::move(slots));
    }
    return result;
}

template <typename Value, typename Summary>
auto NameMap<Value, Summary>::entryOf(Step & step) -> Branch {
    if (!step.change.value) {
        return {};
    }
    return {makePtr<Entry>(std::move(step.change.name), std::move(*step.change.value), step.path),
            nullptr};
}

template <typename Value, typename Summary>
auto NameMap<Value, Summary>::branchesOf(Branch const & branch, U32 level) -> Branches {
    Branches under;
    if (branch.entry) {
        under[placeOf(branch.entry->path, level)] = branch;
    } else if (branch.node) {
        for (Slot const & slot : branch.node->slots) {
            under[slot.place] = slot.branch();
        }
    }
    return under;
}

// A lone entry stands where it is the only one, so that the shape does not tell what was there
// before.
template <typename Value, typename Summary>
auto NameMap<Value, Summary>::joined(Branches const & under) -> Branch {
    Slots slots;
    for (std::size_t place = 0; place < branches; ++place) {
        if (under[place]) {
            slots.push_back({under[place].entry, under[place].node, static_cast<U8>(place)});
        }
    }
    if (slots.empty() || (slots.size() == 1 && slots.front().entry)) {
        return slots.empty() ? Branch() : slots.front().branch();
    }
    return {nullptr, makePtr<Node>(std::move(slots))};
}

template <typename Value, typename Summary>
auto NameMap<Value, Summary>::edited(Branch const & branch, std::span<Step> steps, U32 level)
    -> Branch {
    if (steps.empty()) {
        return branch;
    }
    if (level == levels) {
        return editedLast(branch, steps);
    }
    bool const isLone = !branch || (branch.entry && branch.entry->name == steps[0].change.name);
    if (steps.size() == 1 && isLone) {
        return entryOf(steps[0]);
    }
    Branches under = branchesOf(branch, level);
    while (!steps.empty()) {
        std::size_t const place = placeOf(steps.front().path, level);
        auto const end = std::ranges::find_if(
            steps, [&](Step const & step) { return placeOf(step.path, level) != place; });
        auto const count = static_cast<std::size_t>(end - steps.begin());
        under[place] = edited(under[place], steps.first(count), level + 1);
        steps = steps.subspan(count);
    }
    return joined(under);
}

template <typename Value, typename Summary>
auto NameMap<Value, Summary>::editedLast(Branch const & branch, std::span<Step> steps) -> Branch {
    std::map<String, Branch> byName;
    eachOf(branch, [&](Entry const & entry) {
        byName[entry.name] = {PtrConst<Entry>(&entry), nullptr};
    });
    for (Step & step : steps) {
        String const name = step.change.name;
        byName[name] = entryOf(step);
    }
    Slots slots;
    for (auto const & [name, each] : byName) {
        if (each) {
            slots.push_back({each.entry, nullptr, 0});
        }
    }
    if (slots.size() <= 1) {
        return slots.empty() ? Branch() : slots.front().branch();
    }
    return {nullptr, makePtr<Node>(std::move(slots))};
}

template <typename Value, typename Summary>
template <typename Visit>
void NameMap<Value, Summary>::eachOf(Branch const & branch, Visit const & visit) {
    if (branch.entry) {
        visit(*branch.entry);
    } else if (branch.node) {
        for (Slot const & slot : branch.node->slots) {
            eachOf(slot.branch(), visit);
        }
    }
}

template <typename Value, typename Summary>
auto NameMap<Value, Summary>::inOrder() const -> std::vector<Entry const *> {
    std::vector<Entry const *> entries;
    entries.reserve(size());
    each([&](Entry const & entry) { entries.push_back(&entry); });
    std::ranges::sort(entries, {}, &Entry::name);
    return entries;
}

template <typename Value, typename Summary>
template <typename Visit>
void NameMap<Value, Summary>::differences(Branch const & before, Branch const & after, U32 level,
                                          Visit const & visit) {
    if (before == after) {
        return;
    }
    if (level == levels || (!before.node && !after.node)) {
        return differencesByName(before, after, visit);
    }
    Branches const were = branchesOf(before, level);
    Branches const are = branchesOf(after, level);
    for (std::size_t place = 0; place < branches; ++place) {
        differences(were[place], are[place], level + 1, visit);
    }
}

template <typename Value, typename Summary>
template <typename Visit>
void NameMap<Value, Summary>::differencesByName(Branch const & before, Branch const & after,
                                                Visit const & visit) {
    std::map<std::string_view, std::pair<Entry const *, Entry const *>> byName;
    eachOf(before, [&](Entry const & entry) { byName[entry.name].first = &entry; });
    eachOf(after, [&](Entry const & entry) { byName[entry.name].second = &entry; });
    for (auto const & [name, entries] : byName) {
        if (entries.first != entries.second) {
            visit(entries.first, entries.second);
        }
    }
}

} // namespace Qcf::Mirror
