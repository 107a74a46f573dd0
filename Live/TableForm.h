#pragma once

#include "Live/BmpPeer.h"

namespace Qcf::Live {

/// Finds out in which form the UPDATEs of one table are: whether path identifiers stand before
/// prefixes, and how wide AS numbers are. Routers often send another form than they say, and a
/// message may be read in either; so the first messages of a table vote, and the majority decides.
///
///     TableForm form(peerUp.declaredForm(rib, false), false);
///     auto const needs = form.vote(update, as2);
///     if (form.isDecided(needs)) { use form.form(as2); } else { keep the message and ask later }
///
/// A message votes for the form in which alone it can be read. What is decided stays so: a message
/// that cannot be read then is damaged. Belongs to one thread.
class TableForm {
public:
    /// Votes that decide.
    static constexpr U32 enough = 16;

    /// What a message needs to be known of the form, before it can be read.
    struct Needs {
        bool ids = false;   ///< it has prefixes
        bool width = false; ///< it has an AS_PATH
        bool as2 = false;   ///< what the message itself says of its AS numbers
    };

    TableForm() = default;
    /// `declared` is what the OPENs say; of widths each message has its own say. With `trusted` all
    /// is as it was declared.
    TableForm(Agent::UpdateForm declared, bool trusted);

    /// Takes the vote of an UPDATE behind its BGP header, as long as something is open. Throws
    /// Damage where the message cannot be taken apart.
    Needs vote(ByteCursor update, bool as2);
    bool isDecided(Needs const & needs) const;
    /// Ends the vote: what is open is decided by the votes there are.
    void close();

    /// How to read a message that says so of its AS numbers.
    Agent::UpdateForm form(bool as2) const;
    /// Whether path identifiers are not as the OPENs say.
    bool idsAgainst() const { return idsKnown_ && ids_ != declaredIds_; }
    /// Whether the identifiers that the OPENs promise are missing for some family.
    bool lacksIds() const;
    bool declaresIds() const { return declaredIds_[0] || declaredIds_[1]; }
    /// Whether AS numbers are not as wide as the messages of this kind say.
    bool widthAgainst(bool as2) const { return widthKnown_[as2] && as4_[as2] == as2; }

private:
    using ByFamily = std::array<bool, 2>; ///< IPv4 first
    struct Tally {
        U32 no = 0;
        U32 yes = 0;
        U32 all() const { return no + yes; }
        bool majority(bool otherwise) const { return no == yes ? otherwise : yes > no; }
    };

    void voteIds(std::size_t family, std::span<ByteCursor const> places);
    void decideIds();

    ByFamily declaredIds_{};
    ByFamily ids_{};
    std::array<Tally, 2> idVotes_{};
    bool idsKnown_ = false;
    /// By what messages say: four bytes first.
    std::array<Tally, 2> widthVotes_{}; ///< yes is for four bytes
    std::array<bool, 2> as4_{true, false};
    std::array<bool, 2> widthKnown_{};
};

} // namespace Qcf::Live
