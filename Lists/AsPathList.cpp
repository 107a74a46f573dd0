#include "Lists/AsPathList.h"

/// How entries are put together when a list is made; `explain` stands with that of other lists.
namespace Qcf::Lists {

AsPathList::AsPathList(std::vector<Entry> entries) : entries_(std::move(entries)) {
    for (std::size_t first = 0; first < entries_.size();) {
        Entry const & head = entries_[first];
        std::vector<Pattern> patterns;
        for (; first < entries_.size() && entries_[first].action == head.action &&
               entries_[first].origin == head.origin;
             ++first) {
            patterns.push_back(entries_[first].pattern);
        }
        groups_.push_back({head.action, head.origin, PatternSet(patterns)});
    }
}

} // namespace Qcf::Lists
