#pragma once

#include "Platform/Framework/Types.h"

#include <algorithm>
#include <vector>

namespace Qcf {

/// The keys of one collection, so that whoever wants its members alone need not go through the
/// whole store, which holds all collections in one table.
///
/// Adding is an append, and removing usually touches nothing: a key that went stays listed until
/// those that went outnumber the others. Which listed keys are members' is therefore for the caller
/// to say, who has the table:
///
///     keys.add(7);
///     keys.remove(isMember); // after 7 left the table
///     keys.rising(isMember); // does not have it
///
/// A listed key costs 8 bytes, and hardly more than twice as many are listed as there are members.
/// Belongs to the thread that changes the store.
class AetKeyList {
public:
    /// How many members the collection has.
    std::size_t size() const { return size_; }
    /// Memory of the list.
    /// Room that was taken counts, be it in use or not.
    std::size_t bytes() const { return listed_.capacity() * sizeof(U64); }

    /// A member came; its key is not among the members' yet.
    void add(U64 key) {
        listed_.push_back(key);
        ++size_;
    }

    /// One of the members went. `isMember(key)` says of a listed key whether it is one still.
    template <typename IsMember>
    void remove(IsMember && isMember) {
        // So few that went are not worth a pass, however few members are left.
        constexpr std::size_t few = 16;
        --size_;
        if (listed_.size() > 2 * size_ + few) {
            listed_ = rising(isMember);
        }
    }

    /// The members' keys in rising order, each once: one that came back is listed twice.
    /// Costs a sort; a look-up of each listed key only where some of those listed went.
    template <typename IsMember>
    std::vector<U64> rising(IsMember && isMember) const {
        std::vector<U64> keys(listed_);
        std::sort(keys.begin(), keys.end());
        keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
        // As many different keys as members: all of them are members'.
        if (keys.size() != size_) {
            std::erase_if(keys, [&](U64 key) { return !isMember(key); });
            keys.shrink_to_fit();
        }
        return keys;
    }

private:
    std::vector<U64> listed_; ///< in the order in which they came
    /// Members, which are fewer than the listed keys once some went.
    std::size_t size_ = 0;
};

} // namespace Qcf
