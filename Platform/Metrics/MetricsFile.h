#pragma once

#include "Platform/Metrics/Metrics.h"

#include <chrono>
#include <condition_variable>
#include <thread>

/// Keeps metrics in a file that a node exporter collects: written at once, then again and again by
/// a thread of its own, and a last time at the end. No port is opened, and no library is needed.
///
///     MetricsFile const file(metrics, "/var/lib/node-exporter/qcf.prom", tellWarning);
///
/// Who reads the file sees the whole of one writing: each is made beside it under another name that
/// does not end in `.prom`, and renamed. All may read it (mode 644). The file stays at the end; its
/// time tells how old it is.
class MetricsFile {
public:
    static constexpr std::chrono::milliseconds usualInterval{5000};

    /// Throws std::runtime_error, one line that begins with the path, when it cannot be written. A
    /// later fault is given to `report` once, with the path as well, and tried over.
    MetricsFile(Metrics & metrics, String path, std::function<void(String const &)> report,
                std::chrono::milliseconds interval = usualInterval);
    MetricsFile(MetricsFile const &) = delete;
    MetricsFile & operator=(MetricsFile const &) = delete;
    ~MetricsFile();

private:
    void run(std::stop_token const & stop, std::chrono::milliseconds interval);
    /// Writes, and reports what fails.
    void tryWriting();
    void write();

    Metrics & metrics_;
    String path_;
    std::function<void(String const &)> report_;
    String fault_; ///< of the last writing
    std::mutex mutex_;
    std::condition_variable_any ends_;
    // The last member, so that it starts when all else is there.
    std::jthread thread_;
};
