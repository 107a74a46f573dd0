#include "Live/StationLoop.h"

#include <algorithm>

#include <netinet/tcp.h>

namespace Qcf::Live {

namespace asio = boost::asio;
using asio::ip::tcp;

namespace {

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

} // namespace

void StationLoop::begin(tcp::socket socket, StationAddress const & remote, Target * target) {
    keepAlive(socket);
    auto const session =
        std::make_shared<Session>(std::move(socket), routers_, remote, settings_.recordings);
    session->target = target;
    sessions_.insert(session);
    read(session);
}

void StationLoop::read(SessionPtr const & session) {
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

void StationLoop::came(SessionPtr const & session, std::size_t size) {
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

void StationLoop::closeOlder(Session & newer) {
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

void StationLoop::ended(SessionPtr const & session, boost::system::error_code const & error) {
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

void StationLoop::close(Session & session, String const & why, bool inOrder) {
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
void StationLoop::disconnect(Session & session) {
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

} // namespace Qcf::Live
