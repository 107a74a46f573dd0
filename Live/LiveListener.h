#pragma once

#include "Live/BmpPeer.h"

namespace Qcf::Live {

/// What an event is about.
struct Where {
    String router = {};
    IpGenAddr peer = {}; ///< none where it is about the router
    std::optional<Rib> rib = {};
    String vrf = {}; ///< of a peer in one: its name, else its distinguisher

    /// "edge1 192.0.2.1 in-pre", "edge1 192.0.2.1 (blue) in-pre".
    String text() const;
};

/// Is told what happens at routers. Called by the thread that reads, in the order of the stream.
class LiveListener {
public:
    LiveListener() = default;
    LiveListener(LiveListener const &) = delete;
    LiveListener & operator=(LiveListener const &) = delete;
    virtual ~LiveListener() = default;

    /// Something that people should know: one line without line end.
    virtual void note(Where const & where, String const & text) = 0;
    /// A peer came up, or went down for a reason as BMP numbers them.
    virtual void peer(Where const & where, bool isUp, U8 reason) = 0;
    /// A table is complete for a family.
    virtual void sync(Where const & where, AddressFamily family, U64 routes) = 0;
};

} // namespace Qcf::Live
