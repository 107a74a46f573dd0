#pragma once

#include "Platform/Framework/Types.h"

#include <algorithm>
#include <vector>

namespace Qcf {

/// The keys of one collection, so that whoever wants its members alone need not go through the
/// whole store. A key that went stays listed until those that went outnumber the others: which
/// listed keys are members' is for the caller to say.
class AetKeyList {
public:
    /// Members.
    std::size_t size() const { return size_; }
    std::size_t bytes() const { return listed_.capacity() * sizeof(U64); }

    void add(U64 key) {
        listed_.push_back(key);
        ++size_;
    }

    /// One of the members went.
    template <typename IsMember>
    void remove(IsMember && isMember) {
        constexpr std::size_t few = 16;
        --size_;
        if (listed_.size() > 2 * size_ + few) {
            listed_ = rising(isMember);
        }
    }

    /// The members' keys, each once.
    template <typename IsMember>
    std::vector<U64> rising(IsMember && isMember) const {
        std::vector<U64> keys(listed_);
        std::sort(keys.begin(), keys.end());
        keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
        if (keys.size() != size_) {
            std::erase_if(keys, [&](U64 key) { return !isMember(key); });
            keys.shrink_to_fit();
        }
        return keys;
    }

private:
    std::vector<U64> listed_;
    std::size_t size_ = 0;
};

} // namespace Qcf
