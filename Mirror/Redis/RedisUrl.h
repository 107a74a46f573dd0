#pragma once

#include "Platform/Framework/Types.h"

#include <chrono>
#include <stdexcept>
#include <string_view>

namespace Qcf::Mirror {

/// A text that is no address of a Redis server. `what` is one line, without any password.
class RedisUrlError : public std::runtime_error {
public:
    explicit RedisUrlError(String const & line) : std::runtime_error(line) {}
};

/// Where a Redis server is and how to talk to it.
///
///     redis://[[USER]:PASSWORD@]HOST[:PORT][/DATABASE]     rediss://... over TLS
///     unix://[[USER]:PASSWORD@]/PATH/OF/SOCKET
///
/// User and password may hold any character as %XX; an IPv6 host stands in brackets.
struct RedisOptions {
    String host; ///< empty for a socket in the file system
    String port = "6379";
    String socketPath;
    String user;
    String password;
    U32 database = 0;

    bool tls = false;
    String caFile;          ///< PEM; the system's authorities when empty
    String certificateFile; ///< PEM, for servers that ask for one
    String keyFile;
    bool verifyServer = true;

    std::chrono::milliseconds connectTimeout{3000};
    std::chrono::milliseconds replyTimeout{10000};

    /// Reads a URL; throws RedisUrlError.
    static RedisOptions parse(std::string_view url);
    /// "host:port" or the path, for messages.
    String place() const { return socketPath.empty() ? host + ":" + port : socketPath; }
};

} // namespace Qcf::Mirror
