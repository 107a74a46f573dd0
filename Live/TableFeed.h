#pragma once

#include "Live/AttributeBytes.h"
#include "Live/LiveListener.h"
#include "Live/RouteJudge.h"
#include "Live/RouteWatch.h"

#include <chrono>

namespace Qcf::Live {

/// What is wanted of a station, whatever routers it hears.
struct LiveSettings {
    Rib rib = Rib::inPre;      ///< evaluated
    Rib against = Rib::inPost; ///< compared with that
    bool trustFlags = false;   ///< tables are in the form that was declared
    U64 maxRoutes = 20'000'000;
    /// Without any message for so long, what a connection sent is taken for all that it has; and a
    /// difference of a route that changed within that time is not told.
    std::chrono::milliseconds settle{5000};
    /// Peers whose routes are kept; empty for all.
    std::vector<IpGenAddr> keptPeers = {};
    std::map<String, U32> vrfs = {}; ///< by the names that routers give them
};

/// Thrown where a router would exceed a limit: `what` says which. What it sent before stands.
class LimitReached : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Where a message came from, and who is told when it turns out to be damaged.
class MessageSource {
public:
    MessageSource() = default;
    MessageSource(MessageSource const &) = delete;
    MessageSource & operator=(MessageSource const &) = delete;
    virtual ~MessageSource() = default;

    /// A message of that place in the stream cannot be read, which came before the one at hand.
    virtual void damageIs(Damage const & damage, U64 offset, Where const & where) = 0;
};

/// Puts UPDATEs into tables: finds out their form, keeps routes and evaluates them, and counts.
/// Serves all routers of a station, one thread.
///
///     feed.take(peer, update, as2, offset, {"edge1", peer.key.address, Rib::inPre}, source);
///
/// A damaged message changes nothing but the counts; it is told, with its place in the stream.
class TableFeed {
public:
    /// All must outlive it.
    TableFeed(LiveSettings const & settings, AttributeStore & store, RouteJudge & judge,
              LiveListener & listener)
        : settings_(settings), store_(store), judge_(judge), listener_(listener) {}

    /// How much time has passed since some beginning; never goes back. Stands still unless it is
    /// set, as it may for recordings.
    void nowIs(std::chrono::milliseconds now);
    std::chrono::milliseconds now() const { return now_; }
    /// What RibRoute::changed is for a route that changes now.
    U8 tick() const { return tick_; }
    /// Whether a route that changed in that tick did so less than `settle` ago. The same tick comes
    /// back after 60 times that long: who asks makes those 0 that are not young, more often.
    bool isYoung(U8 changed) const;
    /// Who is told which routes change; null for nobody.
    void watchIs(RouteWatch * watch) { watch_ = watch; }
    RouteWatch * watch() const { return watch_; }

    /// A table of that peer as it begins, by what its OPENs say.
    std::unique_ptr<RibState> makeTable(PeerState const & peer, Rib rib) const;

    /// Takes an UPDATE behind its BGP header for the table that `where` names. Throws Damage where
    /// it cannot be read, and LimitReached.
    void take(PeerState & peer, ByteCursor update, bool as2, U64 offset, Where const & where,
              MessageSource & source);
    /// The same for a message of which it is known how it is written.
    void takeIn(Agent::UpdateForm form, PeerState & peer, ByteCursor update, Where const & where);
    /// Decides what is open about the peer's tables by what came so far, because nothing more comes
    /// for now. Damage of what waited is counted and told.
    void settle(PeerState & peer, String const & router, MessageSource & source);
    /// Decides the form of a table by what came so far, where that was long ago.
    void decideForm(PeerState & peer, Where const & where, MessageSource & source);
    /// Whether tables that are to be evaluated anew are left to whoever calls `judgeSome`; else
    /// that is done at once.
    void judgesLaterIs(bool later) { judgesLater_ = later; }
    /// Some table has been left to it.
    bool hasToJudge() const { return hasToJudge_; }
    void nothingToJudge() { hasToJudge_ = false; }
    /// Evaluates some routes of a peer's table anew; answers whether more are left.
    bool judgeSome(PeerState & peer, RibState & table);
    /// Takes the table's routes out that were not sent again by this connection.
    void sweep(PeerState & peer, Rib rib, AddressFamily family);
    /// Takes all its routes out.
    void empty(RibState & table);
    /// Routes in all tables.
    U64 routes() const { return routes_; }

private:
    void apply(Agent::UpdateForm form, PeerState & peer, ByteCursor update, Where const & where);
    void checkLimits(RibState & table, Agent::UpdatePrefix const & key) const;
    void withdraw(PeerState & peer, Rib rib, Agent::UpdatePrefix const & key);
    void announce(PeerState & peer, Rib rib, PrefixPlace place, bool as4);
    /// Evaluates a route that does not count, and counts it.
    void judge(PeerState & peer, RibState & table, Rib rib, RibRoute & route);
    /// A message of the table came.
    void isChanged(RibState & table) {
        table.changedAt = now_;
        table.stamp = ++stamp_;
    }
    /// All routes of the table are to be evaluated anew.
    void judgeAll(PeerState & peer, RibState & table);
    void forget(RibState & table, RibRoute const & route);
    /// Something changed behind the policy, which a route before it is compared with.
    void noticeAfter(PeerState & peer, Rib rib, Agent::UpdatePrefix const & key);
    void drain(PeerState & peer, Where const & where, MessageSource & source);
    void tellForm(RibState & table, Where const & where, bool as2);
    void noticeOwnAs(PeerState & peer, bool as4);
    void decideOwnAs(PeerState & peer, String const & router);
    void decideSentAs(PeerState & peer, RibState & table, Where const & where);
    void complete(PeerState & peer, AddressFamily family, Where const & where);
    /// Tells that a route changed, if somebody wants to know.
    void tell(PeerState const & peer, Rib rib, Agent::UpdatePrefix const & key) {
        if (watch_ != nullptr) {
            watch_->changes(peer, rib, key);
        }
    }

    LiveSettings const & settings_;
    AttributeStore & store_;
    RouteJudge & judge_;
    LiveListener & listener_;
    RouteWatch * watch_ = nullptr;
    bool judgesLater_ = false;
    bool hasToJudge_ = false;
    Agent::BgpUpdate update_;
    KeptAttributes kept_;
    U64 routes_ = 0;
    std::chrono::milliseconds now_{0};
    U8 tick_ = 1;
    U64 stamp_ = 0;
};

} // namespace Qcf::Live
