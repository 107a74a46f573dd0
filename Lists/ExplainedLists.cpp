#include "Lists/AsPathList.h"
#include "Lists/CommunityMatcher.h"
#include "Lists/PrefixListTrie.h"
#include "Lists/RoaTable.h"

#include <algorithm>

/// Why lists answer as they do. Each goes through its entries one by one, as their order says, and
/// uses none of what was prepared for quick answers: what both agree on is right.
namespace Qcf::Lists {

namespace {

/// How many bits longer or shorter a candidate would have to be.
U32 distanceTo(U32 length, U32 least, U32 most) {
    return length < least ? least - length : length > most ? length - most : 0;
}

String lengthsText(U32 least, U32 most) {
    return "length " + std::to_string(least) +
           (least == most ? String() : ".." + std::to_string(most));
}

} // namespace

// Only entries around the candidate can match; of those that do, the first by sequence decides.
ListExplanation PrefixListTrie::explain(IpGenPrefix const & candidate) const {
    if (empty()) {
        return {std::nullopt, {}, "it has no entries"};
    }
    if (candidate.af() != family_) {
        return {false, {}, "of the other family"};
    }
    Lengths const * decides = nullptr;
    Lengths const * nearest = nullptr;
    bool isAround = false;
    U32 const length = candidate.len();
    auto const distance = [&](Lengths const & entry) {
        return distanceTo(length, entry.least, entry.most);
    };
    for (U32 node = trie_.longestMatch(candidate); node != PrefixTrie::none;
         node = trie_.parent(node)) {
        for (Lengths const & entry : entriesAt(node)) {
            if (distance(entry) == 0 && (decides == nullptr || entry.seq < decides->seq)) {
                decides = &entry;
            }
            // Who comes closer to what is denied is not helped.
            bool const isNearer = nearest == nullptr || distance(entry) < distance(*nearest);
            nearest = entry.permits && isNearer ? &entry : nearest;
            isAround = true;
        }
    }
    if (decides != nullptr) {
        return decidedBy(decides->seq, decides->permits);
    }
    if (nearest != nullptr) {
        return {false,
                {},
                "entry " + std::to_string(nearest->seq) + " wants " +
                    lengthsText(nearest->least, nearest->most)};
    }
    return {false, {}, isAround ? "no entry permits it" : "none of its entries is around it"};
}

ListExplanation AsPathList::explain(std::string_view pathText, U64 origin) const {
    U32 number = 0;
    for (Entry const & entry : entries_) {
        ++number;
        bool const isOfOrigin = entry.origin.value_or(origin) == origin;
        if (isOfOrigin && entry.pattern.foundIn(pathText)) {
            return decidedBy(number, entry.action == ListAction::permit);
        }
    }
    return decidedByNone(entries_.size());
}

template <typename Set>
bool CommunityMatcher<Set>::carriesAllOf(Set const * set, Number entry) const {
    return std::ranges::all_of(communitiesOf(entry), [&](Value const & community) {
        return set != nullptr && set->contains(community);
    });
}

// The one whose communities are there but for the fewest.
template <typename Set>
String CommunityMatcher<Set>::nearestWants(Set const * set) const {
    String missing;
    U32 fewest = ~U32{0};
    for (Number entry = 0; entry < entryCount(); ++entry) {
        U32 lacking = 0;
        String text;
        for (Value const & community : communitiesOf(entry)) {
            if (set == nullptr || !set->contains(community)) {
                ++lacking;
                text += ' ';
                appendText_(text, community);
            }
        }
        // An entry of which nothing is there is near to nothing.
        if (lacking != 0 && lacking < communitiesOf(entry).size() && lacking < fewest) {
            fewest = lacking;
            missing = "entry " + std::to_string(entry + 1) + " also wants" + text;
        }
    }
    return missing;
}

template <typename Set>
ListExplanation CommunityMatcher<Set>::explainedBy(Set const * set, Number entry) const {
    if (entry < entryCount()) {
        return decidedBy(entry + 1, permitsEntry(entry));
    }
    ListExplanation none = decidedByNone(actions_.size());
    if (String wants = nearestWants(set); !wants.empty()) {
        none.text = std::move(wants);
    }
    return none;
}

template <typename Set>
ListExplanation CommunityMatcher<Set>::explain(Set const * set) const {
    String text;
    for (std::size_t i = 0; set != nullptr && i < set->count(); ++i) {
        text.append(i == 0 ? 0 : 1, ' ');
        appendText_(text, set->at(i));
    }
    auto pattern = patterns_.begin();
    for (Number entry = 0; entry < entryCount(); ++entry) {
        bool const isPattern = pattern != patterns_.end() && pattern->first == entry;
        bool const matches =
            isPattern ? (pattern++)->second.foundIn(text) : carriesAllOf(set, entry);
        if (matches) {
            return explainedBy(set, entry);
        }
    }
    return explainedBy(set, entryCount());
}

template <typename Set>
ListExplanation CommunityMatcher<Set>::explainExactly(Set const * set) const {
    std::size_t const count = set == nullptr ? 0 : set->count();
    auto pattern = patterns_.begin();
    for (Number entry = 0; entry < entryCount(); ++entry) {
        if (pattern != patterns_.end() && pattern->first == entry) {
            ++pattern; // a pattern is no exact set
        } else if (communitiesOf(entry).size() == count && carriesAllOf(set, entry)) {
            return explainedBy(set, entry);
        }
    }
    return explainedBy(set, entryCount());
}

// The rest of the class is made where its questions are answered.
#define QCF_EXPLAIN(Set)                                                                           \
    template bool CommunityMatcher<Set>::carriesAllOf(Set const *, Number) const;                  \
    template String CommunityMatcher<Set>::nearestWants(Set const *) const;                        \
    template ListExplanation CommunityMatcher<Set>::explainedBy(Set const *, Number) const;        \
    template ListExplanation CommunityMatcher<Set>::explain(Set const *) const;                    \
    template ListExplanation CommunityMatcher<Set>::explainExactly(Set const *) const;
QCF_EXPLAIN(Eval::U64SmallVector)
QCF_EXPLAIN(Eval::CommunitySmallVector)
#undef QCF_EXPLAIN

RoaExplanation RoaTable::explain(IpGenPrefix const & prefix, U32 originAs) const {
    Index const & index = prefix.af() == AddressFamily::ipv4 ? v4_ : v6_;
    RoaExplanation why{OriginValidity::notFound, "not found"};
    for (U32 node = index.trie.longestMatch(prefix); node != PrefixTrie::none;
         node = index.trie.parent(node)) {
        String const around = IpGenPrefix(prefix.addr(), index.trie.length(node)).toString();
        for (U32 at = index.firstOfNode[node]; at < index.firstOfNode[node + 1]; ++at) {
            Origin const & origin = index.origins[at];
            String const as = around + " AS" + std::to_string(origin.asn);
            bool const isOrigin = originAs != 0 && origin.asn == originAs;
            if (isOrigin && prefix.len() <= origin.maxLength) {
                return {OriginValidity::valid, "valid by " + as};
            }
            // What only a longest length stands against is nearest.
            if (isOrigin || why.validity == OriginValidity::notFound) {
                String const other = origin.asn == 0 ? " permits no origin" : " is another origin";
                why = {OriginValidity::invalid,
                       "invalid: " + as +
                           (isOrigin ? " wants length at most " + std::to_string(origin.maxLength)
                                     : other)};
            }
        }
    }
    return why;
}

} // namespace Qcf::Lists
