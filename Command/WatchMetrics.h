#pragma once

#include "Live/RunningComparison.h"
#include "Platform/Metrics/Metrics.h"

#include <chrono>

/// What a station shows of itself while it runs: routes of tables, what the policy makes of them,
/// what came of comparing, messages of routers.
///
///     WatchMetrics shown("import");
///     ShownMetrics const places(shown.metrics(), targets);
///     shown.update(routers, comparison); // again and again, on the routers' thread
///
/// `docs/metrics.md` has the names with what they mean.
class WatchMetrics {
public:
    /// The function that it evaluates: a label of all its metrics.
    explicit WatchMetrics(String const & function);

    Metrics & metrics() { return metrics_; }
    /// Takes over how things stand, at most once a second. Quick: it looks at no route.
    void update(Qcf::Live::RouterSet & routers, Qcf::Live::RunningComparison const & comparison);

private:
    using Clock = std::chrono::steady_clock;

    void takeRouter(Qcf::Live::LiveRouter & router);
    void takeTable(MetricLabels const & labels, Qcf::Live::RibState const & table,
                   bool isEvaluated);
    void takePolicy(Qcf::Live::RouterSet const & routers);

    /// A metric with what it is to have.
    struct Family {
        Metric & metric;
        std::vector<MetricSample> samples = {};

        void add(MetricLabels labels, std::pair<String, String> label, U64 value);
        void add(MetricLabels labels, U64 value);
        /// Puts what was gathered in the place of what there was.
        void show();
    };

    Metrics metrics_;
    Family routes_;
    Family stale_;
    Family verdicts_;
    Family compare_;
    Family decided_;
    Family policy_;
    Family connected_;
    Family messages_;
    Family damaged_;
    Family bytes_;
    Clock::time_point next_;
};
