#include "Live/Station.h"

#include "Live/RouterStream.h"

#include <algorithm>
#include <set>

#include <boost/asio.hpp>
#include <netinet/tcp.h>

namespace Qcf::Live {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds tickTime{100};
constexpr milliseconds lineTime{60'000}; ///< between two lines about the same nuisance
constexpr milliseconds firstRetry{500};
constexpr milliseconds lastRetry{30'000};
/// Reads between two looks at whether the tasks have something to do.
constexpr int readsInARow = 16;

IpGenAddr addressOf(asio::ip::address const & address) {
    return unmapped(address.is_v4() ? IpGenAddr::v4(address.to_v4().to_uint())
                                    : IpGenAddr::v6(address.to_v6().to_bytes()));
}

tcp::endpoint endpointOf(StationAddress const & at) {
    if (at.address.af() == AddressFamily::ipv4) {
        return {asio::ip::address_v4(at.address.v4Value()), at.port};
    }
    asio::ip::address_v6::bytes_type bytes;
    std::copy_n(at.address.bytes(), bytes.size(), bytes.begin());
    return {asio::ip::address_v6(bytes), at.port};
}

StationAddress stationAddress(tcp::endpoint const & endpoint) {
    return {addressOf(endpoint.address()), endpoint.port()};
}

/// BMP says nothing for hours where nothing changes: only TCP finds out that a router has gone.
void keepAlive(tcp::socket & socket) {
    boost::system::error_code ignored; // a connection without it is better than none
    socket.set_option(asio::socket_base::keep_alive(true), ignored);
    using Idle = asio::detail::socket_option::integer<IPPROTO_TCP, TCP_KEEPIDLE>;
    using Interval = asio::detail::socket_option::integer<IPPROTO_TCP, TCP_KEEPINTVL>;
    using Count = asio::detail::socket_option::integer<IPPROTO_TCP, TCP_KEEPCNT>;
    socket.set_option(Idle(60), ignored);
    socket.set_option(Interval(10), ignored);
    socket.set_option(Count(6), ignored);
}

/// A line about something that others may make happen as often as they like: told at once, and then
/// once a minute with how often it was.
class Nuisance {
public:
    explicit Nuisance(String what) : what_(std::move(what)) {}

    void happened(String const & who, milliseconds now, LiveListener & listener) {
        ++count_;
        who_ = who;
        tell(now, listener);
    }
    void tell(milliseconds now, LiveListener & listener) {
        if (count_ == 0 || (toldAt_ && now - *toldAt_ < lineTime)) {
            return;
        }
        String const times = count_ > 1 ? ", the last of " + std::to_string(count_) : String();
        listener.note({}, who_ + ' ' + what_ + times);
        toldAt_ = now;
        count_ = 0;
    }

private:
    String what_;
    String who_;
    U64 count_ = 0;
    std::optional<milliseconds> toldAt_;
};

} // namespace

/// The sockets of a station. Its own class, so that nobody else sees what they are made of.
class Station::Loop {
public:
    Loop(RouterSet & routers, StationSettings settings);
    ~Loop();

    std::vector<StationAddress> const & listening() const { return listening_; }
    void add(StationTask & task) { tasks_.push_back(&task); }
    End run(std::function<bool()> const & goesOn);

private:
    /// A router that is connected to, and connected to again.
    struct Target {
        Target(asio::io_context & io, StationAddress to) : at(to), timer(io) {}
        StationAddress at;
        asio::steady_timer timer;
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
    asio::io_context io_{1};
    asio::steady_timer ticker_{io_};
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

Station::Loop::Loop(RouterSet & routers, StationSettings settings)
    : routers_(routers), settings_(std::move(settings)) {
    acceptors_.reserve(settings_.listen.size());
    for (StationAddress const & at : settings_.listen) {
        listen(at);
    }
    for (auto & acceptor : acceptors_) {
        accept(acceptor);
    }
    for (StationAddress const & at : settings_.connect) {
        targets_.push_back(std::make_unique<Target>(io_, at));
        connect(*targets_.back());
    }
}

Station::Loop::~Loop() {
    // Sessions hold themselves by their handlers, which go with the context.
    for (SessionPtr const & session : sessions_) {
        session->stream.flush();
    }
}

void Station::Loop::listen(StationAddress const & at) {
    boost::system::error_code error;
    tcp::endpoint const endpoint = endpointOf(at);
    auto & acceptor = acceptors_.emplace_back(io_);
    auto const orThrow = [&] {
        if (error) {
            throw std::runtime_error("cannot listen at " + at.text() + ": " + error.message());
        }
    };
    acceptor.open(endpoint.protocol(), error);
    orThrow();
    acceptor.set_option(asio::socket_base::reuse_address(true), error);
    acceptor.bind(endpoint, error);
    orThrow();
    acceptor.listen(asio::socket_base::max_listen_connections, error);
    orThrow();
    listening_.push_back(stationAddress(acceptor.local_endpoint()));
}

void Station::Loop::accept(tcp::acceptor & acceptor) {
    acceptor.async_accept([&](boost::system::error_code const & error, tcp::socket socket) {
        nowIs();
        if (!error) {
            accepted(std::move(socket));
            accept(acceptor);
            return;
        }
        // With no file descriptor left it would fail again at once.
        failed_.happened("a connection", now(), routers_.listener());
        auto const timer = std::make_shared<asio::steady_timer>(io_, firstRetry);
        timer->async_wait([this, timer, &acceptor](auto const &) { accept(acceptor); });
    });
}

void Station::Loop::accepted(tcp::socket socket) {
    boost::system::error_code error;
    StationAddress const remote = stationAddress(socket.remote_endpoint(error));
    if (error) {
        return; // gone already
    }
    if (!isAllowed(remote.address)) {
        refused_.happened(remote.address.toString(), now(), routers_.listener());
    } else if (sessions_.size() >= mostConnections) {
        crowded_.happened(remote.address.toString(), now(), routers_.listener());
    } else {
        begin(std::move(socket), remote, nullptr);
    }
}

bool Station::Loop::isAllowed(IpGenAddr const & address) const {
    if (settings_.allowed.empty()) {
        return StationAddress{address}.isLocal();
    }
    return std::ranges::any_of(
        settings_.allowed, [&](IpGenPrefix const & prefix) { return prefix.contains(address); });
}

void Station::Loop::connect(Target & target) {
    if (sessions_.size() >= mostConnections) {
        connectLater(target);
        return;
    }
    auto const socket = std::make_shared<tcp::socket>(io_);
    socket->async_connect(endpointOf(target.at), [this, socket, &target](auto const & error) {
        nowIs();
        if (!error) {
            target.isTold = false;
            begin(std::move(*socket), target.at, &target);
            return;
        }
        if (!std::exchange(target.isTold, true)) {
            note({}, target.at.text() + " cannot be reached, tries on: " + error.message());
        }
        connectLater(target);
    });
}

void Station::Loop::connectLater(Target & target) {
    target.timer.expires_after(target.delay);
    target.delay = std::min(2 * target.delay, lastRetry);
    target.timer.async_wait([this, &target](auto const & error) {
        if (!error) {
            connect(target);
        }
    });
}

void Station::Loop::begin(tcp::socket socket, StationAddress const & remote, Target * target) {
    keepAlive(socket);
    auto const session =
        std::make_shared<Session>(std::move(socket), routers_, remote, settings_.recordings);
    session->target = target;
    sessions_.insert(session);
    read(session);
}

void Station::Loop::read(SessionPtr const & session) {
    std::span<U8> const room = session->stream.room();
    session->socket.async_read_some(asio::buffer(room.data(), room.size()),
                                    [this, session](auto const & error, std::size_t size) {
                                        if (!session->isOpen) {
                                            return;
                                        }
                                        nowIs();
                                        if (error) {
                                            ended(session, error);
                                        } else {
                                            came(session, size);
                                        }
                                    });
}

void Station::Loop::came(SessionPtr const & session, std::size_t size) {
    bool const isFirst = session->stream.router() == nullptr;
    try {
        session->stream.came(size);
        if (isFirst && session->stream.router() != nullptr) {
            closeOlder(*session);
            if (session->target != nullptr) {
                session->target->isHeard = true;
            }
        }
        read(session);
    } catch (Damage const & damage) {
        closeOlder(*session);
        close(*session, String(damage.subject()) + ' ' + damage.problem(), false);
    } catch (LimitReached const & limit) {
        closeOlder(*session);
        LiveRouter * const router = session->stream.router();
        close(*session, limit.what(), false);
        // What it has would keep other routers from having theirs.
        if (router != nullptr) {
            routers_.forget(String(router->name()));
        }
    }
}

void Station::Loop::closeOlder(Session & newer) {
    LiveRouter * const router = newer.stream.router();
    auto const older = std::ranges::find_if(sessions_, [&](SessionPtr const & session) {
        return session.get() != &newer && router != nullptr && session->stream.router() == router;
    });
    if (older != sessions_.end()) {
        auto const taken = sessions_.extract(older);
        Session & session = *taken.value();
        note({router->name()}, session.name + " closed: the router has connected anew");
        disconnect(session);
    }
}

void Station::Loop::ended(SessionPtr const & session, boost::system::error_code const & error) {
    LiveRouter * const router = session->stream.router();
    if (settings_.once && router != nullptr) {
        // Between two ticks it may have sent its last.
        router->timePasses();
        if (isDone()) {
            isEnding_ = true;
            return;
        }
    }
    bool const isWhole = !session->stream.waitsSince();
    String why = error == asio::error::eof ? "closed by the router" : error.message();
    why += isWhole ? "" : ", within a message";
    close(*session, why, isWhole);
}

void Station::Loop::close(Session & session, String const & why, bool inOrder) {
    LiveRouter * const router = session.stream.router();
    if (router != nullptr) {
        session.stream.ended(inOrder);
        note({router->name()},
             session.name + " at offset " + std::to_string(session.stream.offset()) + ": " + why);
    } else {
        note({}, session.name + " at offset 0, before any message: " + why);
    }
    disconnect(session);
}

/// Takes the connection out, whoever holds it; its router may have another one.
void Station::Loop::disconnect(Session & session) {
    session.stream.flush();
    session.isOpen = false;
    boost::system::error_code ignored;
    session.socket.close(ignored);
    if (session.target != nullptr) {
        session.target->delay = session.stream.offset() > 0 ? firstRetry : session.target->delay;
        connectLater(*session.target);
    }
    std::erase_if(sessions_, [&](SessionPtr const & one) { return one.get() == &session; });
}

void Station::Loop::nowIs() {
    routers_.nowIs(std::chrono::duration_cast<milliseconds>(Clock::now() - beginning_));
}

void Station::Loop::armTick() {
    ticker_.expires_after(tickTime);
    ticker_.async_wait([this](auto const & error) {
        if (!error) {
            nowIs();
            tick();
            ticked_ = true;
            armTick();
        }
    });
}

void Station::Loop::tick() {
    closeSlow();
    std::vector<String> gone;
    for (auto & [name, router] : routers_.all()) {
        router.timePasses();
        if (!router.isConnected() && now() - router.changedAt() >= settings_.keep) {
            gone.push_back(name);
        }
    }
    for (String const & name : gone) {
        note({name}, "its tables are given up: it has not come back");
        routers_.forget(name);
    }
    resync();
    for (Nuisance * const nuisance : {&refused_, &crowded_, &failed_}) {
        nuisance->tell(now(), routers_.listener());
    }
}

void Station::Loop::closeSlow() {
    std::vector<SessionPtr> const sessions(sessions_.begin(), sessions_.end());
    for (SessionPtr const & session : sessions) {
        session->stream.flush();
        auto const since = session->stream.waitsSince();
        if (since && now() - *since >= settings_.messageTime) {
            close(*session, "a message does not come to its end", false);
        }
    }
}

void Station::Loop::resync() {
    if (!settings_.resync) {
        return;
    }
    std::vector<SessionPtr> const sessions(sessions_.begin(), sessions_.end());
    for (SessionPtr const & session : sessions) {
        LiveRouter * const router = session->stream.router();
        if (router != nullptr && router->settledAt() && resynced_.insert(router->name()).second) {
            close(*session, "closed, so that the router sends everything again", true);
        }
    }
}

bool Station::Loop::isDone() {
    if (!settings_.once || routers_.all().empty() ||
        !std::ranges::all_of(targets_, [](auto const & target) { return target->isHeard; })) {
        return false;
    }
    bool isWhole = true;
    for (auto & [name, router] : routers_.all()) {
        // Of a router that was made to connect anew, the next connection is waited for.
        bool const isAwaited =
            settings_.resync && (!resynced_.contains(name) || !router.isConnected());
        bool const isPending = router.isConnected()
                                   ? !router.settledAt()
                                   : now() - router.changedAt() < routers_.settings().settle;
        if (isAwaited || isPending) {
            return false;
        }
        isWhole = isWhole && router.isConnected();
    }
    end_ = isWhole ? End::settled : End::incomplete;
    return true;
}

bool Station::Loop::stepTasks() {
    bool hasMore = false;
    auto const deadline = Clock::now() + slice;
    for (std::size_t i = 0; i < tasks_.size() && Clock::now() < deadline; ++i) {
        nextTask_ = (nextTask_ + 1) % tasks_.size();
        hasMore = tasks_[nextTask_]->step(deadline) || hasMore;
    }
    return hasMore;
}

Station::End Station::Loop::run(std::function<bool()> const & goesOn) {
    nowIs();
    armTick();
    for (bool hasWork = false;;) {
        if (std::exchange(ticked_, false)) {
            if (!goesOn()) {
                return End::asked;
            }
            isEnding_ = isEnding_ || isDone();
            hasWork = true;
        }
        if (isEnding_) {
            return end_;
        }
        hasWork = hasWork && stepTasks();
        int reads = 0;
        while (reads < readsInARow && io_.poll_one() > 0) {
            ++reads;
        }
        if (reads == 0 && !hasWork) {
            io_.run_one();
        }
    }
}

Station::Station(RouterSet & routers, StationSettings settings)
    : loop_(std::make_unique<Loop>(routers, std::move(settings))) {}

Station::~Station() = default;

std::vector<StationAddress> const & Station::listening() const { return loop_->listening(); }

void Station::add(StationTask & task) { loop_->add(task); }

Station::End Station::run(std::function<bool()> const & goesOn) { return loop_->run(goesOn); }

} // namespace Qcf::Live
