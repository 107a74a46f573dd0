#pragma once

#include "Agent/Mrt/MrtTable.h"

#include <iosfwd>
#include <vector>

namespace Qcf::Agent {

/// Writes routes as an MRT table (TABLE_DUMP_V2, unicast), which reads back to the same routes.
///
///     MrtWriter writer(out, peers, time);
///     for (Route const & route : routes) {
///         writer.add(route);
///     }
///     writer.finish();
///
/// Consecutive routes with one prefix share a record. Of a route are written: prefix, next hop, AS
/// path, origin, med, local preference, the community kinds and the AIGP metric; attributes that
/// have their default value are left out. The state of `out` is for the caller to check.
class MrtWriter {
public:
    /// Writes the peer index table. `peers` are at most 65,535; `time` is in seconds since 1970.
    MrtWriter(std::ostream & out, std::vector<MrtPeer> peers, U32 time);

    /// The session (remote AS and address) of `route` must be one of the peers. Throws
    /// FileError for a route that the format cannot hold.
    void add(Route const & route);

    /// Writes what was held back to share a record; to be called once, after the last route.
    void finish();

private:
    /// The first record, to which all others refer.
    void writePeers();
    /// Writes the header and the body.
    void writeRecord(U16 subtype, String const & body);
    /// Where the route's session stands among the peers.
    U16 peerIndex(Route const & route) const;

    std::ostream & out_;
    std::vector<MrtPeer> peers_;
    U32 time_;
    /// Number of the next record of a prefix.
    U32 sequence_ = 0;
    IpGenPrefix prefix_;
    String entries_; ///< of `prefix_`, not written yet
    U16 entryCount_ = 0;
    /// Of the route that is being added; kept for its storage.
    String attributes_;
};

} // namespace Qcf::Agent
