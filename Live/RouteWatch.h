#pragma once

#include "Live/PeerState.h"

namespace Qcf::Live {

/// Is told which routes come, change and go, by the thread that reads and while it changes the
/// tables: it notes the keys, and looks at the routes later.
class RouteWatch {
public:
    RouteWatch() = default;
    RouteWatch(RouteWatch const &) = delete;
    RouteWatch & operator=(RouteWatch const &) = delete;
    virtual ~RouteWatch() = default;

    /// A route of the peer's table came or went, has other attributes, or is evaluated anew. Not
    /// called for each route where a whole table goes.
    virtual void changes(PeerState const & peer, Rib rib, Agent::UpdatePrefix const & key) = 0;
    /// The tables that the peer has are all that it has for now.
    virtual void settled(PeerState const & peer) = 0;
    /// A router of that name is no more, nor are its peers.
    virtual void forgotten(String const & router) = 0;
};

} // namespace Qcf::Live
