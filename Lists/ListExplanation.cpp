#include "Lists/ListExplanation.h"

namespace Qcf::Lists {

ListExplanation decidedBy(U32 entry, bool permits) {
    return {permits, entry,
            String(permits ? "permitted" : "denied") + " by entry " + std::to_string(entry)};
}

ListExplanation decidedByNone(std::size_t entries) {
    return {false,
            {},
            entries == 0   ? "it has no entries"
            : entries == 1 ? String("its only entry does not match")
                           : "none of its " + std::to_string(entries) + " entries matches"};
}

ListExplanation explainTag(Routing::RouteMap::TagSetStatus const & tags, U32 tag) {
    bool const isIn = tags.contains(tag);
    return {isIn, {}, "tag " + std::to_string(tag) + (isIn ? " is" : " is not") + " in it"};
}

} // namespace Qcf::Lists
