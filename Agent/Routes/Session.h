#pragma once

#include "Platform/Framework/Types.h"

namespace Qcf::Agent {

/// Facts of the BGP session that a route is processed in.
struct Session {
    bool outbound = false; ///< the route is about to be sent, not received
    U32 localAs = 0;
    bool peerConfed = false; ///< the peer is in the same confederation
    U32 vrfId = 0xffffff;    ///< 16777215 outside any VRF
};

} // namespace Qcf::Agent
