#pragma once

#include "Platform/Framework/Types.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

/// The numbers that a running process shows to whoever watches it.
///
///     Metrics metrics(MetricLabels{{"name", "edge"}});
///     Metric & peers = metrics.gauge("qcf_watch_routes", "Routes in the table");
///     Metric & bytes = metrics.counter("qcf_watch_bytes_total", "Bytes read");
///     peers.valueIs({{"router", "edge1"}, {"family", "ipv4"}}, 7908);
///     bytes.add({}, 1500);
///     MetricsFile file(metrics, "qcf.prom", ...); // or MetricsServer, or both
///
/// A metric has one value for each set of labels. Values are floats: whole numbers are exact up to
/// 2^53. Any thread may set and read; each call is whole by itself. Names that nobody could read
/// (see Metrics) fail an assertion; the values of labels may be any text.

/// Names and values. Their order means nothing; a name stands once.
using MetricLabels = std::vector<std::pair<String, String>>;

/// Whether a metric's values may fall.
enum class MetricKind : U8 {
    gauge,   ///< stands for a state, and may
    counter, ///< only rises while the process runs
};

/// One value of a metric.
struct MetricSample {
    MetricLabels labels;
    F64 value = 0;
};

/// A metric as it was at some moment.
struct MetricFamily {
    String name;
    String help;
    MetricKind kind;
    /// By rising labels, and these by their names.
    std::vector<MetricSample> samples;
};

class Metrics;

/// A metric; lives as long as the Metrics that made it.
class Metric {
public:
    /// Sets a value; one of these labels that is not there yet begins.
    void valueIs(MetricLabels labels, F64 value);
    /// The same of a metric without labels.
    void valueIs(F64 value) { valueIs({}, value); }
    /// Raises a value, from 0 if it is not there yet. `more` is not negative for a counter.
    void add(MetricLabels labels, F64 more);
    /// Puts these in the place of all that there are: labels that do not come again are gone. Of
    /// equal labels the last counts.
    void samplesAre(std::vector<MetricSample> samples);

private:
    friend class Metrics;

    Metric(Metrics & owner, String name, String help, MetricKind kind);
    /// Sorted, with texts that are fit to be shown.
    MetricLabels fit(MetricLabels labels) const;
    MetricFamily family() const;

    Metrics & owner_;
    String name_;
    String help_;
    MetricKind kind_;
    std::map<MetricLabels, F64> values_;
};

/// All metrics of a process, in the order in which they were made.
class Metrics {
public:
    /// These labels stand with every value, so that what several processes write to files can be
    /// told apart.
    explicit Metrics(MetricLabels everywhere = {}) : everywhere_(std::move(everywhere)) {}
    Metrics(Metrics const &) = delete;
    Metrics & operator=(Metrics const &) = delete;

    /// Makes a metric. Names are of letters, digits and underscores and do not begin with a digit;
    /// those of counters end in `_total`. `help` is one sentence without its full stop. A name that
    /// is taken fails an assertion.
    Metric & gauge(String name, String help);
    Metric & counter(String name, String help);

    /// What is called before each reading, by whoever reads, one at a time: the place for values
    /// that are worked out when somebody looks. It may set metrics, and must not read them.
    void refreshIs(std::function<void()> refresh);

    /// All that has values.
    std::vector<MetricFamily> read();

private:
    friend class Metric;

    Metric & made(String name, String help, MetricKind kind);

    MetricLabels everywhere_;
    std::mutex readMutex_; ///< held while somebody reads
    std::function<void()> refresh_;
    std::mutex mutex_; ///< guards the metrics and their values
    std::vector<std::unique_ptr<Metric>> metrics_;
};

/// The families in the text form that scrapers and node exporters read (version 0.0.4).
String metricsText(std::vector<MetricFamily> const & families);
