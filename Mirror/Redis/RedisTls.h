#pragma once

#include "Mirror/Redis/RedisUrl.h"

#include <memory>

#include <sys/types.h>

struct ssl_st;
struct ssl_ctx_st;

namespace Qcf::Mirror {

/// What is wrong for good: a file that cannot be used, a certificate that proves nothing.
class RedisTlsFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// TLS over a connected, non-blocking socket, which stays the caller's. Throws std::runtime_error
/// with one line, RedisTlsFault where trying again is of no use.
///
/// The server's certificate is checked against the authorities and against the host's name, unless
/// the options say not to. Belongs to one thread. Whoever uses it waits for the socket: nothing
/// here blocks.
class RedisTls {
public:
    /// Reads the files that the options name. Nothing is sent yet.
    RedisTls(RedisOptions const & options, int fd);
    ~RedisTls();
    RedisTls(RedisTls const &) = delete;
    RedisTls & operator=(RedisTls const &) = delete;

    /// Goes on with agreeing on keys: 0 when that is done, else the events to poll for before the
    /// next call.
    short handshake();
    /// Bytes written or read; 0 for a closed connection. -1 with EAGAIN in errno where `wanted`
    /// events have to come first, -1 with EPROTO where the protocol is broken.
    ssize_t write(std::string_view bytes, short & wanted);
    ssize_t read(String & into, short & wanted);

private:
    /// What a call of the library means: bytes, or events to wait for.
    ssize_t result(int answer, short & wanted);

    /// What the options said, and the session made of it.
    std::unique_ptr<ssl_ctx_st, void (*)(ssl_ctx_st *)> context_;
    std::unique_ptr<ssl_st, void (*)(ssl_st *)> session_;
};

} // namespace Qcf::Mirror
