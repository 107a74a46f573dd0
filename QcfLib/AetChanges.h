#pragma once

#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Types.h"

#include <compare>
#include <vector>

namespace Qcf {

/// Names a place in the store: a collection, by its number in Eval::nodeClasses(), and a key within
/// it. Places are ordered by collection and then by key.
struct CollKey {
    U16 collection;
    U64 key;
    auto operator<=>(CollKey const &) const = default;
};

/// What changed in a store since the record was emptied last, each place once: what a publisher
/// has to send, and no more. Any number of records may follow one store, each at its own pace:
///
///     AetChanges changes;
///     store.followerIs(changes);
///     ... members come and go ...
///     for (AetChanges::Change const & change : changes.changes()) { send(change.place()); }
///     changes.clear();
///
/// A member that came and went in between leaves nothing behind, so that a record that nobody
/// empties does not outgrow the members that there are and were. Noting a change costs an append;
/// sorting and folding waits until somebody asks. Belongs to the thread that changes the store.
class AetChanges {
public:
    /// A place where a member came (`added`), went (`removed`) or made room for another
    /// (`changed`).
    struct Change {
        U64 key;
        U16 collection;
        Notification::Kind kind;

        CollKey place() const { return {collection, key}; }
    };

    /// Notes that a member came or went; `kind` is `added` or `removed`.
    void add(CollKey const & place, Notification::Kind kind);
    /// Makes room for so many more, for whoever is about to fill a store.
    void reserveMore(std::size_t count) { changes_.reserve(changes_.size() + count); }

    /// Whether anything happened, even if nothing is left to tell of it.
    bool touched() const { return touched_; }
    /// By collection and key. Good until the next change.
    std::vector<Change> const & changes() const;
    /// Starts anew: nothing happened yet.
    /// Gives the memory back as well: a record that was large once does not stay so.
    void clear();

    /// Memory of the record.
    std::size_t bytes() const { return changes_.capacity() * sizeof(Change); }

private:
    /// Sorts what was noted since the last time into the rest.
    void settle() const;

    mutable std::vector<Change> changes_; ///< in order, each place once, up to settled_
    mutable std::size_t settled_ = 0;
    mutable std::size_t removals_ = 0; ///< noted behind settled_
    bool touched_ = false;
};

} // namespace Qcf
