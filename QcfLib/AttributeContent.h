#pragma once

#include "QcfLib/AttributeContentGenerated.h"

namespace Qcf::Eval {

/// The attribute's bit in a word of flags.
constexpr U32 flagOf(ModifiableAttribute attribute) { return U32{1} << static_cast<U8>(attribute); }

/// The values that a function wrote, until they are written back. A field counts only while its
/// attribute's flag is set in the context: from route to route the fields keep stale values.
///
///     context.modify(ModifiableAttribute::med).med = 50; // sets the flag, then the field
///
/// A fresh object has all numbers 0, addresses without a family, and no sets and no path.
/// Belongs to the thread that evaluates.
///
/// Sets are stored in one of two ways. One that lives until the next reset anyway (a cached input,
/// a constant of the function) is borrowed: storing it touches no count that threads share. Any
/// other is owned.
class AttributeContent final : public StoredAttributes {
public:
    TypeData const & typeData() const override;

    /// The same as writing to the members.
    void asPathIs(Routing::Bgp::AspathContainerFromExisting * path) { asPath = path; }
    /// Copied; nothing of the caller's is kept.
    void resolutionRibsIs(Routing::Rib::ResolutionRibProfileConfig const & ribs) {
        resolutionRibs = ribs;
    }

    /// Whether the set lives by being stored here.
    /// An edit asks before it overwrites: a set that is only borrowed has other readers.
    template <typename Set>
    bool owns(Set const * set) const {
        return withSets(
            [&](auto const... field) { return (isOwnedBy(this->*field.second, set) || ...); });
    }

    /// Counts the sets that were borrowed, for when those who hold them may go first.
    /// Costs a count for each; done when contents are detached, not from route to route.
    void settleSets() {
        withSets([&](auto const... field) { ((this->*field.second).settle(), ...); });
    }

    /// Lets go of the sets of those attributes, given as a word of flags.
    /// The other fields keep their stale values.
    void releaseSets(U32 flags) {
        withSets([&](auto const... field) {
            ((flags & flagOf(field.first) ? (this->*field.second).clear() : void()), ...);
        });
    }

    /// The flags of the attributes whose value is a set.
    /// A context whose modified attributes are none of these has nothing to release.
    static constexpr U32 setFlags =
        withSets([](auto const... field) { return (flagOf(field.first) | ...); });

private:
    // A set of another type is never the same object; the fold above asks them all.
    template <typename Set>
    static bool isOwnedBy(StoredSet<Set> const & stored, Set const * set) {
        return stored.owns(set);
    }
    template <typename Set, typename OtherSet>
    static bool isOwnedBy(StoredSet<Set> const & /*stored*/, OtherSet const * /*set*/) {
        return false;
    }
};

} // namespace Qcf::Eval
