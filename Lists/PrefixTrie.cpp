#include "Lists/PrefixTrie.h"

#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <bit>

/// In ascending order a prefix stands right before all that it contains. Everything here rests on
/// that: a parent is found without a tree, and what contains a candidate without a walk from the
/// top.
namespace Qcf::Lists {

// By halves; a shift by all bits of one would be undefined, hence the case of length 0.
bool PrefixTrie::Key6::contains(Key6 const & other) const {
    if (length > other.length) {
        return false;
    }
    if (length <= 64) {
        return length == 0 || (high ^ other.high) >> (64 - length) == 0;
    }
    return high == other.high && (low ^ other.low) >> (128 - length) == 0;
}

template <typename Key>
void PrefixTrie::build(std::vector<Key> & keys, std::span<IpGenPrefix const> from) {
    keys.reserve(from.size());
    parents_.reserve(from.size());
    for (IpGenPrefix const & prefix : from) {
        Key const key(prefix);
        auto const node = static_cast<U32>(keys.size());
        // Out of order the answers would be wrong in silence.
        QCF_ASSERT_TEXT(node == 0 || keys.back() < key, "prefixes ascend without duplicates");
        // What contains it is the node before it or one above that.
        U32 parent = node == 0 ? none : node - 1;
        while (parent != none && !keys[parent].contains(key)) {
            parent = parents_[parent];
        }
        keys.push_back(key);
        parents_.push_back(parent);
    }
    // About one node to an entry of the table, where addresses are spread evenly.
    auto const tableBits =
        std::min<U32>(static_cast<U32>(std::bit_width(from.size())), leadingBits);
    leadingShift_ = leadingBits - tableBits;
    // One more than entries, so that each one's end is the start of the next: counts are taken one
    // place further on and then summed up.
    firstByLeading_.assign((std::size_t{1} << tableBits) + 1, 0);
    for (Key const & key : keys) {
        ++firstByLeading_[(key.leading() >> leadingShift_) + 1];
    }
    for (std::size_t i = 1; i < firstByLeading_.size(); ++i) {
        firstByLeading_[i] += firstByLeading_[i - 1];
    }
}

PrefixTrie::PrefixTrie(std::span<IpGenPrefix const> prefixes) {
    if (prefixes.empty()) {
        return;
    }
    auto const family = prefixes.front().af();
    QCF_ASSERT_TEXT(family != AddressFamily::none && prefixes.back().af() == family,
                    "prefixes are of one family");
    if (family == AddressFamily::ipv4) {
        build(v4_, prefixes);
    } else {
        build(v6_, prefixes);
    }
}

// The node to begin at may stand before the bucket: a short prefix contains many buckets.
template <typename Key>
U32 PrefixTrie::longest(std::vector<Key> const & keys, Key const & candidate) const {
    if (keys.empty()) {
        return none;
    }
    U32 const bucket = candidate.leading() >> leadingShift_;
    auto const first = keys.begin() + firstByLeading_[bucket];
    auto const last = keys.begin() + firstByLeading_[bucket + 1];
    // What contains the candidate stands before it in order, and between the two there are only
    // prefixes within the same one.
    auto const behind = std::upper_bound(first, last, candidate);
    U32 node = behind == keys.begin() ? none : static_cast<U32>(behind - keys.begin()) - 1;
    while (node != none && !keys[node].contains(candidate)) {
        node = parents_[node];
    }
    return node;
}

template U32 PrefixTrie::longest(std::vector<Key4> const &, Key4 const &) const;
template U32 PrefixTrie::longest(std::vector<Key6> const &, Key6 const &) const;

} // namespace Qcf::Lists
