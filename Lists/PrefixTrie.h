#pragma once

#include "Platform/Routing/IpPrefix.h"

#include <span>
#include <vector>

namespace Qcf::Lists {

/// A set of prefixes of one family that tells the longest one containing a candidate.
///
/// It is a path-compressed trie in arrays: the prefixes in ascending order, which is the order in
/// which a walk through the trie meets them, and for each the longest other one that contains it.
/// A candidate's place among them is found by bisection behind a table over the leading address
/// bits; from there its containing prefixes are the next ones up. Nodes are numbered from 0 in
/// ascending order of their prefixes. Immutable once made: any number of threads may ask.
///
///     PrefixTrie const trie(prefixes); // 10.0.0.0/8, 10.1.0.0/16
///     U32 node = trie.longestMatch(candidate); // 1 for 10.1.2.0/24
///     node = trie.parent(node);                // 0: the next longer one around it
///
/// Whoever has more to say about a prefix keeps it in an array of its own by the number of the
/// node.
class PrefixTrie {
public:
    /// The number of no node.
    static constexpr U32 none = ~U32{0};

    /// A set without prefixes.
    PrefixTrie() = default;
    /// The prefixes must be ascending, without duplicates, and all of one family, IPv4 or IPv6.
    /// They are copied.
    explicit PrefixTrie(std::span<IpGenPrefix const> prefixes);

    /// Number of prefixes, and so of nodes.
    std::size_t size() const { return parents_.size(); }

    /// The longest prefix that contains the candidate, the same prefix included; `none` where no
    /// prefix does, as for a candidate of the other family. Logarithmic in the nodes that share
    /// leading bits, then up a step a nested prefix.
    U32 longestMatch(IpGenPrefix const & candidate) const {
        switch (candidate.af()) {
        case AddressFamily::ipv4:
            return longest(v4_, Key4(candidate));
        case AddressFamily::ipv6:
            return longest(v6_, Key6(candidate));
        case AddressFamily::none:
            break;
        }
        return none;
    }

    /// The longest other prefix that contains that of the node; `none` at the top. Going up from a
    /// node meets every prefix around it, the longest first.
    U32 parent(U32 node) const { return parents_[node]; }

    /// The length of the node's prefix.
    U8 length(U32 node) const {
        return static_cast<U8>(v4_.empty() ? v6_[node].len() : v4_[node].len());
    }

private:
    // Keys compare as prefixes do: by address, then by length.
    /// Address and length of an IPv4 prefix in one number.
    struct Key4 {
        /// The address in the upper bits, so that one comparison orders both.
        explicit Key4(IpGenPrefix const & prefix)
            : bits(U64{prefix.addr().v4Value()} << 8 | prefix.len()) {}
        auto operator<=>(Key4 const &) const = default;
        U32 len() const { return bits & 0xff; }
        U32 leading() const { return static_cast<U32>(bits >> 24); }
        /// Whether the other prefix lies in this one.
        bool contains(Key4 const & other) const {
            return len() <= other.len() && ((bits ^ other.bits) >> 8 >> (32 - len())) == 0;
        }
        U64 bits;
    };
    /// Those of an IPv6 prefix.
    struct Key6 {
        explicit Key6(IpGenPrefix const & prefix)
            : high(prefix.addr().halfValue(0)),
              low(prefix.addr().halfValue(1)),
              length(prefix.len()) {}
        auto operator<=>(Key6 const &) const = default;
        U32 len() const { return length; }
        U32 leading() const { return static_cast<U32>(high >> 48); }
        /// Likewise.
        bool contains(Key6 const & other) const;
        U64 high;
        U64 low;
        U32 length;
    };

    /// Width of what `leading` yields. The table has at most 2 to that power entries; small sets
    /// have a smaller one.
    static constexpr U32 leadingBits = 16;

    /// Fills keys, parents and the table.
    template <typename Key>
    void build(std::vector<Key> & keys, std::span<IpGenPrefix const> from);
    /// `longestMatch` for a family.
    template <typename Key>
    U32 longest(std::vector<Key> const & keys, Key const & candidate) const;

    /// The prefixes in ascending order: those of the one family that there is.
    std::vector<Key4> v4_;
    std::vector<Key6> v6_;
    /// By node, the longest other prefix that contains it.
    std::vector<U32> parents_;
    std::vector<U32> firstByLeading_; ///< bounds of the nodes that share leading bits
    U32 leadingShift_ = 0;            ///< bits of `leading` that the table does not look at
};

} // namespace Qcf::Lists
