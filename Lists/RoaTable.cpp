#include "Lists/RoaTable.h"

#include <algorithm>
#include <utility>

/// Validity (RFC 6811) asks for all prefixes around a route's, not for the longest alone: a short
/// one may grant what a longer one does not.
namespace Qcf::Lists {

void RoaTable::Index::build(std::span<Roa const> ascending) {
    std::vector<IpGenPrefix> prefixes;
    // Hardly fewer prefixes than payloads: what is too much is never touched.
    prefixes.reserve(ascending.size());
    firstOfNode.reserve(ascending.size() + 1);
    origins.reserve(ascending.size());
    for (Roa const & roa : ascending) {
        bool const isNewPrefix = prefixes.empty() || prefixes.back() != roa.prefix;
        if (isNewPrefix) {
            prefixes.push_back(roa.prefix);
            firstOfNode.push_back(static_cast<U32>(origins.size()));
        }
        origins.push_back({roa.asn, roa.maxLength});
    }
    firstOfNode.push_back(static_cast<U32>(origins.size()));
    trie = PrefixTrie(prefixes);
    for (U32 node = 0; node < trie.size(); ++node) {
        auto const first = origins.begin() + firstOfNode[node];
        auto const last = origins.begin() + firstOfNode[node + 1];
        // By AS, and of one AS the largest length first: the one that a search finds grants the
        // most.
        std::ranges::sort(first, last, {}, [](Origin const & origin) {
            return std::pair(origin.asn, addressWidth(AddressFamily::ipv6) - origin.maxLength);
        });
    }
}

// One covering prefix is enough for "invalid", one that grants for "valid", which ends the search.
OriginValidity RoaTable::Index::validate(IpGenPrefix const & prefix, U32 originAs) const {
    auto validity = OriginValidity::notFound;
    for (U32 node = trie.longestMatch(prefix); node != PrefixTrie::none; node = trie.parent(node)) {
        validity = OriginValidity::invalid;
        auto const last = origins.begin() + firstOfNode[node + 1];
        auto const at = std::ranges::lower_bound(origins.begin() + firstOfNode[node], last,
                                                 originAs, {}, &Origin::asn);
        // An AS 0 in a payload covers and grants nothing.
        bool const isGranted = at != last && at->asn == originAs && prefix.len() <= at->maxLength;
        if (isGranted && originAs != 0) {
            return OriginValidity::valid;
        }
    }
    return validity;
}

RoaTable::RoaTable(std::vector<Roa> roas) {
    // Exports are often in order, which is seen sooner than made.
    if (!std::ranges::is_sorted(roas)) {
        std::ranges::sort(roas);
    }
    roas.erase(std::unique(roas.begin(), roas.end()), roas.end());
    // Prefixes ascend by family first.
    auto const firstV6 = std::ranges::partition_point(
        roas, [](Roa const & roa) { return roa.prefix.af() == AddressFamily::ipv4; });
    size_ = roas.size();
    v4_.build({roas.begin(), firstV6});
    v6_.build({firstV6, roas.end()});
}

OriginValidity RoaTable::validate(IpGenPrefix const & prefix, U32 originAs) const {
    return (prefix.af() == AddressFamily::ipv4 ? v4_ : v6_).validate(prefix, originAs);
}

} // namespace Qcf::Lists
