#pragma once

#include "Live/Nuisance.h"
#include "Live/RouterStream.h"
#include "Live/StationSettings.h"
#include "Live/StationTask.h"

#include <set>

#include <boost/asio.hpp>

/// What a station is made of within; only its own sources include this.
namespace Qcf::Live {

/// The sockets of a station and the loop over them: how connections come about is in
/// StationMeeting.cpp, what comes over them in StationSessions.cpp, the rest in StationLoop.cpp.
class StationLoop {
public:
    using End = StationEnd;
    using tcp = boost::asio::ip::tcp;
    using milliseconds = std::chrono::milliseconds;
    using Clock = std::chrono::steady_clock;

    StationLoop(RouterSet & routers, StationSettings settings);
    ~StationLoop();

    std::vector<StationAddress> const & listening() const { return listening_; }
    void add(StationTask & task) { tasks_.push_back(&task); }
    End run(std::function<bool()> const & goesOn);

private:
    static constexpr milliseconds firstRetry{500};
    static constexpr milliseconds lastRetry{30'000};

    /// A router that is connected to, and connected to again.
    struct Target {
        Target(boost::asio::io_context & io, StationAddress to) : at(to), timer(io) {}
        StationAddress at;
        boost::asio::steady_timer timer;
        milliseconds delay = firstRetry;
        bool isTold = false;  ///< that it cannot be reached
        bool isHeard = false; ///< it has sent a message
    };
    /// A connection. Handlers of its socket hold it.
    struct Session {
        Session(tcp::socket from, RouterSet & routers, StationAddress const & remote,
                String const & recordings)
            : socket(std::move(from)),
              name(remote.text()),
              stream(routers, remote.address.toString(), recordings) {}
        tcp::socket socket;
        String name;
        RouterStream stream;
        Target * target = nullptr; ///< null where the router came by itself
        bool isOpen = true;
    };
    using SessionPtr = std::shared_ptr<Session>;

    void listen(StationAddress const & at);
    void accept(tcp::acceptor & acceptor);
    void accepted(tcp::socket socket);
    bool isAllowed(IpGenAddr const & address) const;
    void connect(Target & target);
    void connectLater(Target & target);
    void begin(tcp::socket socket, StationAddress const & remote, Target * target);
    void read(SessionPtr const & session);
    void came(SessionPtr const & session, std::size_t size);
    /// Of two connections of one router the newer one counts.
    void closeOlder(Session & newer);
    void ended(SessionPtr const & session, boost::system::error_code const & error);
    void close(Session & session, String const & why, bool inOrder);
    void disconnect(Session & session);

    void armTick();
    void tick();
    void closeSlow();
    void resync();
    /// Whether `once` is fulfilled; says in `end_` how.
    bool isDone();
    bool stepTasks();
    void nowIs();
    milliseconds now() const { return routers_.now(); }
    void note(Where const & where, String const & text) { routers_.listener().note(where, text); }

    RouterSet & routers_;
    StationSettings settings_;
    Clock::time_point const beginning_ = Clock::now();
    boost::asio::io_context io_{1};
    boost::asio::steady_timer ticker_{io_};
    std::vector<tcp::acceptor> acceptors_;
    std::vector<StationAddress> listening_;
    std::vector<std::unique_ptr<Target>> targets_;
    std::set<SessionPtr> sessions_;
    std::vector<StationTask *> tasks_;
    std::set<String> resynced_; ///< routers that were closed once already
    std::size_t nextTask_ = 0;
    bool ticked_ = false;
    bool isEnding_ = false;
    End end_ = End::asked;
    Nuisance refused_{"is not allowed to connect: closed"};
    Nuisance crowded_{"finds all connections in use: closed"};
    Nuisance failed_{"cannot be accepted"};
};

} // namespace Qcf::Live
