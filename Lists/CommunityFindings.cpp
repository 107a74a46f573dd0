#include "Lists/CommunityFindings.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

/// Community lists, whose entries are sets: one covers all that have its communities, too.
namespace Qcf::Lists {

namespace {

using Kind = EntryFinding::Kind;

constexpr std::size_t none = ~std::size_t{0};

/// Sets of small numbers, ascending, filed by their members one after the other.
class SetTree {
public:
    /// `steps` bounds the look-ups of all questions for a part of a set.
    explicit SetTree(std::size_t steps) : steps_(steps) {}

    /// Files a set under an owner, unless it has one.
    void add(std::span<U32 const> set, std::size_t owner) {
        U32 node = 0;
        for (U32 const member : set) {
            auto const [at, isNew] =
                children_.emplace(edge(node, member), static_cast<U32>(owners_.size()));
            if (isNew) {
                owners_.push_back(none);
            }
            node = at->second;
        }
        owners_[node] = std::min(owners_[node], owner);
    }

    /// The owner of just this set, or of some set whose members are all in this one; `none` for
    /// none, and where the look-ups are used up.
    std::size_t equalTo(std::span<U32 const> set) const {
        U32 node = 0;
        for (U32 const member : set) {
            auto const child = children_.find(edge(node, member));
            if (child == children_.end()) {
                return none;
            }
            node = child->second;
        }
        return owners_[node];
    }
    std::size_t within(std::span<U32 const> set) {
        std::vector<std::pair<U32, std::size_t>> open{{0, 0}};
        while (!open.empty()) {
            auto const [node, from] = open.back();
            open.pop_back();
            if (owners_[node] != none) {
                return owners_[node];
            }
            for (std::size_t i = from; i < set.size(); ++i) {
                if (steps_ == 0) {
                    return none;
                }
                --steps_;
                auto const child = children_.find(edge(node, set[i]));
                if (child != children_.end()) {
                    open.emplace_back(child->second, i + 1);
                }
            }
        }
        return none;
    }

private:
    static U64 edge(U32 node, U32 member) { return U64{node} << 32 | member; }

    std::size_t steps_;
    std::unordered_map<U64, U32> children_;
    std::vector<std::size_t> owners_{none}; ///< by node; node 0 is the empty set
};

/// The communities of a list as small numbers.
template <typename Value>
class Numbers {
public:
    template <typename Entries>
    explicit Numbers(Entries const & entries) {
        for (auto const & entry : entries) {
            values_.insert(values_.end(), entry.communities.begin(), entry.communities.end());
        }
        total_ = values_.size();
        std::ranges::sort(values_);
        values_.erase(std::unique(values_.begin(), values_.end()), values_.end());
    }

    /// Ascending, each once.
    std::vector<U32> of(std::vector<Value> const & communities) const {
        std::vector<U32> numbers;
        for (Value const & each : communities) {
            auto const at = std::ranges::lower_bound(values_, each);
            numbers.push_back(static_cast<U32>(at - values_.begin()));
        }
        std::ranges::sort(numbers);
        numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
        return numbers;
    }
    /// Communities of all entries.
    std::size_t total() const { return total_; }

private:
    std::vector<Value> values_;
    std::size_t total_ = 0;
};

/// Goes through the entries of a list in their order.
template <typename List>
class CommunityEntries {
public:
    using Entry = typename CommunityListRecord<List>::Entry;

    // Up to nine members a set has no more parts than 64 a member.
    explicit CommunityEntries(std::vector<Entry> const & entries)
        : numbers_(entries), sets_(64 * numbers_.total()) {
        for (std::size_t number = 0; number < entries.size(); ++number) {
            Entry const & entry = entries[number];
            entry.pattern ? pattern(number, entry.pattern->text) : set(number, entry);
        }
    }

    std::vector<EntryFinding> findings;

private:
    static String pointerOf(std::size_t number) { return '/' + std::to_string(number); }

    EntryFinding & covered(std::size_t number, std::size_t by) {
        findings.push_back(coveredEntry(pointerOf(number), "number", number + 1, by + 1));
        return findings.back();
    }

    // Exact matches pass over patterns, and they have no communities to give.
    void pattern(std::size_t number, String const & text) {
        auto const [earlier, isNew] = patterns_.emplace(text, number);
        std::size_t const always = sets_.equalTo({});
        if (!isNew || always != none) {
            covered(number, isNew ? always : earlier->second);
        }
        if (hasLoneAnchor(text)) {
            findings.push_back({Kind::anchoredPattern, pointerOf(number),
                                "the pattern of the entry with number " +
                                    std::to_string(number + 1) +
                                    " sees all communities of a route joined: only the first can "
                                    "meet ^, only the last $"});
        }
        constexpr bool isExt = std::is_same_v<List, ExtCommunityList>;
        if (wantsForeignLetter(text, isExt ? "abcdefx" : "")) {
            findings.push_back({Kind::foreignPattern, pointerOf(number),
                                "the pattern of the entry with number " +
                                    std::to_string(number + 1) +
                                    " never matches: communities are seen as " +
                                    (isExt ? "0x and 16 hexadecimal digits" : "numbers")});
        }
    }

    void set(std::size_t number, Entry const & entry) {
        std::vector<U32> const members = numbers_.of(entry.communities);
        std::size_t const equal = sets_.equalTo(members);
        std::size_t const by = equal != none ? equal : sets_.within(members);
        // Entries that deny give nothing.
        bool givesNothing = true;
        for (U32 const member : members) {
            bool const isNew = entry.action == ListAction::permit && given_.insert(member).second;
            givesNothing = givesNothing && !isNew;
        }
        if (by != none) {
            covered(number, by).idleIn = {true, true, equal != none, givesNothing};
        }
        if (equal == none) {
            sets_.add(members, number);
        }
    }

    Numbers<typename CommunityListRecord<List>::Value> numbers_;
    SetTree sets_;
    std::unordered_map<String, std::size_t> patterns_;
    std::unordered_set<U32> given_; ///< by the permits so far
};

} // namespace

template <typename List>
std::vector<EntryFinding> findingsInCommunities(CommunityListRecord<List> const & list) {
    return std::move(CommunityEntries<List>(list.entries).findings);
}

template std::vector<EntryFinding>
findingsInCommunities(CommunityListRecord<StandardCommunityList> const & list);
template std::vector<EntryFinding>
findingsInCommunities(CommunityListRecord<ExtCommunityList> const & list);
template std::vector<EntryFinding>
findingsInCommunities(CommunityListRecord<LargeCommunityList> const & list);

} // namespace Qcf::Lists
