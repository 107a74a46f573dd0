#pragma once

#include "Platform/Framework/Types.h"

#include <chrono>
#include <stdexcept>
#include <string_view>

namespace Qcf::Mirror {

/// A text that is no address of a Redis server. `what` is one line, without any password: it may go
/// into a log.
class RedisUrlError : public std::runtime_error {
public:
    explicit RedisUrlError(String const & line) : std::runtime_error(line) {}
};

/// Where a Redis server is and how to talk to it.
///
///     redis://[USER[:PASSWORD]@]HOST[:PORT][/DATABASE]     rediss://... over TLS
///     unix://[USER[:PASSWORD]@]/PATH/OF/SOCKET
///
/// User and password may hold any character as %XX, and the user may be empty where there is a
/// password; an IPv6 host stands in brackets. A user without a password wants one to be set before
/// anybody connects.
///
///     RedisOptions options = RedisOptions::parse("rediss://:secret@redis.example:6380/2");
///     options.caFile = "/etc/ssl/redis-ca.pem";
struct RedisOptions {
    String host; ///< empty for a socket in the file system
    String port = "6379";
    /// Of a socket in the file system; empty for a host.
    String socketPath;
    String user;
    /// Never shown in a message.
    String password;
    U32 database = 0;

    /// Whether the connection is encrypted; rediss:// says so.
    bool tls = false;
    String caFile;          ///< PEM; the system's authorities when empty
    String certificateFile; ///< PEM, for servers that ask for one
    String keyFile;
    /// Whether a server must prove who it is. Off only for tests.
    bool verifyServer = true;

    /// For being connected, and for each answer.
    std::chrono::milliseconds connectTimeout{3000};
    std::chrono::milliseconds replyTimeout{10000};

    /// Reads a URL; throws RedisUrlError. What it does not say is as it is above.
    static RedisOptions parse(std::string_view url);
    /// "host:port" or the path, for messages.
    String place() const { return socketPath.empty() ? host + ":" + port : socketPath; }
};

} // namespace Qcf::Mirror
