#pragma once

#include "Agent/Mrt/ByteCursor.h"
#include "Platform/Render/JsonDocument.h"
#include "Platform/Routing/IpAddr.h"

#include <chrono>
#include <vector>

namespace Qcf::Live {

/// A line of RIS Live: what a collector of that name received from a peer.
///
///     document.parseLine(line, number);
///     RisMessage const message = RisMessage::of(document.root());
///     for (auto const & update : message.updates) { ... }
struct RisMessage {
    enum class Kind : U8 {
        other, ///< it has no routes and changes none
        update,
        up, ///< the session with the peer
        down,
    };

    Kind kind = Kind::other;
    String host; ///< escaped and cut; empty where it is not said
    IpGenAddr peer;
    U32 peerAs = 0;
    std::chrono::microseconds time{0}; ///< since 1970; 0 where it is not said
    /// UPDATEs behind their BGP header. As they were received where the line has them; otherwise
    /// made of its members, with AS numbers of four bytes and without path identifiers.
    std::vector<std::vector<U8>> updates;
    bool isRaw = false; ///< as they were received

    /// Reads a message. What its members do not say stays out, such as large communities. Throws
    /// DocumentError where a member is not as it must be, and Damage for a message that was
    /// received so.
    static RisMessage of(JsonValue const & line);
};

} // namespace Qcf::Live
