#pragma once

#include "Live/RouterSet.h"
#include "Live/StationSettings.h"
#include "Live/StationTask.h"

namespace Qcf::Live {

class StationLoop;

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
    using End = StationEnd;

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
    std::unique_ptr<StationLoop> loop_;
};

} // namespace Qcf::Live
