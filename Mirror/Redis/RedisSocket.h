#pragma once

#include "Mirror/Redis/RedisUrl.h"

#include <memory>
#include <stdexcept>

namespace Qcf::Mirror {

/// The server cannot be reached, or the connection broke or stalled. `what` is one line.
class RedisConnectionError : public std::runtime_error {
public:
    explicit RedisConnectionError(String const & line) : std::runtime_error(line) {}
};

/// A stream of bytes to a server: TCP, TCP with TLS, or a socket in the file system. Every wait has
/// an end. Faults throw RedisConnectionError, after which the socket is of no more use.
class RedisSocket {
public:
    using Milliseconds = std::chrono::milliseconds;

    /// Connects, and agrees on keys where TLS is asked for.
    explicit RedisSocket(RedisOptions const & options);
    ~RedisSocket();
    RedisSocket(RedisSocket const &) = delete;
    RedisSocket & operator=(RedisSocket const &) = delete;

    void write(std::string_view bytes, Milliseconds timeout);
    /// Some bytes, at least one. Waits for at most `timeout`.
    std::string_view read(Milliseconds timeout);

private:
    class Tls;

    void connectPath(RedisOptions const & options);
    void connectHost(RedisOptions const & options);
    void connectTo(int fd, void const * address, U32 size, Milliseconds timeout);
    void waitFor(int fd, short events, Milliseconds timeout) const;
    [[noreturn]] void fail(String const & why) const;

    String place_;
    int fd_ = -1;
    std::unique_ptr<Tls> tls_;
    String input_;
};

} // namespace Qcf::Mirror
