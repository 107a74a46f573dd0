#pragma once

#include "Live/StationAddress.h"
#include "Platform/Routing/IpPrefix.h"

#include <chrono>
#include <vector>

namespace Qcf::Live {

/// How a station meets its routers.
struct StationSettings {
    std::vector<StationAddress> listen;  ///< routers connect to these
    std::vector<StationAddress> connect; ///< routers that are connected to, again and again
    /// Who may connect; empty for this machine alone.
    std::vector<IpGenPrefix> allowed;
    /// How long the tables of a router stay that is away.
    std::chrono::milliseconds keep{300'000};
    /// How long a message may take from its first byte to its last.
    std::chrono::milliseconds messageTime{60'000};
    bool once = false;   ///< end as soon as the tables of all routers have settled
    bool resync = false; ///< close each router's connection once, so that it sends all anew
    String recordings;   ///< folder where connections are kept as they come; empty for none

    static constexpr std::size_t mostConnections = 64;
    /// For how long reading may stop at most for the tasks.
    static constexpr std::chrono::milliseconds slice{5};
};

/// How running a station ended.
enum class StationEnd {
    asked,
    settled,    ///< with `once`: all tables have settled
    incomplete, ///< with `once`: a router has gone before its tables had settled
};

} // namespace Qcf::Live
