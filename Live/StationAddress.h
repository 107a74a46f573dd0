#pragma once

#include "Platform/Routing/IpAddr.h"

namespace Qcf::Live {

/// Where a station listens, or a router does: an address and a port of TCP.
struct StationAddress {
    IpGenAddr address;
    U16 port = 0; ///< 0 for any that is free, where it is listened on

    /// Whether none but this machine reaches it.
    bool isLocal() const;
    /// "192.0.2.1:11019", "[2001:db8::1]:11019".
    String text() const;

    /// Reads what `text` writes; nothing where it is no such.
    static std::optional<StationAddress> parse(std::string_view text);
};

/// The IPv4 address that an IPv6 one stands for, where it is mapped; else the address itself.
IpGenAddr unmapped(IpGenAddr const & address);

} // namespace Qcf::Live
