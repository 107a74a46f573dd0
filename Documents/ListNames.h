#pragma once

#include "Documents/ClassRules.h"
#include "Documents/Program.h"
#include "Platform/Render/JsonDocument.h"

#include <map>
#include <unordered_map>
#include <vector>

namespace Qcf::Documents {

using SlotMapMember = SlotMap FunctionMetadata::*;

/// The kind of list that a node of a class with a slot rule names.
SlotMapMember listKindOf(SlotRule const & rule, bool isV4);

/// The names of outside lists in a document: their slots, and which tree uses which.
///
/// Slots come from metadata first, then from nodes that give one without it; all others are counted
/// per kind, in the order of first use, past those that are taken.
class ListNames {
public:
    /// Joins the metadata of a function, given at `place`. Fails on a contradiction.
    void metadataIs(JsonValue const & place, FunctionMetadata const & metadata);
    /// Notes that a node gives a list this slot. Call for all nodes before the first `use`.
    void slotGiven(SlotMapMember kind, String const & name, U64 slot);

    /// Notes that the node at `place` uses a list; answers the set of just this name.
    U32 use(JsonValue const & place, SlotMapMember kind, String const & name);
    /// The slot of a name that was used.
    U16 slotOf(SlotMapMember kind, String const & name) const;

    /// The set of the names of both; 0 is the empty set.
    U32 joined(U32 a, U32 b);
    /// Metadata of a function whose tree uses this set. `place` is for the failure when a document
    /// wants more work than a limit for this.
    FunctionMetadata metadataOf(JsonValue const & place, U32 set);

    /// All names with slots.
    FunctionMetadata const & slots() const { return slots_; }
    std::vector<NamedList> const & lists() const { return lists_; }

private:
    /// A set is a name, or two sets joined.
    struct Set {
        U32 use; ///< position in uses_; ~0 when joined
        U32 left;
        U32 right;
        U32 visit; ///< the last walk that came by
    };
    struct Use {
        SlotMapMember kind;
        String name;
        U32 set;
    };

    static std::size_t number(SlotMapMember kind);
    bool take(SlotMapMember kind, String const & name, U16 slot);
    U16 countedSlot(JsonValue const & place, SlotMapMember kind);

    FunctionMetadata slots_;
    std::vector<std::unordered_map<U16, String>> taken_{10}; ///< by kind: slot to name
    std::vector<U32> lastCounted_ = std::vector<U32>(10);
    std::vector<std::unordered_map<String, U32>> byName_{10}; ///< by kind: name to use
    std::vector<Use> uses_;
    std::vector<Set> sets_{1};
    std::vector<NamedList> lists_;
    U32 visit_ = 0;
    U64 steps_ = 0;
};

} // namespace Qcf::Documents
