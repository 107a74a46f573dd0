#pragma once

#include "Platform/Framework/Types.h"

#include <map>

namespace Qcf {

/// Names of one kind of outside objects with their slots. Slot 0 is never valid.
using SlotMap = std::map<String, U16>;

/// The outside objects that a function uses: per kind, from name to slot. A slot selects the object
/// in the tables of the external matchers.
struct FunctionMetadata {
    SlotMap commListsUsed;
    SlotMap extCommListsUsed;
    SlotMap largeCommListsUsed;
    SlotMap tagSetsUsed;
    SlotMap asPathAccessListsUsed;
    SlotMap V4PrefixListsUsed;
    SlotMap V6PrefixListsUsed;
    SlotMap DynPrefixListsUsed;
    SlotMap roaTablesUsed;
    SlotMap tunnelRibsUsed;

    bool operator==(FunctionMetadata const &) const = default;

    /// Calls `visit(name, map)` for every kind, in the order above.
    template <typename Self, typename Visitor>
    static void eachKind(Self & self, Visitor && visit) {
        visit("commListsUsed", self.commListsUsed);
        visit("extCommListsUsed", self.extCommListsUsed);
        visit("largeCommListsUsed", self.largeCommListsUsed);
        visit("tagSetsUsed", self.tagSetsUsed);
        visit("asPathAccessListsUsed", self.asPathAccessListsUsed);
        visit("V4PrefixListsUsed", self.V4PrefixListsUsed);
        visit("V6PrefixListsUsed", self.V6PrefixListsUsed);
        visit("DynPrefixListsUsed", self.DynPrefixListsUsed);
        visit("roaTablesUsed", self.roaTablesUsed);
        visit("tunnelRibsUsed", self.tunnelRibsUsed);
    }
};

/// The slot of a name; 0 when it is not in the map.
inline U16 slotOf(SlotMap const & map, String const & name) {
    auto const found = map.find(name);
    return found == map.end() ? U16{0} : found->second;
}

} // namespace Qcf

namespace Qcf::Eval {
using Qcf::FunctionMetadata;
} // namespace Qcf::Eval
