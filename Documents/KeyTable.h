#pragma once

#include "Platform/Framework/Types.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Qcf::Documents {

/// Node numbers by key. Most documents give keys in rising order, which costs no hash table.
class KeyTable {
public:
    std::optional<U32> find(U64 key) const {
        auto const at = std::lower_bound(rising_.begin(), rising_.end(), std::pair(key, U32{0}));
        if (at != rising_.end() && at->first == key) {
            return at->second;
        }
        auto const stray = strays_.find(key);
        return stray == strays_.end() ? std::nullopt : std::optional(stray->second);
    }

    /// The key must be new.
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
    std::vector<std::pair<U64, U32>> rising_;
    std::unordered_map<U64, U32> strays_;
};

} // namespace Qcf::Documents
