#pragma once

#include "Live/RouterSet.h"
#include "Live/StationAddress.h"
#include "Live/StationTask.h"
#include "Platform/Routing/IpPrefix.h"

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
};

/// Hears routers: listens, connects, reads, and closes what breaks the rules. Never sends anything.
/// All happens on the thread that runs it: reading, and between reads its tasks, for at most 5 ms
/// each time. Connections beyond 64, and those of addresses that are not allowed, are closed at
/// once.
///
///     Station station(routers, settings);
///     station.add(task);
///     station.run([&] { return !stopIsAsked(); });
///
/// What happens to connections is told as notes of the routers' listener.
class Station {
public:
    static constexpr std::size_t mostConnections = 64;
    /// For how long reading may stop at most for the tasks.
    static constexpr std::chrono::milliseconds slice{5};

    /// How running ended.
    enum class End {
        asked,
        settled,    ///< with `once`: all tables have settled
        incomplete, ///< with `once`: a router has gone before its tables had settled
    };

    /// Listens from here on; throws std::runtime_error, one line, where that cannot be. The routers
    /// must outlive it.
    Station(RouterSet & routers, StationSettings settings);
    Station(Station const &) = delete;
    Station & operator=(Station const &) = delete;
    /// Closes all connections.
    ~Station();

    /// The addresses that it listens on, in the order of the settings, with the ports that they
    /// got.
    std::vector<StationAddress> const & listening() const;
    /// The task must outlive it. Tasks take turns.
    void add(StationTask & task);
    /// Runs until `goesOn`, which is asked ten times a second, answers no, or all is done.
    End run(std::function<bool()> const & goesOn);

private:
    class Loop;
    std::unique_ptr<Loop> loop_;
};

} // namespace Qcf::Live
