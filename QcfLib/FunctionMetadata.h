#pragma once

#include "Platform/Framework/Types.h"

#include <map>

namespace Qcf {

/// Names of one kind of outside objects with their slots. Slot 0 is never valid.
/// Ordered by name, so that texts of equal metadata are equal.
using SlotMap = std::map<String, U16>;

/// The kinds of outside objects that a function can name, in the order of FunctionMetadata.
/// Numbers of kinds index `slotKinds`; outside forms know the kinds by name.
enum class SlotKind : U8 {
    commList,
    extCommList,
    largeCommList,
    tagSet,
    asPathAccessList,
    v4PrefixList,
    v6PrefixList,
    dynamicPrefixList,
    roaTable,
    tunnelRib,
};

/// The outside objects that a function uses: per kind, from name to slot. A slot selects the object
/// in the tables of the external matchers.
/// A compiler writes it, the function carries it, and the sanity check compares each node's slot
/// with it:
///
///     FunctionMetadata metadata;
///     metadata.of(SlotKind::commList)["CUSTOMERS"] = 1;
///
/// Slots are numbered by kind, so that lists of two kinds may have the same. A value: copied with
/// its names, and not looked at while routes are evaluated.
struct FunctionMetadata {
    // Member names are part of the published form, with their capitals.
    SlotMap commListsUsed;
    // Each is empty where the function names nothing of the kind.
    SlotMap extCommListsUsed;
    SlotMap largeCommListsUsed;
    SlotMap tagSetsUsed;
    SlotMap asPathAccessListsUsed;
    // The slots of the two families are numbered apart.
    SlotMap V4PrefixListsUsed;
    SlotMap V6PrefixListsUsed;
    SlotMap DynPrefixListsUsed;
    SlotMap roaTablesUsed;
    // Of these the external matchers have no table.
    SlotMap tunnelRibsUsed;

    /// Names and slots both count.
    bool operator==(FunctionMetadata const &) const = default;

    /// The names of one kind.
    /// A member by its number, for who treats kinds alike.
    inline SlotMap const & of(SlotKind kind) const;
    /// For builders; a function's own is constant.
    inline SlotMap & of(SlotKind kind);

    /// Calls `visit(name, map)` for every kind, in the order above; `name` is that of the member.
    /// The visitor may change the map where `self` is not constant.
    template <typename Self, typename Visitor>
    ///
    ///     FunctionMetadata::eachKind(metadata, [&](char const * name, SlotMap const & slots) {
    ///         if (!slots.empty()) { ... } // a list of this kind is in use
    ///     });
    ///
    static void eachKind(Self & self, Visitor && visit);
};

/// A kind of outside objects: the member that holds its names, and that member's name, by which
/// documents know it.
/// Kinds are treated alike through this: readers and writers have no code of their own for any.
struct SlotKindInfo {
    SlotKind kind;
    char const * name;
    SlotMap FunctionMetadata::*slots;
};

/// All kinds, by their number.
/// The one list that readers, writers and checks go through, so that a new kind is a row here.
inline constexpr SlotKindInfo slotKinds[] = {
    {SlotKind::commList, "commListsUsed", &FunctionMetadata::commListsUsed},
    {SlotKind::extCommList, "extCommListsUsed", &FunctionMetadata::extCommListsUsed},
    {SlotKind::largeCommList, "largeCommListsUsed", &FunctionMetadata::largeCommListsUsed},
    {SlotKind::tagSet, "tagSetsUsed", &FunctionMetadata::tagSetsUsed},
    {SlotKind::asPathAccessList, "asPathAccessListsUsed", &FunctionMetadata::asPathAccessListsUsed},
    {SlotKind::v4PrefixList, "V4PrefixListsUsed", &FunctionMetadata::V4PrefixListsUsed},
    {SlotKind::v6PrefixList, "V6PrefixListsUsed", &FunctionMetadata::V6PrefixListsUsed},
    {SlotKind::dynamicPrefixList, "DynPrefixListsUsed", &FunctionMetadata::DynPrefixListsUsed},
    {SlotKind::roaTable, "roaTablesUsed", &FunctionMetadata::roaTablesUsed},
    {SlotKind::tunnelRib, "tunnelRibsUsed", &FunctionMetadata::tunnelRibsUsed},
};

/// What is known of a kind.
/// No check: `kind` is one of the enumerators.
constexpr SlotKindInfo const & slotKindInfo(SlotKind kind) {
    return slotKinds[static_cast<U8>(kind)];
}

SlotMap const & FunctionMetadata::of(SlotKind kind) const {
    return this->*slotKindInfo(kind).slots;
}
SlotMap & FunctionMetadata::of(SlotKind kind) { return this->*slotKindInfo(kind).slots; }

template <typename Self, typename Visitor>
void FunctionMetadata::eachKind(Self & self, Visitor && visit) {
    for (SlotKindInfo const & kind : slotKinds) {
        visit(kind.name, self.*kind.slots);
    }
}

/// The slot of a name; 0 when it is not in the map.
/// 0 is the slot that no object has, so that it needs no second answer.
inline U16 slotOf(SlotMap const & map, String const & name) {
    auto const found = map.find(name);
    return found == map.end() ? U16{0} : found->second;
}

} // namespace Qcf

namespace Qcf::Eval {
using Qcf::FunctionMetadata;
} // namespace Qcf::Eval
