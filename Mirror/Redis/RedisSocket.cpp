#include "Mirror/Redis/RedisSocket.h"

#include "Mirror/Redis/Pace.h"
#include "Mirror/Redis/RedisTls.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// No socket here blocks; all waiting is done in waitFor, that for a name to be resolved excepted.
namespace Qcf::Mirror {

/// Shields the header from the TLS library.
class RedisSocket::Tls : public RedisTls {
public:
    using RedisTls::RedisTls;
};

namespace {

String errorText(int error) { return std::strerror(error); }

/// A file descriptor that is closed unless it is released.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor const &) = delete;
    Descriptor & operator=(Descriptor const &) = delete;
    ~Descriptor() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }

private:
    int fd_;
};

} // namespace

RedisSocket::RedisSocket(RedisOptions const & options) : place_(options.place()) {
    options.socketPath.empty() ? connectHost(options) : connectPath(options);
    if (options.tls) {
        // No destructor runs for what was never made: what is open is closed here.
        auto const letGo = [this] {
            tls_.reset();
            ::close(std::exchange(fd_, -1));
        };
        try {
            tls_ = std::make_unique<Tls>(options, fd_);
            while (short const events = tls_->handshake()) {
                waitFor(fd_, events, options.connectTimeout);
            }
        } catch (RedisTlsFault const & fault) {
            letGo();
            throw RedisAccessError("redis at " + place_ + ": " + fault.what());
        } catch (RedisConnectionError const &) {
            letGo();
            throw; // it names the place already
        } catch (std::exception const & error) {
            letGo();
            fail(error.what());
        }
    }
}

RedisSocket::~RedisSocket() {
    // First, for it still says goodbye over the socket.
    tls_.reset();
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

void RedisSocket::fail(String const & why) const {
    throw RedisConnectionError("redis at " + place_ + ": " + why);
}

void RedisSocket::connectTo(int fd, void const * address, U32 size, Milliseconds timeout) {
    if (::connect(fd, static_cast<sockaddr const *>(address), size) == 0) {
        return;
    }
    // EAGAIN is what a socket in the file system says while its server's queue is full.
    if (errno != EINPROGRESS && errno != EAGAIN) {
        fail(errorText(errno));
    }
    waitFor(fd, POLLOUT, timeout);
    // Ready to write means decided; how, is told by the error.
    int error = 0;
    socklen_t length = sizeof error;
    ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length);
    if (error != 0) {
        fail(errorText(error));
    }
}

void RedisSocket::connectPath(RedisOptions const & options) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (options.socketPath.size() >= sizeof address.sun_path) {
        fail("the path of a socket has at most " + std::to_string(sizeof address.sun_path - 1) +
             " bytes");
    }
    // The address is all zeros, so that the path has its end.
    std::memcpy(address.sun_path, options.socketPath.c_str(), options.socketPath.size());
    Descriptor fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    connectTo(fd.get(), &address, sizeof address, options.connectTimeout);
    fd_ = fd.release();
}

void RedisSocket::connectHost(RedisOptions const & options) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo * found = nullptr;
    int const answer = ::getaddrinfo(options.host.c_str(), options.port.c_str(), &hints, &found);
    if (answer != 0) {
        fail(::gai_strerror(answer));
    }
    std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> const addresses(found, &::freeaddrinfo);
    String lastError = "no address";
    // Each address with the whole time; what the last one said is told.
    for (addrinfo const * each = found; each != nullptr; each = each->ai_next) {
        Descriptor fd(::socket(each->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        try {
            connectTo(fd.get(), each->ai_addr, each->ai_addrlen, options.connectTimeout);
            // Commands are answered one by one: waiting to fill a packet would only delay them.
            int const on = 1;
            ::setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            ::setsockopt(fd.get(), SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
            fd_ = fd.release();
            return;
        } catch (RedisConnectionError const & error) {
            lastError = error.what();
        }
    }
    throw RedisConnectionError(lastError);
}

void RedisSocket::waitFor(int fd, short events, Milliseconds timeout) const {
    auto const end = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        auto const left =
            std::chrono::duration_cast<Milliseconds>(end - std::chrono::steady_clock::now());
        pollfd entry{fd, events, 0};
        int const ready = ::poll(&entry, 1, static_cast<int>(std::max<long>(left.count(), 0)));
        if (ready > 0) {
            return; // the next call tells what is wrong, if anything is
        }
        if (ready == 0) {
            fail("no answer within " + std::to_string(timeout.count()) + " ms");
        }
        // After a signal the wait goes on with what is left of its time.
        if (errno != EINTR) {
            fail(errorText(errno));
        }
    }
}

void RedisSocket::write(std::string_view bytes, Milliseconds timeout) {
    // The time is that of one wait: a server on a slow line is not given up, one that only takes a
    // byte now and then is. A closed connection comes as an error, not as SIGPIPE.
    Pace pace(timeout);
    while (!bytes.empty()) {
        short wanted = POLLOUT;
        ssize_t const count = tls_ ? tls_->write(bytes, wanted)
                                   : ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
            pace.moved(static_cast<std::size_t>(count));
        } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
            fail(count == 0 ? "connection closed" : errorText(errno));
        } else if (pace.isLost()) {
            fail("takes less than " + std::to_string(Pace::slowest) + " bytes a second");
        } else {
            waitFor(fd_, wanted, timeout);
        }
    }
}

std::string_view RedisSocket::read(Milliseconds timeout) {
    // Once; later calls find it there.
    input_.resize(std::size_t{1} << 16);
    for (;;) {
        short wanted = POLLIN;
        ssize_t const count =
            tls_ ? tls_->read(input_, wanted) : ::recv(fd_, input_.data(), input_.size(), 0);
        if (count > 0) {
            return std::string_view(input_).substr(0, static_cast<std::size_t>(count));
        }
        if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
            fail(count == 0 ? "connection closed" : errorText(errno));
        }
        waitFor(fd_, wanted, timeout);
    }
}

} // namespace Qcf::Mirror
