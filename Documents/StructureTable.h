#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>
#include <vector>

namespace Qcf::Documents {

/// Numbers distinct contents, from 1. A node's content is its class, its scalars and the numbers of
/// its children's contents, so that equal trees have equal numbers and none is walked twice.
///
/// Keeps every content, one behind the other; no allocation of its own for each. Equal hashes are
/// told apart by the bytes, so that no number ever stands for two contents. Takes each content as
/// bytes: what they mean is the caller's business.
class StructureTable {
public:
    /// The number of this content, a new one if it was never seen.
    U32 numberOf(std::string_view content);

    /// Starts anew with room for a few: whoever numbers small trees one by one keeps the storage.
    void clear();

    /// How many there are, which is the largest number.
    U32 count() const { return static_cast<U32>(entries_.size()); }

private:
    /// Where a content stands among all of them.
    struct Entry {
        std::size_t at;
        U32 length;
        U32 hash;
    };

    /// An entry's bytes.
    std::string_view content(Entry const & entry) const {
        return std::string_view(contents_).substr(entry.at, entry.length);
    }
    /// Makes room in the hash table for as many entries again.
    void grow();

    String contents_;
    /// By number - 1.
    std::vector<Entry> entries_;
    /// Open addressing: numbers, 0 for free; a power of two in size, at most half full.
    std::vector<U32> table_;
};

} // namespace Qcf::Documents
