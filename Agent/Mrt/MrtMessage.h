#pragma once

#include "Agent/Mrt/PathAttributes.h"
#include "Agent/Routes/RouteReader.h"

#include <array>

namespace Qcf::Agent {

/// The announcements of one BGP message: a record of BGP4MP, BGP4MP_ET or the old type BGP.
/// Points into the record that it was given last.
class MrtMessage {
public:
    /// Takes a record, past the microseconds where it has them. Counts withdrawals, families that
    /// are not read and records that are no UPDATE in `statistics`. Throws Damage when anything of
    /// the message cannot be read, and then counts nothing and has no routes.
    void startBgp4mp(U16 subtype, ByteCursor body, ReadStatistics & statistics);
    void startBgp(U16 subtype, ByteCursor body, ReadStatistics & statistics);

    /// The next announced prefix with the attributes of the message; false when there is none
    /// left.
    bool next(Route & route);

private:
    struct Announced {
        AddressFamily family = AddressFamily::none;
        IpGenAddr nextHop;
        ByteCursor nlri;
    };

    void readUpdate(ByteCursor body, bool as4, ReadStatistics & statistics);

    PathAttributes attributes_;
    Route shared_; ///< what all prefixes of the message have in common
    std::array<Announced, 2> announced_;
    bool addPath_ = false;
};

} // namespace Qcf::Agent
