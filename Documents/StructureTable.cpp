#include "Documents/StructureTable.h"

#include <functional>

namespace Qcf::Documents {

// Half of the slots stay free, so that a search ends soon. The hash is kept beside the place of
// each content: most slots that are passed need no look at the bytes, and growing needs none at
// all.
U32 StructureTable::numberOf(std::string_view content) {
    if (table_.size() < 2 * (entries_.size() + 1)) {
        grow();
    }
    auto const hash = static_cast<U32>(std::hash<std::string_view>()(content));
    std::size_t const mask = table_.size() - 1;
    std::size_t slot = hash & mask;
    for (; table_[slot] != 0; slot = (slot + 1) & mask) {
        Entry const & entry = entries_[table_[slot] - 1];
        if (entry.hash == hash && this->content(entry) == content) {
            return table_[slot];
        }
    }
    // Places are noted and not pointers: the contents move as they grow.
    entries_.push_back({contents_.size(), static_cast<U32>(content.size()), hash});
    contents_ += content;
    return table_[slot] = count();
}

// As small as a new one: a table that was large once must not be filled with zeros each time.
void StructureTable::clear() {
    contents_.clear();
    entries_.clear();
    table_.clear();
}

// Every entry differs from the others, so that the first free slot is the right one.
void StructureTable::grow() {
    table_.assign(table_.empty() ? 64 : 2 * table_.size(), 0);
    std::size_t const mask = table_.size() - 1;
    for (U32 number = 1; number <= count(); ++number) {
        std::size_t slot = entries_[number - 1].hash & mask;
        while (table_[slot] != 0) {
            slot = (slot + 1) & mask;
        }
        table_[slot] = number;
    }
}

} // namespace Qcf::Documents
