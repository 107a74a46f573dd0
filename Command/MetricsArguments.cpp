#include "Command/MetricsArguments.h"

#include "Command/Command.h"
#include "Command/Log.h"
#include "Command/RepeatedOption.h"

namespace {

MetricsTarget targetOf(String const & place) {
    try {
        return MetricsTarget::parse(place);
    } catch (std::runtime_error const & error) {
        throw UsageError(String("--metrics: ") + error.what());
    }
}

} // namespace

void MetricsArguments::addTo(CLI::App & command) {
    takesOneEach(
        *command
             .add_option(
                 "--metrics", places,
                 "Show metrics for Prometheus: served over HTTP under /metrics, or in a file\n"
                 "for a node exporter, which is replaced every 5 seconds; may be repeated")
             ->type_name("ADDRESS:PORT|FILE.prom"));
    command.add_flag("--metrics-public", isPublic,
                     "Let --metrics listen on an address that other machines reach; whoever\n"
                     "reaches it reads them");
}

std::vector<MetricsTarget> MetricsArguments::targets() const {
    std::vector<MetricsTarget> targets;
    for (String const & place : places) {
        targets.push_back(targetOf(place));
        MetricsTarget const & target = targets.back();
        if (!target.isLocal() && !isPublic) {
            throw UsageError("--metrics: other machines reach " + target.address +
                             "; if they are to, say --metrics-public, else take 127.0.0.1");
        }
        if (target.file.empty() && !MetricsServer::isBuiltIn()) {
            throw UsageError("--metrics: this program was built without a server of metrics "
                             "(prometheus-cpp); --metrics FILE.prom works without one");
        }
    }
    return targets;
}

ShownMetrics::ShownMetrics(Metrics & metrics, std::vector<MetricsTarget> const & targets) {
    for (MetricsTarget const & target : targets) {
        if (target.file.empty()) {
            servers_.push_back(
                std::make_unique<MetricsServer>(metrics, target.address, target.port));
            tellLine("metrics at " + servers_.back()->url());
        } else {
            files_.push_back(std::make_unique<MetricsFile>(metrics, target.file, tellWarning));
        }
    }
}
