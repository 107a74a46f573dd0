#include "Platform/Metrics/MetricsServer.h"

#include <stdexcept>

#ifdef QCF_WITH_PROMETHEUS

#include <cerrno>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <prometheus/collectable.h>
#include <prometheus/exposer.h>
#include <prometheus/metric_family.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

prometheus::MetricFamily converted(MetricFamily const & family) {
    prometheus::MetricFamily result;
    result.name = family.name;
    result.help = family.help;
    bool const isCounter = family.kind == MetricKind::counter;
    result.type = isCounter ? prometheus::MetricType::Counter : prometheus::MetricType::Gauge;
    for (MetricSample const & sample : family.samples) {
        prometheus::ClientMetric metric;
        for (auto const & [name, value] : sample.labels) {
            metric.label.push_back({name, value});
        }
        (isCounter ? metric.counter.value : metric.gauge.value) = sample.value;
        result.metric.push_back(std::move(metric));
    }
    return result;
}

class Collected final : public prometheus::Collectable {
public:
    explicit Collected(Metrics & metrics) : metrics_(metrics) {}

    std::vector<prometheus::MetricFamily> Collect() const override {
        std::vector<prometheus::MetricFamily> families;
        for (MetricFamily const & family : metrics_.read()) {
            families.push_back(converted(family));
        }
        return families;
    }

private:
    Metrics & metrics_;
};

/// Why one cannot listen there. The library knows only that it could not: it is tried over.
String listeningFault(String const & address, U16 port) {
    sockaddr_in at{};
    at.sin_family = AF_INET;
    at.sin_port = htons(port);
    ::inet_pton(AF_INET, address.c_str(), &at.sin_addr);
    int const socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int const error =
        ::bind(socket, reinterpret_cast<sockaddr const *>(&at), sizeof at) == 0 ? 0 : errno;
    ::close(socket);
    return error == 0 ? String("cannot be listened on") : std::generic_category().message(error);
}

} // namespace

struct MetricsServer::Library {
    std::shared_ptr<Collected> collected;
    // The last member: its threads end before what they read goes.
    std::unique_ptr<prometheus::Exposer> exposer;
};

bool MetricsServer::isBuiltIn() { return true; }

MetricsServer::MetricsServer(Metrics & metrics, String const & address, U16 port)
    : library_(std::make_unique<Library>()) {
    String const place = address + ':' + std::to_string(port);
    try {
        // A client that is slow to ask keeps one of the threads no longer than this.
        library_->exposer = std::make_unique<prometheus::Exposer>(std::vector<String>{
            "listening_ports", place, "num_threads", "2", "request_timeout_ms", "5000"});
    } catch (std::exception const &) {
        throw std::runtime_error(place + ": " + listeningFault(address, port));
    }
    library_->collected = std::make_shared<Collected>(metrics);
    library_->exposer->RegisterCollectable(library_->collected);
    int const listening = library_->exposer->GetListeningPorts().front();
    url_ = "http://" + address + ':' + std::to_string(listening) + "/metrics";
}

#else

struct MetricsServer::Library {};

bool MetricsServer::isBuiltIn() { return false; }

MetricsServer::MetricsServer(Metrics &, String const & address, U16 port) {
    throw std::runtime_error(address + ':' + std::to_string(port) +
                             ": a server of metrics was not built in");
}

#endif

MetricsServer::~MetricsServer() = default;
