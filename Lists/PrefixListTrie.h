#pragma once

#include "Lists/AddressPieces.h"
#include "Lists/ListAction.h"
#include "Lists/PrefixTrie.h"
#include "Platform/Routing/Policy.h"

#include <optional>

namespace Qcf::Lists {

/// One entry of a prefix list: it matches what lies in its prefix and has a length in its range.
struct PrefixListEntry {
    U32 seq = 0; ///< unique in a list; entries are tried in rising order
    ListAction action = ListAction::permit;
    IpGenPrefix prefix;
    U8 minLength = 0; ///< from the prefix's own length
    U8 maxLength = 0; ///< to the width of the family
};

/// A prefix list ready to be asked: the first entry by sequence that matches decides, nothing
/// matching is false, and a list without entries has no answer.
///
/// A question costs a search however long the list is and however its entries nest: for every
/// prefix that occurs in the list the lengths that it permits are worked out beforehand, with the
/// entries of all prefixes around it taken into account. Of an IPv4 list they are kept by address.
/// Immutable once made.
class PrefixListTrie final : public Routing::Policy::PrefixListMatcher {
public:
    /// A list without entries.
    explicit PrefixListTrie(AddressFamily family) : family_(family) {}
    /// The entries may come in any order; each must be of the family.
    PrefixListTrie(AddressFamily family, std::vector<PrefixListEntry> entries);

    AddressFamily af() const override { return family_; }
    TristateBoolean
    matchWithTristate(Routing::Policy::MatchInput_ const & input,
                      Ptr<Routing::Policy::PolicyEvalContext> const & context) const override;

    /// The answer for a candidate; nothing for a list without entries.
    std::optional<bool> match(IpGenPrefix const & candidate) const;

    bool empty() const { return trie_.size() == 0; }

private:
    void permit(std::span<PrefixListEntry const> bySeq, std::span<U32 const> byPrefix,
                std::span<U32 const> firstOfNode);
    void cutAddresses(std::span<IpGenPrefix const> prefixes);
    bool hasPiecesFor(IpGenPrefix const & candidate) const {
        return hasPieces_ && candidate.af() == AddressFamily::ipv4 && candidate.len() != 0;
    }
    bool permittedByPiece(IpGenPrefix const & candidate) const {
        U32 const bits = pieces_.bitsOf(candidate.addr().v4Value());
        return (bits >> (candidate.len() - 1U) & 1) != 0;
    }

    AddressFamily family_;
    bool hasPieces_ = false; ///< an IPv4 list with entries
    U32 wordsPerNode_ = 1;
    PrefixTrie trie_;
    std::vector<U64> permitted_; ///< per node a bit for every length of a candidate
    AddressPieces pieces_;       ///< of an IPv4 list: the same by address
};

} // namespace Qcf::Lists
