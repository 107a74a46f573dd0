#pragma once

#include "Mirror/Redis/RedisUrl.h"

#include <memory>
#include <stdexcept>

namespace Qcf::Mirror {

/// The server cannot be reached, or the connection broke or stalled. `what` is one line that names
/// the server. Trying again later may help; whoever follows a store does so by itself.
class RedisConnectionError : public std::runtime_error {
public:
    explicit RedisConnectionError(String const & line) : std::runtime_error(line) {}
};

/// The server does not let us in, or we would not let ourselves: a password, an account, a
/// certificate, a file that cannot be read. Trying again ends the same way until somebody mends it.
class RedisAccessError : public RedisConnectionError {
public:
    using RedisConnectionError::RedisConnectionError;
};

/// A stream of bytes to a server: TCP, TCP with TLS, or a socket in the file system.
///
/// Every wait has an end, the one for a name to be resolved excepted. Faults throw
/// RedisConnectionError, after which the socket is of no more use. Nothing raises SIGPIPE. Belongs
/// to one thread.
///
///     RedisSocket socket(options);
///     socket.write(request, std::chrono::seconds(1));
///     std::string_view const answer = socket.read(std::chrono::seconds(1));
class RedisSocket {
public:
    using Milliseconds = std::chrono::milliseconds;

    /// Connects within the options' time, and agrees on keys where TLS is asked for. Throws
    /// RedisAccessError for a certificate or a file that is not right.
    explicit RedisSocket(RedisOptions const & options);
    ~RedisSocket();
    RedisSocket(RedisSocket const &) = delete;
    RedisSocket & operator=(RedisSocket const &) = delete;

    /// Writes all of it, or throws when the time is over.
    void write(std::string_view bytes, Milliseconds timeout);
    /// Some bytes, at least one. Waits for at most `timeout`. They are valid until the next call.
    std::string_view read(Milliseconds timeout);

private:
    /// The session over the socket, where there is one.
    class Tls;

    /// The two kinds of places; each leaves a connected socket that does not block.
    void connectPath(RedisOptions const & options);
    void connectHost(RedisOptions const & options);
    /// Connects a socket within the time.
    void connectTo(int fd, void const * address, U32 size, Milliseconds timeout);
    /// Waits until one of the events comes; throws when the time is over.
    void waitFor(int fd, short events, Milliseconds timeout) const;
    /// Throws with the place before the reason.
    [[noreturn]] void fail(String const & why) const;

    /// What messages call the server.
    String place_;
    /// Does not block; the waits are this class's.
    int fd_ = -1;
    std::unique_ptr<Tls> tls_;
    /// What was read last.
    String input_;
};

} // namespace Qcf::Mirror
