#pragma once

#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Types.h"

#include <compare>
#include <vector>

namespace Qcf {

/// Names a place in the store: a collection, by its number, and a key within it.
struct CollKey {
    U16 collection;
    U64 key;
    auto operator<=>(CollKey const &) const = default;
};

/// What changed in a store since the record was emptied last, each place once. A member that came
/// and went in between leaves nothing behind, so that a record that nobody empties does not outgrow
/// the members that there are and were.
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
    /// Makes room for so many more.
    void reserveMore(std::size_t count) { changes_.reserve(changes_.size() + count); }

    /// Whether anything happened, even if nothing is left to tell of it.
    bool touched() const { return touched_; }
    /// By collection and key.
    std::vector<Change> const & changes() const;
    void clear();

    std::size_t bytes() const { return changes_.capacity() * sizeof(Change); }

private:
    void settle() const;

    mutable std::vector<Change> changes_; ///< in order, each place once, up to settled_
    mutable std::size_t settled_ = 0;
    mutable std::size_t removals_ = 0; ///< noted behind settled_
    bool touched_ = false;
};

} // namespace Qcf
