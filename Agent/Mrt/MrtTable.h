#pragma once

#include "Agent/Mrt/PathAttributes.h"

#include <memory>
#include <utility>
#include <vector>

namespace Qcf::Agent {

/// The session that a route came over: the peer's address and AS.
struct MrtPeer {
    IpGenAddr address;
    U32 as = 0;
};

/// The peers of a PEER_INDEX_TABLE, by their index.
using MrtPeers = std::vector<MrtPeer>;

/// The entries of one record of a table, TABLE_DUMP or TABLE_DUMP_V2, and the peers they refer to.
/// Points into the record that it was given last.
class MrtTable {
public:
    /// Takes a PEER_INDEX_TABLE, which holds until the next one. Behind a damaged one no peer is
    /// known: those of the table before it may be others.
    void readPeers(ByteCursor body);
    /// The peers that hold, null before the first table of them and behind a damaged one.
    std::shared_ptr<MrtPeers const> const & peers() const { return peers_; }
    /// For reading apart from the file: the peers of the table that stands before; null for none.
    void peersIs(std::shared_ptr<MrtPeers const> peers) { peers_ = std::move(peers); }

    /// Takes a record of TABLE_DUMP_V2 that holds routes; false when they are of a family that is
    /// not read. Throws Damage when anything in a record of several entries cannot be read.
    bool startV2(U16 subtype, std::span<U8 const> body);

    /// Takes a record of TABLE_DUMP. Its only entry names its peer itself.
    void startV1(U16 subtype, ByteCursor body);

    /// The next entry; false when there is none left. Throws Damage for the only entry of a record
    /// when it cannot be read.
    ///
    /// Without a peer index table an entry is handed out with its peer unknown (AS 0, no address).
    bool next(Route & route);

private:
    /// The peer of an index; one without AS and address before the first table. Throws Damage for
    /// an index that the table lacks.
    MrtPeer const & peer(U16 index) const;
    /// Throws Damage unless every entry can be read: a record is handed out whole or not at all.
    void checkEntries();
    /// Takes an entry of the record, sets its peer's index and answers its attributes.
    std::span<U8 const> entryOfV2(ByteCursor & from, U16 & peerIndex) const;

    std::shared_ptr<MrtPeers const> peers_;
    /// The form of the current record: TABLE_DUMP_V2 or TABLE_DUMP.
    bool v2_ = false;
    bool addPath_ = false;
    /// Entries that were not handed out.
    U32 left_ = 0;
    IpGenPrefix prefix_;
    MrtPeer ownPeer_; ///< of a TABLE_DUMP record, which names its peer itself
    ByteCursor rest_; ///< entries, or the attributes of a TABLE_DUMP record
    /// Decodes all entries, one after the other.
    PathAttributes attributes_;
};

} // namespace Qcf::Agent
