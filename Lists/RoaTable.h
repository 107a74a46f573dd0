#pragma once

#include "Lists/PrefixTrie.h"
#include "Platform/Framework/Ptr.h"
#include "Platform/Routing/RouteMap.h"

#include <vector>

namespace Qcf::Lists {

/// A validated ROA payload: this AS may originate the prefix and what lies in it, down to a length.
struct Roa {
    IpGenPrefix prefix;
    U8 maxLength = 0; ///< from the prefix's length to the width of its family
    U32 asn = 0;      ///< 0 says that nobody may

    auto operator<=>(Roa const &) const = default;
};

/// How a route stands to a ROA table (RFC 6811), numbered as routes carry it.
enum class OriginValidity : U8 { valid = 0, notFound = 1, invalid = 2 };

/// A ROA table. Immutable once made: any number of threads may ask.
class RoaTable final : public Routing::RouteMap::RoaTableStatus {
public:
    RoaTable() : RoaTable(std::vector<Roa>()) {}
    /// The payloads may come in any order and several times.
    explicit RoaTable(std::vector<Roa> roas);

    /// The validity of a route of that prefix and origin AS; 0 is the origin of a route whose path
    /// tells none, and is never valid.
    OriginValidity validate(IpGenPrefix const & prefix, U32 originAs) const;

    /// Number of different payloads.
    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }

private:
    struct Origin {
        U32 asn;
        U8 maxLength; ///< the largest that any payload grants the AS for this prefix
    };

    /// The payloads of one family.
    struct Index {
        void build(std::span<Roa const> ascending);
        OriginValidity validate(IpGenPrefix const & prefix, U32 originAs) const;

        PrefixTrie trie;
        std::vector<U32> firstOfNode; ///< in origins, with one more at the end
        std::vector<Origin> origins;  ///< by node, then ascending by AS
    };

    std::size_t size_ = 0;
    Index v4_;
    Index v6_;
};

} // namespace Qcf::Lists
