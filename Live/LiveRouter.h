#pragma once

#include "Agent/Routes/ReportLog.h"
#include "Live/TableFeed.h"

namespace Qcf::Live {

/// A router with its peers and their tables, as the messages of its connections say. One connection
/// follows the other; between them the tables stay, and are stale.
///
///     router.connected();
///     router.take(frame, offset); // frame after frame
///     router.settle();            // nothing comes for now
///     router.lost();
///
/// A collector's records are taken likewise: `collect` and `collectorSays`.
///
/// Damage within a message costs that message: it is counted, told with its offset, and its table
/// is inexact from then on. Belongs to one thread, as all that it was given.
class LiveRouter final : private MessageSource {
public:
    /// Peers that a router may have.
    static constexpr std::size_t mostPeers = 4096;

    LiveRouter(String name, LiveSettings const & settings, TableFeed & feed,
               LiveListener & listener);
    ~LiveRouter() override;

    /// A connection begins. Tables that are there hold until the router has sent them anew.
    void connected();
    /// Takes the next message; `offset` is its place in the stream. Throws LimitReached.
    void take(BmpFrame const & frame, U64 offset);
    /// A peer of which a collector keeps what it received.
    struct Collected {
        IpGenAddr address;
        U32 as = 0;
        U32 ownAs = 0; ///< the collector's; 0 where nobody said
    };
    /// Takes an UPDATE behind its BGP header, as a record has it. `form` is how the record says
    /// that it is written; without it that is found out. Throws LimitReached.
    void collect(Collected const & from, ByteCursor update,
                 std::optional<Agent::UpdateForm> const & form, U64 offset);
    /// A session came up, or went down. Throws LimitReached.
    void collectorSays(Collected const & of, bool isUp);
    /// A message could not be read; `what` names its kind, in a literal.
    void damageAt(U64 offset, Damage const & damage, char const * what);

    /// Nothing came for a while: what waited is decided, and what this connection did not send
    /// again goes. Tables may be compared then.
    void settle();
    /// Does the same by itself, as soon as each peer's tables are complete or nothing came for long
    /// enough; to be called some times a second.
    void timePasses();
    /// The connection is gone. Not `inOrder`: messages were lost.
    void lost(bool inOrder);

    String const & name() const { return name_; }
    /// What it says of itself; empty for nothing.
    String const & description() const { return description_; }
    bool isConnected() const { return connected_; }
    /// Since when all is settled, by the feed's time; nothing while something is not.
    std::optional<std::chrono::milliseconds> settledAt() const { return settledAt_; }
    /// When the connection was lost, or began where it stands.
    std::chrono::milliseconds changedAt() const { return changedAt_; }
    std::map<PeerKey, PeerState> & peers() { return peers_; }
    std::map<PeerKey, PeerState> const & peers() const { return peers_; }
    /// Messages by type, those that could not be read among them.
    std::array<U64, bmpTypes> const & messages() const { return messages_; }
    U64 damaged() const { return damaged_; }
    U64 bytes() const { return bytes_; }
    /// Pieces of information that are not known, and were passed over.
    U64 unknownTlvs() const { return unknownTlvs_; }

private:
    void read(BmpFrame const & frame, U64 offset);
    void monitor(ByteCursor body, U64 offset);
    void peerUp(ByteCursor body);
    void peerDown(ByteCursor body);
    void initiate(ByteCursor body);
    PeerState & peerOf(PeerHeader const & header);
    bool isKept(PeerKey const & key) const;
    bool isComplete(PeerState const & peer) const;
    /// Whether more of a peer's tables need not be waited for.
    bool isDue(PeerState const & peer) const;
    void settle(PeerState & peer);
    /// The peer of that key, made where there is none.
    PeerState & make(PeerKey const & key);
    RibState & tableOf(PeerState & peer, Rib rib);
    void findLocRibs();
    U32 vrfIdOf(PeerState const & peer) const;
    PeerState & collected(Collected const & from);
    void emptyTables(PeerState & peer);
    void damageIs(Damage const & damage, U64 offset, Where const & where) override;
    /// Counts it against the table that is read.
    void tableIsDamaged();

    String name_;
    LiveSettings const & settings_;
    TableFeed & feed_;
    LiveListener & listener_;
    Agent::ReportLog log_;
    String description_;
    std::map<PeerKey, PeerState> peers_;
    std::array<U64, bmpTypes> messages_{};
    U64 damaged_ = 0;
    U64 bytes_ = 0;
    U64 unknownTlvs_ = 0;
    bool connected_ = false;
    bool hasNews_ = false; ///< since it was looked whether all is settled
    std::chrono::milliseconds changedAt_{0};
    std::chrono::milliseconds messageAt_{0};
    std::optional<std::chrono::milliseconds> settledAt_;
    /// What the message is about that is read: its damage is told there.
    Where where_;
    RibState * table_ = nullptr;
};

} // namespace Qcf::Live
