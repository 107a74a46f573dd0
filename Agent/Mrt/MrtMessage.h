#pragma once

#include "Agent/Mrt/MrtSession.h"
#include "Agent/Routes/RouteReader.h"

namespace Qcf::Agent {

/// The announcements of one BGP message: a record of BGP4MP, BGP4MP_ET or the old type BGP. Points
/// into the record that it was given last.
///
///     message.startBgp4mp(subtype, body, statistics);
///     while (message.next(route)) {
///         ...
///     }
///
/// Prefixes stand in up to two places of a message, the NLRI of IPv4 unicast and MP_REACH_NLRI, in
/// this order. All have the attributes of the message and differ in prefix and next hop.
class MrtMessage {
public:
    /// Takes a record, past the microseconds where it has them. Counts withdrawals, families that
    /// are not read and records that are no UPDATE in `statistics`. Throws Damage when anything of
    /// the message cannot be read, and then counts nothing and has no routes.
    void startBgp4mp(U16 subtype, ByteCursor body, ReadStatistics & statistics);
    /// The same for the old type: sessions of IPv4, and AS numbers of two bytes.
    void startBgp(U16 subtype, ByteCursor body, ReadStatistics & statistics);

    /// The next announced prefix with the attributes of the message; false when there is none
    /// left.
    bool next(Route & route);

private:
    void start(std::optional<MrtSession> const & session, ReadStatistics & statistics);
    /// Decodes an UPDATE and counts what it withdraws and what is not read.
    void readUpdate(ByteCursor body, UpdateForm form, ReadStatistics & statistics);

    /// Kept from message to message for its storage.
    BgpUpdate update_;
    Route shared_; ///< what all prefixes of the message have in common
};

} // namespace Qcf::Agent
