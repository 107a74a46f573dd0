#pragma once

#include "Documents/Place.h"
#include "Documents/Program.h"

#include <array>
#include <unordered_map>
#include <vector>

namespace Qcf::Documents {

/// The names of outside lists in a document: their slots, and which tree uses which.
///
/// Slots come from metadata first, then from nodes that give one without it; all others are counted
/// per kind, in the order of first use, past those that are taken.
///
/// Which names a tree uses is known by the number of a set: joining two sets costs nothing, and
/// only a function's set is ever gone through. Failures are DocumentErrors at the place given.
///
///     U32 const own = names.use(place, SlotKind::commList, "customers");
///     U32 const all = names.join(own, names.use(place, SlotKind::tagSet, "core"));
///     FunctionMetadata const metadata = names.metadataOf(place, all); // both, with their slots
class ListNames {
public:
    /// Joins the metadata of a function, given at `place`. Fails when a name has another slot
    /// elsewhere in the document, or the slot another name.
    void metadataIs(Place const & place, FunctionMetadata const & metadata);
    /// Notes that a node gives a list this slot. Call for all nodes before the first `use`.
    void slotIs(SlotKind kind, String const & name, U64 slot);

    /// Notes that the node at `place` uses a list; answers the set of just this name. Fails when no
    /// slot is left for it.
    U32 use(Place const & place, SlotKind kind, String const & name);
    /// The slot of a name that was used; 0, which selects nothing, for any other.
    U16 slotOf(SlotKind kind, String const & name) const;

    /// The set of the names of both; 0 is the empty set.
    U32 join(U32 a, U32 b);
    /// Metadata of a function whose tree uses this set. `place` is for the failure when a document
    /// wants more work than a limit for this.
    FunctionMetadata metadataOf(Place const & place, U32 set);

    /// All names with slots.
    FunctionMetadata const & slots() const { return slots_; }
    /// Each name once, in the order of first use.
    std::vector<NamedList> const & lists() const { return lists_; }

private:
    /// A set is a name, or two sets joined.
    struct Set {
        /// Position in uses_; ~0 when joined.
        U32 use;
        U32 left;
        U32 right;
        /// The last walk that came by, so that each goes over a set once.
        U32 visit;
    };
    /// A name that some node uses.
    struct Use {
        SlotKind kind;
        String name;
        U32 set;
    };

    /// What is known of one kind of lists.
    struct Kind {
        std::unordered_map<U16, String> taken; ///< by slot: its name
        std::unordered_map<String, U32> uses;  ///< by name: its use
        U32 lastCounted = 0;
    };

    Kind & ofKind(SlotKind kind) { return kinds_[static_cast<std::size_t>(kind)]; }
    /// Gives the name this slot; false when that is another name's.
    bool take(SlotKind kind, String const & name, U16 slot);
    /// The next one that no name has.
    U16 nextSlot(Place const & place, SlotKind kind);

    FunctionMetadata slots_;
    std::array<Kind, std::size(slotKinds)> kinds_;
    std::vector<Use> uses_;
    std::vector<Set> sets_{1};
    std::vector<NamedList> lists_;
    U32 visit_ = 0;
    U64 steps_ = 0;
};

} // namespace Qcf::Documents
