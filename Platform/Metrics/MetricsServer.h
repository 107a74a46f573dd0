#pragma once

#include "Platform/Metrics/Metrics.h"

/// Serves metrics over HTTP, under /metrics, to whoever may connect: neither a password nor TLS
/// stands before them, which is why it listens on loopback unless one asks for more.
///
///     MetricsServer const server(metrics, "127.0.0.1", 9273);
///     tell("metrics at " + server.url());
///
/// An optional component, which wants a library of Debian's (prometheus-cpp-dev) when the project
/// is built. Threads of its own answer, two at a time; they read the metrics as they are then.
class MetricsServer {
public:
    /// Whether it was built in.
    static bool isBuiltIn();

    /// Listens on a numeric IPv4 address; port 0 is any that is free. Throws std::runtime_error,
    /// one line that names the address, when it cannot, or is not built in.
    MetricsServer(Metrics & metrics, String const & address, U16 port);
    MetricsServer(MetricsServer const &) = delete;
    MetricsServer & operator=(MetricsServer const &) = delete;
    ~MetricsServer();

    /// Where they are to be had: "http://127.0.0.1:9273/metrics".
    String const & url() const { return url_; }

private:
    /// Hides the library that serves.
    struct Library;

    String url_;
    std::unique_ptr<Library> library_;
};
