#pragma once

#include "Platform/Routing/RouteMap.h"

#include <optional>

namespace Qcf::Lists {

/// What a list answers about a candidate, and why: by which entry, or what the nearest one wanted.
/// Lists that answer questions (`match`, `permits`, ...) answer `explain` beside them, by a walk
/// over the entries themselves: for people, who ask about a few routes. The answer is the same.
///
///     ListExplanation const why = list.explain(candidate);
///     std::cout << why.text; // "entry 10 wants length 8..24"
struct ListExplanation {
    std::optional<bool> answer; ///< nothing for a list that has none
    /// The entry that decided: its sequence number in a prefix list, else its place in the list
    /// from 1 on. Nothing where no entry matched.
    std::optional<U32> entry = {};
    String text; ///< one line
};

/// The same of a tag set.
ListExplanation explainTag(Routing::RouteMap::TagSetStatus const & tags, U32 tag);

/// "permitted by entry 10", "denied by entry 10".
ListExplanation decidedBy(U32 entry, bool permits);
/// "none of its 3 entries matches".
ListExplanation decidedByNone(std::size_t entries);

} // namespace Qcf::Lists
