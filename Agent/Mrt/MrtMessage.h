#pragma once

#include "Agent/Mrt/PathAttributes.h"
#include "Agent/Routes/RouteReader.h"

#include <array>

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
    /// The prefixes of one place.
    struct Announced {
        AddressFamily family = AddressFamily::none;
        IpGenAddr nextHop;
        /// What was not handed out yet.
        ByteCursor nlri;
    };

    /// Decodes attributes and places of an UPDATE; `as4` as the record's subtype says.
    void readUpdate(ByteCursor body, bool as4, ReadStatistics & statistics);

    /// Kept from message to message for its storage.
    PathAttributes attributes_;
    Route shared_; ///< what all prefixes of the message have in common
    std::array<Announced, 2> announced_;
    /// Whether a path identifier stands before each prefix.
    bool addPath_ = false;
};

} // namespace Qcf::Agent
