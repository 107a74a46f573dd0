#pragma once

#include "Platform/Metrics/MetricsFile.h"
#include "Platform/Metrics/MetricsServer.h"
#include "Platform/Metrics/MetricsTarget.h"

#include <CLI/CLI.hpp>

/// Where a command that stays shows its metrics: the options that say so.
struct MetricsArguments {
    /// As the options say it.
    std::vector<String> places;
    /// Whether other machines may reach them.
    bool isPublic = false;

    /// Adds --metrics and --metrics-public; must outlive the parsing.
    void addTo(CLI::App & command);
    /// What they mean. Throws UsageError for what cannot be meant, or is not built in.
    std::vector<MetricsTarget> targets() const;
};

/// Shows metrics in these places, as long as it lives. Throws std::runtime_error where one of them
/// cannot be had; where a server listens is told.
class ShownMetrics {
public:
    ShownMetrics(Metrics & metrics, std::vector<MetricsTarget> const & targets);

private:
    std::vector<std::unique_ptr<MetricsFile>> files_;
    std::vector<std::unique_ptr<MetricsServer>> servers_;
};
