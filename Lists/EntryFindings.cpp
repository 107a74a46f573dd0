#include "Lists/EntryFindings.h"

#include "Lists/CommunityFindings.h"
#include "Lists/ListWords.h"

#include <algorithm>
#include <numeric>

/// An entry that decides nothing is mostly one that should have stood further up. Only cover by a
/// single earlier entry is looked for: what several cover together may well be meant as a rest.
namespace Qcf::Lists {

namespace {

using Kind = EntryFinding::Kind;

/// The entries of one prefix, in the order in which they are tried: of ranges that no earlier one
/// has in it. So they ascend at both ends, and are at most as many as there are lengths.
class LengthRanges {
public:
    /// The entry whose range has all of this one in it; null for none.
    PrefixListEntry const * around(PrefixListEntry const & entry) const {
        auto const behind = std::ranges::upper_bound(
            ranges_, entry.minLength, {}, [](auto const * each) { return each->minLength; });
        bool const covers =
            behind != ranges_.begin() && (*(behind - 1))->maxLength >= entry.maxLength;
        return covers ? *(behind - 1) : nullptr;
    }
    /// Takes an entry that none is around.
    void add(PrefixListEntry const & entry) {
        std::erase_if(ranges_, [&](auto const * each) {
            return each->minLength >= entry.minLength && each->maxLength <= entry.maxLength;
        });
        ranges_.insert(std::ranges::lower_bound(ranges_, entry.minLength, {},
                                                [](auto const * each) { return each->minLength; }),
                       &entry);
    }

private:
    std::vector<PrefixListEntry const *> ranges_;
};

/// Entries of one family. Going up from a prefix meets all that are around it, at most as many as
/// there are lengths.
void findCovered(std::vector<PrefixListEntry> const & entries, String const & member,
                 std::vector<EntryFinding> & findings) {
    std::vector<IpGenPrefix> prefixes;
    prefixes.reserve(entries.size());
    for (PrefixListEntry const & entry : entries) {
        prefixes.push_back(entry.prefix);
    }
    std::ranges::sort(prefixes);
    prefixes.erase(std::unique(prefixes.begin(), prefixes.end()), prefixes.end());
    PrefixTrie const trie(prefixes);
    std::vector<LengthRanges> ranges(prefixes.size());
    std::vector<std::size_t> bySeq(entries.size());
    std::iota(bySeq.begin(), bySeq.end(), 0);
    std::ranges::stable_sort(bySeq, {}, [&](std::size_t i) { return entries[i].seq; });

    std::map<std::size_t, U32> covers; // by entry the seq of its cover
    for (std::size_t const number : bySeq) {
        PrefixListEntry const & entry = entries[number];
        auto const own =
            static_cast<U32>(std::ranges::lower_bound(prefixes, entry.prefix) - prefixes.begin());
        PrefixListEntry const * cover = nullptr;
        for (U32 node = own; node != PrefixTrie::none && cover == nullptr;
             node = trie.parent(node)) {
            cover = ranges[node].around(entry);
        }
        if (cover == nullptr) {
            ranges[own].add(entry);
        } else {
            covers.emplace(number, cover->seq);
        }
    }
    for (auto const & [number, seq] : covers) {
        findings.push_back(coveredEntry('/' + member + '/' + std::to_string(number), word::seq,
                                        entries[number].seq, seq));
    }
}

/// A kind of list each.
struct FindIn {
    std::vector<EntryFinding> operator()(PrefixListRecord list) const {
        // All that lies in an entry's prefix matches, whatever its lengths.
        for (PrefixListEntry & entry : list.entries) {
            entry.minLength = list.covered ? entry.prefix.len() : entry.minLength;
            entry.maxLength = list.covered ? addressWidth(list.family) : entry.maxLength;
        }
        std::vector<EntryFinding> findings;
        findCovered(list.entries, word::entries, findings);
        return findings;
    }

    std::vector<EntryFinding> operator()(DynamicPrefixListRecord const & list) const {
        std::vector<EntryFinding> findings;
        findCovered(list.v4, word::v4, findings);
        findCovered(list.v6, word::v6, findings);
        return findings;
    }

    template <typename List>
    std::vector<EntryFinding> operator()(CommunityListRecord<List> const & list) const {
        return findingsInCommunities(list);
    }

    std::vector<EntryFinding> operator()(AsPathListRecord const & list) const {
        std::vector<EntryFinding> findings;
        // By pattern and origin; a pattern for any origin decides for each.
        std::map<std::pair<String, std::optional<U64>>, std::size_t> seen;
        for (std::size_t number = 0; number < list.entries.size(); ++number) {
            auto const & entry = list.entries[number];
            auto earlier = seen.find({entry.pattern.text, std::nullopt});
            if (earlier == seen.end()) {
                earlier = seen.find({entry.pattern.text, entry.origin});
            }
            if (earlier == seen.end()) {
                seen.emplace(std::pair(entry.pattern.text, entry.origin), number);
            } else {
                findings.push_back(coveredEntry('/' + std::to_string(number), "number", number + 1,
                                                earlier->second + 1));
            }
        }
        return findings;
    }

    // A tag or a payload that stands twice changes nothing.
    std::vector<EntryFinding> operator()(TagSetRecord const &) const { return {}; }
    std::vector<EntryFinding> operator()(RoaTableRecord const &) const { return {}; }
};

} // namespace

std::vector<EntryFinding> findingsIn(ListRecord const & list) {
    return std::visit(FindIn(), list.content);
}

void noteEntries(EntryFindings & findings, ListRecord const & list) {
    auto const key = std::pair(list.kind(), list.name);
    findings.erase(key);
    if (auto found = findingsIn(list); !found.empty()) {
        findings.emplace(key, std::move(found));
    }
}

} // namespace Qcf::Lists
