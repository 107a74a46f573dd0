#include "Live/StationLoop.h"

#include <algorithm>

namespace Qcf::Live {

namespace asio = boost::asio;
using asio::ip::tcp;

namespace {

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

} // namespace

void StationLoop::listen(StationAddress const & at) {
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

void StationLoop::accept(tcp::acceptor & acceptor) {
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

void StationLoop::accepted(tcp::socket socket) {
    boost::system::error_code error;
    StationAddress const remote = stationAddress(socket.remote_endpoint(error));
    if (error) {
        return; // gone already
    }
    if (!isAllowed(remote.address)) {
        refused_.happened(remote.address.toString(), now(), routers_.listener());
    } else if (sessions_.size() >= StationSettings::mostConnections) {
        crowded_.happened(remote.address.toString(), now(), routers_.listener());
    } else {
        begin(std::move(socket), remote, nullptr);
    }
}

bool StationLoop::isAllowed(IpGenAddr const & address) const {
    if (settings_.allowed.empty()) {
        return StationAddress{address}.isLocal();
    }
    return std::ranges::any_of(
        settings_.allowed, [&](IpGenPrefix const & prefix) { return prefix.contains(address); });
}

void StationLoop::connect(Target & target) {
    if (sessions_.size() >= StationSettings::mostConnections) {
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

void StationLoop::connectLater(Target & target) {
    target.timer.expires_after(target.delay);
    target.delay = std::min(2 * target.delay, lastRetry);
    target.timer.async_wait([this, &target](auto const & error) {
        if (!error) {
            connect(target);
        }
    });
}

} // namespace Qcf::Live
