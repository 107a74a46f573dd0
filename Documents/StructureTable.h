#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>
#include <vector>

namespace Qcf::Documents {

/// Numbers distinct contents, from 1. A node's content is its class, its scalars and the numbers of
/// its children's contents, so that equal trees have equal numbers and none is walked twice.
class StructureTable {
public:
    /// The number of this content, a new one if it was never seen.
    U32 numberOf(std::string_view content);

    U32 count() const { return static_cast<U32>(entries_.size()); }

private:
    struct Entry {
        std::size_t at;
        U32 length;
        U32 hash;
    };

    std::string_view content(Entry const & entry) const {
        return std::string_view(contents_).substr(entry.at, entry.length);
    }
    void grow();

    String contents_;
    std::vector<Entry> entries_; ///< number - 1
    std::vector<U32> table_;     ///< open addressing: numbers, 0 for free; a power of two in size
};

} // namespace Qcf::Documents
