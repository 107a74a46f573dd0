#pragma once

#include "Lists/PrefixTrie.h"
#include "Platform/Framework/Ptr.h"
#include "Platform/Routing/RouteMap.h"

#include <vector>

namespace Qcf::Lists {

/// A validated ROA payload: this AS may originate the prefix and what lies in it, down to a length.
/// Several payloads may name one prefix: any that grants the route makes it valid.
struct Roa {
    IpGenPrefix prefix;
    U8 maxLength = 0; ///< from the prefix's length to the width of its family
    U32 asn = 0;      ///< 0 says that nobody may

    auto operator<=>(Roa const &) const = default;
};

/// How a route stands to a ROA table (RFC 6811), numbered as routes carry it: valid where a payload
/// that covers its prefix grants its origin so long a prefix, not found where none covers it, else
/// invalid.
enum class OriginValidity : U8 { valid = 0, notFound = 1, invalid = 2 };

/// A route's validity with the payload that it follows from.
struct RoaExplanation {
    OriginValidity validity;
    String text; ///< "not found", "valid by 10.0.0.0/8 AS65001"
};

/// A ROA table: the validated payloads that origin validation (RFC 6811) looks at.
///
///     RoaTable const table({{prefix, 24, 65001}});
///     table.validate(prefix, 65001); // OriginValidity::valid
///
/// A question costs a search for the longest covering prefix and a look at each prefix around it,
/// however many payloads there are. Immutable once made: any number of threads may ask.
class RoaTable final : public Routing::RouteMap::RoaTableStatus {
public:
    /// A table without payloads, to which every route is not found.
    RoaTable() : RoaTable(std::vector<Roa>()) {}
    /// The payloads may come in any order and several times; their lengths must fit the family.
    explicit RoaTable(std::vector<Roa> roas);

    /// The validity of a route of that prefix and origin AS; 0 is the origin of a route whose path
    /// tells none, and is never valid.
    OriginValidity validate(IpGenPrefix const & prefix, U32 originAs) const;

    /// The same answer with the payload that gives it, or one that covers the prefix.
    RoaExplanation explain(IpGenPrefix const & prefix, U32 originAs) const;

    /// Number of different payloads.
    std::size_t size() const { return size_; }
    /// Whether there are none.
    bool empty() const { return size_ == 0; }

private:
    /// Who may originate the prefix of a node.
    struct Origin {
        U32 asn;
        U8 maxLength; ///< the largest that any payload grants the AS for this prefix
    };

    /// The payloads of one family. Nodes of the trie are the different prefixes of the payloads.
    struct Index {
        /// Takes the payloads of the family, ascending and each once.
        void build(std::span<Roa const> ascending);
        OriginValidity validate(IpGenPrefix const & prefix, U32 originAs) const;

        PrefixTrie trie;
        std::vector<U32> firstOfNode; ///< in origins, with one more at the end
        std::vector<Origin> origins;  ///< by node, then ascending by AS
    };

    /// Payloads of both families, each counted once.
    std::size_t size_ = 0;
    /// The families are asked apart, by the family of the route's prefix.
    Index v4_;
    Index v6_;
};

} // namespace Qcf::Lists
