#include "Lists/CommunityMatcher.h"

#include <algorithm>
#include <map>

/// Lists are asked for every route and made once. So all that can be done beforehand is done when a
/// list is made, with whatever containers are handy; questions see sorted arrays alone.
namespace Qcf::Lists {

namespace {

/// Calls `visit(i, value)` for every value of the set that is the community of anchor `i`. Searches
/// the larger of the two for the members of the smaller. Both ascend, so that a search begins where
/// the last one ended.
template <typename Set, typename Anchors, typename Visit>
void eachCommon(Set const & set, Anchors const & anchors, Visit const & visit) {
    auto const community = [](auto const & anchor) { return anchor.community; };
    if (set.count() <= anchors.size()) {
        auto at = anchors.begin();
        for (auto const & value : set) {
            at = std::ranges::lower_bound(at, anchors.end(), value, {}, community);
            if (at == anchors.end()) {
                return;
            }
            if (at->community == value) {
                visit(static_cast<std::size_t>(at - anchors.begin()));
            }
        }
        return;
    }
    auto at = set.begin();
    for (std::size_t i = 0; i < anchors.size() && at != set.end(); ++i) {
        at = std::lower_bound(at, set.end(), anchors[i].community);
        if (at != set.end() && *at == anchors[i].community) {
            visit(i);
        }
    }
}

// The count goes first: most entries fall out by it.
template <typename Set, typename Values>
bool carriesAll(Set const & set, Values const & values) {
    return values.size() <= set.count() &&
           std::includes(set.begin(), set.end(), values.begin(), values.end());
}

} // namespace

template <typename Set>
CommunityMatcher<Set>::CommunityMatcher(std::vector<Entry> entries, AppendText appendText)
    : appendText_(appendText) {
    always_ = static_cast<Number>(entries.size());
    for (Number number = 0; number < entries.size(); ++number) {
        Entry & entry = entries[number];
        // In order and each once, as those of a route: both ways of matching compare the two as
        // sequences.
        std::ranges::sort(entry.communities);
        entry.communities.erase(std::unique(entry.communities.begin(), entry.communities.end()),
                                entry.communities.end());
        actions_.push_back(entry.action);
        literals_.push_back(
            {static_cast<U32>(communities_.size()), static_cast<U32>(entry.communities.size())});
        communities_.insert(communities_.end(), entry.communities.begin(), entry.communities.end());
        // An entry without either matches every route, unless the match is to be exact.
        if (entry.pattern) {
            patterns_.emplace_back(number, std::move(*entry.pattern));
        } else if (entry.communities.empty()) {
            always_ = std::min(always_, number);
        }
    }
    fileLiterals();
    groupPatterns();
    unitePermitted();
}

// No other entry stands within a group, so that what another one decides comes before all of it or
// behind all of it.
template <typename Set>
void CommunityMatcher<Set>::groupPatterns() {
    for (std::size_t at = 0; at < patterns_.size();) {
        Number const first = patterns_[at].first;
        std::vector<Pattern> patterns;
        for (; at < patterns_.size() && patterns_[at].first == first + patterns.size() &&
               actions_[patterns_[at].first] == actions_[first];
             ++at) {
            patterns.push_back(patterns_[at].second);
        }
        groups_.push_back({first, PatternSet(patterns)});
    }
}

// Long lists have a community of its own in most entries and some that many entries share. An
// entry is filed under its rarest community, so that a route with a common one does not make it
// look at every entry that has it.
template <typename Set>
void CommunityMatcher<Set>::fileLiterals() {
    std::map<Value, U32> entriesWith;
    for (Value const & community : communities_) {
        ++entriesWith[community];
    }
    std::map<Value, std::vector<Number>> filed;
    for (Number entry = 0; entry < entryCount(); ++entry) {
        auto const communities = communitiesOf(entry);
        if (!communities.empty()) {
            filed[*std::ranges::min_element(communities, {}, [&](Value const & community) {
                return entriesWith.at(community);
            })].push_back(entry);
        }
    }
    for (auto const & [community, entries] : filed) {
        Anchor anchor{community, entryCount(), static_cast<U32>(filed_.size())};
        for (Number const entry : entries) {
            // An entry of one community has matched as soon as its anchor is met, so that of many
            // only the first can ever decide.
            if (literals_[entry].count == 1) {
                anchor.single = std::min(anchor.single, entry);
            } else {
                filed_.push_back(entry);
            }
        }
        anchors_.push_back(anchor);
    }
    // One more at the end, so that each anchor ends where the next one starts.
    anchors_.push_back({Value(), entryCount(), static_cast<U32>(filed_.size())});
}

// Sorted first: `insert` then only appends.
template <typename Set>
void CommunityMatcher<Set>::unitePermitted() {
    std::vector<Value> values;
    for (Number entry = 0; entry < entryCount(); ++entry) {
        if (permitsEntry(entry)) {
            auto const communities = communitiesOf(entry);
            values.insert(values.end(), communities.begin(), communities.end());
        }
    }
    if (values.empty()) {
        return;
    }
    std::ranges::sort(values);
    values.erase(std::unique(values.begin(), values.end()), values.end());
    permitted_ = makePtr<Set>(Eval::ModifyFlag::copyOnWrite);
    permitted_->values().reserve(values.size());
    for (Value const & value : values) {
        permitted_->insert(value);
    }
}

// Entries of several communities never match a route with just one.
template <typename Set>
auto CommunityMatcher<Set>::firstSingle(Value const & community) const -> Number {
    std::span<Anchor const> const anchors(anchors_.data(), anchorCount());
    auto const at = std::ranges::lower_bound(anchors, community, {}, &Anchor::community);
    return at != anchors.end() && at->community == community ? at->single : entryCount();
}

/// The first literal entry for which `matches(communities)` holds.
template <typename Set>
template <typename Matches>
auto CommunityMatcher<Set>::firstFiled(Set const & set, Matches const & matches) const -> Number {
    Number best = entryCount();
    // Entries of an anchor ascend: the first that matches is its best, and behind `best` none
    // counts.
    eachCommon(set, std::span<Anchor const>(anchors_.data(), anchorCount()), [&](std::size_t i) {
        Number const single = anchors_[i].single;
        // Being there is enough for the plain question, but not for the exact one.
        if (single < best && matches(std::span(&anchors_[i].community, 1))) {
            best = single;
        }
        for (Number const entry : filedUnder(i)) {
            if (entry >= best || matches(communitiesOf(entry))) {
                best = std::min(best, entry);
                break;
            }
        }
    });
    return best;
}

/// As declared; `before` where none is found.
template <typename Set>
template <typename AppendAll>
auto CommunityMatcher<Set>::firstPattern(Number before, String & text,
                                         AppendAll const & appendAll) const -> Number {
    // Most lists need no text; making it is what costs most.
    if (groups_.empty() || groups_.front().first >= before) {
        return before;
    }
    text.clear();
    appendAll();
    for (PatternGroup const & group : groups_) {
        if (group.first >= before) {
            return before;
        }
        if (group.patterns.anyFoundIn(text)) {
            return group.first;
        }
    }
    return before;
}

// Literal entries go first because they need no text: what they find bounds the patterns that are
// to be tried. A route without communities is an empty text, which patterns may match.
template <typename Set>
bool CommunityMatcher<Set>::matches(Set const * set, String & text) const {
    bool const isEmpty = set == nullptr || set->empty();
    Number first = always_;
    if (!isEmpty) {
        first = std::min(first, firstFiled(*set, [&](auto const & communities) {
                             return carriesAll(*set, communities);
                         }));
    }
    return permitsEntry(firstPattern(first, text, [&] {
        for (std::size_t i = 0; !isEmpty && i < set->count(); ++i) {
            text.append(i == 0 ? 0 : 1, ' ');
            appendText_(text, set->at(i));
        }
    }));
}

// Sets are sorted and without duplicates on both sides, so that equal sets are equal sequences. An
// entry without communities is the exact match of a route without any, and of no other.
template <typename Set>
bool CommunityMatcher<Set>::matchesExactly(Set const * set) const {
    if (set == nullptr || set->empty()) {
        return permitsEntry(always_);
    }
    return permitsEntry(firstFiled(*set, [&](auto const & communities) {
        return communities.size() == set->count() &&
               std::equal(communities.begin(), communities.end(), set->begin());
    }));
}

template <typename Set>
bool CommunityMatcher<Set>::permits(Value const & community, String & text) const {
    Number const first = std::min(always_, firstSingle(community));
    return permitsEntry(firstPattern(first, text, [&] { appendText_(text, community); }));
}

template class CommunityMatcher<Eval::U64SmallVector>;
template class CommunityMatcher<Eval::CommunitySmallVector>;

} // namespace Qcf::Lists
