#pragma once

#include "Platform/Framework/Types.h"

namespace Qcf::Agent {

/// Facts of the BGP session that a route is processed in. They are no attributes: functions cannot
/// change them, and ask for them by operations of the context, not by name.
///
/// A route carries them because readers find them beside it: JSON lines have them in `session`, a
/// routing table leaves them as they are here. Copied with the route; a plain value.
///
///     route.session.outbound = true;
///     route.session.localAs = 65000;
struct Session {
    bool outbound = false; ///< the route is about to be sent, not received
    /// The AS of this speaker; 0 where nobody said.
    U32 localAs = 0;
    bool peerConfed = false; ///< the peer is in the same confederation
    U32 vrfId = 0xffffff;    ///< 16777215 outside any VRF
};

} // namespace Qcf::Agent
