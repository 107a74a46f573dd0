#pragma once

#include "Agent/Routes/RouteReader.h"
#include "Command/CountedStatements.h"
#include "Command/RouteTally.h"
#include "Platform/Metrics/Metrics.h"

#include <chrono>
#include <optional>

/// What an agent shows of itself while it runs: which version it evaluates with and how far that is
/// behind, its routes and verdicts, what its statements counted, what went wrong.
///
///     AgentMetrics shown("edge", "import");
///     MetricsFile const file(shown.metrics(), "qcf.prom", tellWarning);
///     shown.heard(7);             // as it follows, from one thread
///     shown.begins(function);     // as it evaluates, from another
///     shown.evaluated({7, ...});
///
/// Any thread may call anything. `docs/metrics.md` has the names with what they mean.
class AgentMetrics {
public:
    /// What it follows, and the function that it evaluates: labels of all its metrics.
    AgentMetrics(String const & name, String const & function);
    ~AgentMetrics();
    AgentMetrics(AgentMetrics const &) = delete;
    AgentMetrics & operator=(AgentMetrics const &) = delete;

    Metrics & metrics() { return metrics_; }

    /// The server answered; this is the newest version that it has, 0 for none.
    void heard(U64 published);
    /// It did not answer; told again and again as long as it does not.
    void lost();

    /// A table is evaluated by this function from now on.
    void begins(PtrConst<Qcf::Eval::Function> const & function);
    /// So many more routes of it are.
    void counted(RouteTally const & more);
    /// Its file was read.
    void wasRead(Qcf::Agent::ReadStatistics const & statistics);
    /// It was evaluated to its end, by the function of that version.
    void evaluated(U64 version, String const & digest);
    /// It was not, be it for the version or for the table.
    void failed();

private:
    using Clock = std::chrono::steady_clock;

    void refresh();
    void showStatements();
    void showLag();
    /// Notes since when there is a newer version than the one in use.
    void compareVersions();

    Metrics metrics_;
    Metric & connected_;
    Metric & silence_;
    Metric & losses_;
    Metric & published_;
    Metric & version_;
    Metric & policy_;
    Metric & lagVersions_;
    Metric & lagSeconds_;
    Metric & tables_;
    Metric & tableSeconds_;
    Metric & failed_;
    Metric & routes_;
    Metric & verdicts_;
    Metric & changedRoutes_;
    Metric & changes_;
    Metric & damaged_;
    Metric & logLines_;
    Metric & entries_;
    Metric & decided_;
    Metric & leftOut_;

    std::mutex mutex_; ///< guards what follows
    bool isConnected_ = false;
    Clock::time_point lastHeard_ = Clock::now();
    U64 newest_ = 0;
    U64 inUse_ = 0;
    std::optional<Clock::time_point> behindSince_;
    Clock::time_point tableBegan_;
    std::optional<CountedStatements> statements_;
};
