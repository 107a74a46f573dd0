#include "Lists/PrefixListTrie.h"

#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <array>
#include <numeric>

/// What decides about a candidate is the entry with the smallest number among all whose prefixes
/// contain it, not the one with the longest prefix. That is settled for each prefix and length when
/// the list is made.
namespace Qcf::Lists {

namespace {

constexpr U32 noEntry = ~U32{0};
constexpr U32 lengths = 129; ///< 0 to 128

/// For every length of a candidate the first entry, by sequence, that matches it.
using FirstEntries = std::array<U32, lengths>;

} // namespace

// A node needs a bit for each length from 0 on: 33 fit one word, 129 need three.
PrefixListTrie::PrefixListTrie(AddressFamily family, std::vector<PrefixListEntry> entries)
    : family_(family), wordsPerNode_(family == AddressFamily::ipv4 ? 1 : 3) {
    // From here on an entry is its place in the order of sequence numbers: the smaller one
    // decides.
    std::ranges::stable_sort(entries, {}, &PrefixListEntry::seq);
    std::vector<U32> byPrefix(entries.size());
    std::iota(byPrefix.begin(), byPrefix.end(), 0);
    std::ranges::stable_sort(byPrefix, {}, [&](U32 i) { return entries[i].prefix; });

    std::vector<IpGenPrefix> prefixes;
    for (U32 at = 0; at < byPrefix.size(); ++at) {
        auto const & entry = entries[byPrefix[at]];
        entries_.push_back(
            {entry.seq, entry.minLength, entry.maxLength, entry.action == ListAction::permit});
        QCF_ASSERT(entry.prefix.af() == family && entry.maxLength <= addressWidth(family));
        if (prefixes.empty() || prefixes.back() != entry.prefix) {
            prefixes.push_back(entry.prefix);
            firstOfNode_.push_back(at);
        }
    }
    // One more at the end, so that each node's entries end where the next one's begin.
    firstOfNode_.push_back(static_cast<U32>(byPrefix.size()));
    trie_ = PrefixTrie(prefixes);
    permit(entries, byPrefix);
    if (family == AddressFamily::ipv4 && !prefixes.empty()) {
        cutAddresses(prefixes);
        hasPieces_ = true;
    }
}

void PrefixListTrie::permit(std::span<PrefixListEntry const> bySeq, std::span<U32 const> byPrefix) {
    permitted_.assign(trie_.size() * wordsPerNode_, 0);
    // Nodes come after the one they stand under: a stack holds what applies on the way down.
    std::vector<std::pair<U32, FirstEntries>> path;
    FirstEntries nothing;
    nothing.fill(noEntry);
    for (U32 node = 0; node < trie_.size(); ++node) {
        while (!path.empty() && path.back().first != trie_.parent(node)) {
            path.pop_back();
        }
        // What applies around a node applies in it as well.
        FirstEntries first = path.empty() ? nothing : path.back().second;
        for (U32 at = firstOfNode_[node]; at < firstOfNode_[node + 1]; ++at) {
            U32 const entry = byPrefix[at];
            for (U32 len = bySeq[entry].minLength; len <= bySeq[entry].maxLength; ++len) {
                first[len] = std::min(first[len], entry);
            }
        }
        // Only permits are noted: that nothing matches and that a deny matches answer alike.
        for (U32 len = 0; len < lengths; ++len) {
            if (first[len] != noEntry && bySeq[first[len]].action == ListAction::permit) {
                permitted_[node * wordsPerNode_ + len / 64] |= U64{1} << len % 64;
            }
        }
        path.emplace_back(node, first);
    }
}

/// What is permitted at an address is what the longest prefix around it permits: an entry never
/// matches candidates shorter than its prefix.
void PrefixListTrie::cutAddresses(std::span<IpGenPrefix const> prefixes) {
    struct Open {
        U64 end;
        U32 bits;
    };
    std::vector<Open> open;
    // Inner prefixes end first; where several end at one address the outermost is told last, and
    // counts.
    auto const closeBefore = [&](U64 address) {
        while (!open.empty() && open.back().end <= address) {
            U64 const end = open.back().end;
            open.pop_back();
            // Behind the last address there is nothing to say.
            if (end <= ~U32{0}) {
                pieces_.add(static_cast<U32>(end), open.empty() ? 0 : open.back().bits);
            }
        }
    };
    for (U32 node = 0; node < prefixes.size(); ++node) {
        U64 const start = prefixes[node].addr().v4Value();
        closeBefore(start);
        auto const bits = static_cast<U32>(permitted_[node] >> 1); // from length 1 on
        open.push_back({start + (U64{1} << (32U - prefixes[node].len())), bits});
        pieces_.add(static_cast<U32>(start), bits);
    }
    closeBefore(~U64{0});
    pieces_.seal();
}

std::optional<bool> PrefixListTrie::match(IpGenPrefix const & candidate) const {
    if (empty()) {
        return std::nullopt;
    }
    if (hasPiecesFor(candidate)) {
        return permittedByPiece(candidate);
    }
    // By the trie for IPv6, and for the one candidate of length 0.
    U32 const node = trie_.longestMatch(candidate);
    if (node == PrefixTrie::none) {
        return false;
    }
    U32 const len = candidate.len();
    return (permitted_[node * wordsPerNode_ + len / 64] >> len % 64 & 1) != 0;
}

TristateBoolean
PrefixListTrie::matchWithTristate(Routing::Policy::MatchInput_ const & input,
                                  Ptr<Routing::Policy::PolicyEvalContext> const &) const {
    IpGenPrefix const & candidate = input.prefix;
    if (hasPiecesFor(candidate)) [[likely]] {
        return TristateBoolean::of(permittedByPiece(candidate));
    }
    auto const answer = match(candidate);
    return answer ? TristateBoolean::of(*answer) : TristateBoolean::unset();
}

} // namespace Qcf::Lists
