#pragma once

#include "Platform/Framework/Types.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Qcf::Documents {

/// Node numbers by key. Most documents give keys in rising order, which costs no hash table, and
/// most of those leave few out, so that a key tells about where it stands.
///
/// Sixteen bytes a node, and a look-up of a few steps for keys without large gaps; never more
/// than the logarithm of the count while keys rise, and a hash table's for the others. Keys are
/// never taken out.
///
///     KeyTable numbers(program.nodes);
///     std::optional<U32> const number = numbers.find(child->aetNodeKey());
class KeyTable {
public:
    /// Without any key.
    KeyTable() = default;
    /// Numbers the nodes that a list points to from 0 on; their keys differ.
    template <typename Nodes>
    explicit KeyTable(Nodes const & nodes) {
        rising_.reserve(nodes.size());
        for (U32 number = 0; auto const & node : nodes) {
            insert(node->aetNodeKey(), number++);
        }
    }

    /// The number under that key; nothing when there is none.
    std::optional<U32> find(U64 key) const {
        if (rising_.empty() || key < rising_.front().first || key > rising_.back().first) {
            return stray(key);
        }
        auto const [first, last] = around(key);
        auto const at = std::lower_bound(first, last, std::pair(key, U32{0}));
        return at != last && at->first == key ? std::optional(at->second) : stray(key);
    }

    /// The key must be new; numbers may be any. Cheapest when it is above all others.
    void insert(U64 key, U32 number) {
        if (rising_.empty() || key > rising_.back().first) {
            rising_.emplace_back(key, number);
        } else {
            strays_.emplace(key, number);
        }
    }

    /// The largest key so far; 0 for none.
    U64 largest() const { return rising_.empty() ? 0 : rising_.back().first; }

private:
    /// Keys above all before them, with their numbers.
    using Rising = std::vector<std::pair<U64, U32>>;
    using Place = Rising::const_iterator;

    /// Among those that came out of order.
    std::optional<U32> stray(U64 key) const {
        auto const found = strays_.find(key);
        return found == strays_.end() ? std::nullopt : std::optional(found->second);
    }

    /// Where a key within the bounds of the rising ones would stand: it is guessed as if all gaps
    /// were alike, and the steps away from there double.
    std::pair<Place, Place> around(U64 key) const {
        auto const end = static_cast<std::ptrdiff_t>(rising_.size());
        U64 const first = rising_.front().first;
        auto const share = static_cast<double>(key - first) /
                           static_cast<double>(std::max<U64>(rising_.back().first - first, 1));
        auto const guess = static_cast<std::ptrdiff_t>(share * static_cast<double>(end - 1));
        std::ptrdiff_t low = guess;
        for (std::ptrdiff_t step = 1; low > 0 && keyAt(low) > key; step *= 2) {
            low = std::max<std::ptrdiff_t>(guess - step, 0);
        }
        std::ptrdiff_t high = std::min(guess + 1, end - 1);
        for (std::ptrdiff_t step = 2; high < end - 1 && keyAt(high) < key; step *= 2) {
            high = std::min(guess + step, end - 1);
        }
        return {rising_.begin() + low, rising_.begin() + high + 1};
    }
    /// Of the rising ones.
    U64 keyAt(std::ptrdiff_t at) const { return rising_[static_cast<std::size_t>(at)].first; }

    Rising rising_;
    /// The keys that came behind a larger one.
    std::unordered_map<U64, U32> strays_;
};

} // namespace Qcf::Documents
