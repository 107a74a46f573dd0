#pragma once

#include "Lists/AddressPieces.h"
#include "Lists/ListAction.h"
#include "Lists/ListExplanation.h"
#include "Lists/PrefixTrie.h"
#include "Platform/Routing/Policy.h"

#include <optional>

namespace Qcf::Lists {

/// One entry of a prefix list: it matches what lies in its prefix and has a length in its range.
/// The plain form "this prefix and nothing else" has both lengths equal to the prefix's own.
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
///
/// As the engine asks it, the answer of a list without entries is "unset".
///
///     PrefixListTrie const list(AddressFamily::ipv4, entries);
///     list.match(IpGenPrefix::parse("10.1.0.0/16").value()); // true, false, or nothing
class PrefixListTrie final : public Routing::Policy::PrefixListMatcher {
public:
    /// A list without entries.
    explicit PrefixListTrie(AddressFamily family) : family_(family) {}
    /// The entries may come in any order; each must be of the family, with lengths that fit it:
    /// readers of documents see to that.
    PrefixListTrie(AddressFamily family, std::vector<PrefixListEntry> entries);

    /// The family that every candidate must have to be matched.
    AddressFamily af() const override { return family_; }
    TristateBoolean
    /// The answer as the engine wants it; the context is not looked at.
    matchWithTristate(Routing::Policy::MatchInput_ const & input,
                      Ptr<Routing::Policy::PolicyEvalContext> const & context) const override;

    /// The answer for a candidate; nothing for a list without entries. A candidate of the other
    /// family is not matched by any entry.
    std::optional<bool> match(IpGenPrefix const & candidate) const;

    /// The same answer with the entry that gives it, or what the nearest one wants.
    ListExplanation explain(IpGenPrefix const & candidate) const;

    /// Whether the list has no entries, and so no answers.
    bool empty() const { return trie_.size() == 0; }

private:
    /// What an entry says beside its prefix. Answers need none of it, explanations do.
    struct Lengths {
        U32 seq;
        U8 least;
        U8 most;
        bool permits;
    };
    /// The entries of a node's prefix, by sequence.
    std::span<Lengths const> entriesAt(U32 node) const {
        return std::span(entries_).subspan(firstOfNode_[node],
                                           firstOfNode_[node + 1] - firstOfNode_[node]);
    }

    /// Works out what each prefix of the list permits, around it taken into account.
    void permit(std::span<PrefixListEntry const> bySeq, std::span<U32 const> byPrefix);
    /// Makes the pieces of an IPv4 list from that.
    void cutAddresses(std::span<IpGenPrefix const> prefixes);
    /// Whether the question can be answered by address alone.
    bool hasPiecesFor(IpGenPrefix const & candidate) const {
        return hasPieces_ && candidate.af() == AddressFamily::ipv4 && candidate.len() != 0;
    }
    /// The answer by address alone; a candidate of length 0 has no bit in a piece.
    bool permittedByPiece(IpGenPrefix const & candidate) const {
        U32 const bits = pieces_.bitsOf(candidate.addr().v4Value());
        return (bits >> (candidate.len() - 1U) & 1) != 0;
    }

    AddressFamily family_;
    bool hasPieces_ = false; ///< an IPv4 list with entries
    /// Words of `permitted_` that a node has: one for IPv4, more for IPv6.
    U32 wordsPerNode_ = 1;
    PrefixTrie trie_;
    std::vector<U64> permitted_;   ///< per node a bit for every length of a candidate
    AddressPieces pieces_;         ///< of an IPv4 list: the same by address
    std::vector<Lengths> entries_; ///< by node
    std::vector<U32> firstOfNode_; ///< in entries_, with one more at the end
};

} // namespace Qcf::Lists
