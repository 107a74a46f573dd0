#pragma once

#include "Live/BmpPeer.h"
#include "Live/PolicyCounts.h"
#include "Live/RibTable.h"
#include "Live/TableForm.h"

#include <chrono>
#include <deque>
#include <memory>

/// What a station knows of a router's peers: plain records, which LiveRouter and TableFeed keep.
namespace Qcf::Live {

/// One table of a peer.
struct RibState {
    /// A message that came before the table's form was known.
    struct Waiting {
        std::vector<U8> update; ///< behind its BGP header
        TableForm::Needs needs;
        U64 offset; ///< in the stream
    };

    TableForm form;
    RibTable routes;
    std::deque<Waiting> waiting;
    std::size_t waitingBytes = 0;

    std::array<U64, 2> byFamily{}; ///< routes, those of IPv4 first
    // Where the table is evaluated:
    PolicyCounts shown; ///< what the policy makes of its routes
    /// While another one is to take its place: what that makes of them, and what it changes. Then
    /// an outcome on the other side is the other policy's; else it means nothing.
    bool hasNext = false;
    PolicyCounts next;
    ChangeCounts changes;
    U8 side = 0; ///< of its routes' outcomes the side that is shown
    /// So many of its first routes are to be evaluated anew, and count as they were until then.
    std::size_t toJudge = 0;

    U64 withLocalPref = 0; ///< routes that have LOCAL_PREF
    U64 announced = 0;     ///< prefixes, however often
    U64 withdrawn = 0;
    U64 withdrawnUnheld = 0; ///< of these, prefixes that were not in the table
    U64 damaged = 0;         ///< messages
    /// Of a table that is sent to an external peer: paths, and those that begin with the router's
    /// own AS, which it puts there when it sends them.
    U64 sentPaths = 0;
    U64 sentWithOwnAs = 0;

    /// By family, IPv4 first: the router said that all was sent.
    std::array<bool, 2> complete{};
    U64 stamp = 0; ///< of its last message, a number that no other message has
    std::chrono::milliseconds changedAt{0}; ///< when its last message came, by the feed's time
    bool stale = false;                     ///< the connection that sent it is gone
    bool isFiltered = false;                ///< the router says that it does not show all of it
    bool inexact = false; ///< a message was lost to damage since it was sent whole
    /// What has another one was sent before the connection was lost.
    U8 generation = 0;
    bool hasOwnAsInFront = false;
    bool idsTold = false;
    bool widthTold = false;

    RouteOutcome shownOf(RibRoute const & route) const { return route.outcome(side); }
    U8 otherSide() const { return side ^ 1U; }
    /// Another policy is to take the place of the one that is shown. No outcome may be there on the
    /// other side.
    void nextBegins();
    /// It has.
    void nextIsShown();
    /// Puts a route's outcomes into the counts, or takes them out.
    void count(RibRoute const & route);
    void uncount(RibRoute const & route);
};

/// A peer of a router, with its tables.
struct PeerState {
    PeerKey key;
    String router; ///< its name
    U32 as = 0;
    U32 bgpId = 0;
    bool isUp = false;
    /// Nobody said that it is up, but routes came.
    bool isAssumed = false;
    /// All that its connection has was sent, as far as one can know.
    bool isSettled = false;
    std::chrono::milliseconds changedAt{0}; ///< when it came up, by the feed's time
    PeerUp open;
    U32 vrfId = 0xffffff; ///< 16777215 outside any VRF
    std::array<std::unique_ptr<RibState>, ribs> tables;
    /// The Loc-RIB that is sent to it, which is a peer of its own; null for none.
    PeerState * loc = nullptr;
    /// Of a Loc-RIB: there are peers that show what is sent to them.
    bool isSentOn = false;

    /// Routes before policy, and those whose path begins with the router's own AS and the peer's.
    U64 pathsSeen = 0;
    U64 pathsWithOwnAs = 0;
    bool hasOwnAsInFront = false;

    U32 ownAs() const { return open.sent.as; }
    bool isExternal() const { return ownAs() != 0 && ownAs() != as; }
    bool isLocRib() const { return key.type == PeerHeader::locRibType; }
    RibState * table(Rib rib) const { return tables[static_cast<U8>(rib)].get(); }
    /// The table that this peer's are compared with: the Loc-RIB stands for all.
    RibState * comparedTable(Rib rib) const {
        return rib == Rib::loc && loc != nullptr ? loc->table(rib) : table(rib);
    }
    /// Whether the router's own AS is taken off the paths of that table.
    bool takesOwnAsOff(Rib rib) const {
        bool const isSent = isOut(rib);
        return isSent ? table(rib) != nullptr && table(rib)->hasOwnAsInFront
                      : hasOwnAsInFront && rib != Rib::loc;
    }
    /// Name or distinguisher of its VRF; empty outside any.
    String vrf() const {
        bool const isIn = !open.tableName.empty() || key.distinguisher != 0;
        return !isIn                     ? String()
               : !open.tableName.empty() ? open.tableName
                                         : distinguisherText(key.distinguisher);
    }
};

} // namespace Qcf::Live
