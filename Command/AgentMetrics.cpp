#include "Command/AgentMetrics.h"

#include "Agent/Routes/RouteChanges.h"
#include "Command/Log.h"
#include "Platform/Render/Utf8.h"

#include <ctime>

namespace {

using Qcf::Eval::TriStateBoolValue;

/// Statements that are shown at most, the most entered first: a scrape is to stay a small matter.
constexpr std::size_t mostStatements = 10'000;

constexpr std::pair<TriStateBoolValue, char const *> results[] = {
    {TriStateBoolValue::true_, "true"},
    {TriStateBoolValue::false_, "false"},
    {TriStateBoolValue::unknown, "unknown"},
};

constexpr std::pair<LogLevel, char const *> levels[] = {
    {LogLevel::info, "info"}, {LogLevel::warning, "warning"}, {LogLevel::error, "error"}};

F64 number(U64 value) { return static_cast<F64>(value); }

F64 secondsSince(std::chrono::steady_clock::time_point time) {
    return std::chrono::duration<F64>(std::chrono::steady_clock::now() - time).count();
}

MetricLabels labelsOf(CountedStatement const & statement) {
    constexpr std::size_t longestName = 200;
    return {{"in", oneLine(statement.function->funcName(), longestName)},
            {"key", std::to_string(statement.count.node->aetNodeKey())},
            {"statement", *statement.text}};
}

} // namespace

AgentMetrics::AgentMetrics(String const & name, String const & function)
    : metrics_(MetricLabels{{"name", name}, {"function", function}}),
      connected_(metrics_.gauge("qcf_agent_connected", "Whether the server answers")),
      silence_(metrics_.gauge("qcf_agent_silence_seconds", "Since the server answered last")),
      losses_(metrics_.counter("qcf_agent_connection_losses_total",
                               "How often the server stopped answering")),
      published_(metrics_.gauge("qcf_agent_published_version",
                                "Newest version that the server is known to have")),
      version_(metrics_.gauge("qcf_agent_version",
                              "Version by which a table was evaluated last, 0 for none")),
      policy_(metrics_.gauge("qcf_agent_policy_info", "Digest of that version's content")),
      lagVersions_(metrics_.gauge("qcf_agent_lag_versions",
                                  "Versions between the published one and the one in use")),
      lagSeconds_(metrics_.gauge("qcf_agent_lag_seconds",
                                 "For how long the version in use is not the newest known")),
      tables_(metrics_.counter("qcf_agent_tables_total", "Tables evaluated to their end")),
      tableSeconds_(metrics_.gauge("qcf_agent_table_seconds", "What the last table took")),
      failed_(metrics_.counter("qcf_agent_failed_tables_total",
                               "Tables not evaluated, or not to their end")),
      routes_(metrics_.counter("qcf_agent_routes_total", "Routes evaluated")),
      verdicts_(metrics_.counter("qcf_agent_verdicts_total", "Routes by their verdict")),
      changedRoutes_(metrics_.counter("qcf_agent_changed_routes_total",
                                      "Routes of which an attribute changed")),
      changes_(metrics_.counter("qcf_agent_changes_total", "Changes by attribute")),
      damaged_(metrics_.counter("qcf_agent_damaged_records_total",
                                "Records of tables that could not be read")),
      logLines_(metrics_.counter("qcf_agent_log_lines_total", "Lines of the log by level")),
      entries_(metrics_.counter("qcf_agent_statement_entries_total",
                                "How often a statement was entered")),
      decided_(metrics_.counter("qcf_agent_statement_verdicts_total",
                                "How many routes a statement decided")),
      leftOut_(metrics_.gauge("qcf_agent_statements_left_out",
                              "Statements beyond the number that is shown")) {
    metrics_.gauge("qcf_agent_build_info", "Version of the program")
        .valueIs({{"version", QCF_VERSION}}, 1);
    metrics_.gauge("qcf_agent_start_time_seconds", "When it was started, since 1970")
        .valueIs(static_cast<F64>(std::time(nullptr)));
    // Counters stand there from the start: what appears only with the first fault raises no alarm.
    for (Metric * const counter :
         {&losses_, &tables_, &failed_, &routes_, &changedRoutes_, &damaged_}) {
        counter->valueIs(0);
    }
    version_.valueIs(0);
    counted({});
    metrics_.refreshIs([this] { refresh(); });
}

AgentMetrics::~AgentMetrics() { metrics_.refreshIs(nullptr); }

void AgentMetrics::heard(U64 published) {
    std::lock_guard const lock(mutex_);
    isConnected_ = true;
    lastHeard_ = Clock::now();
    newest_ = published;
    compareVersions();
}

void AgentMetrics::lost() {
    std::lock_guard const lock(mutex_);
    if (std::exchange(isConnected_, false)) {
        losses_.add({}, 1);
    }
}

void AgentMetrics::begins(PtrConst<Qcf::Eval::Function> const & function) {
    std::lock_guard const lock(mutex_);
    tableBegan_ = Clock::now();
    // The counts of the version before go with its functions.
    statements_.emplace(function);
}

void AgentMetrics::counted(RouteTally const & more) {
    routes_.add({}, number(more.routes));
    changedRoutes_.add({}, number(more.changedRoutes));
    for (auto const & [result, name] : results) {
        verdicts_.add({{"result", name}}, number(more.results[static_cast<U8>(result)]));
    }
    auto const names = Qcf::Agent::modifiableAttributeNames();
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (more.changed[i] != 0) {
            changes_.add({{"attribute", names[i]}}, number(more.changed[i]));
        }
    }
}

void AgentMetrics::wasRead(Qcf::Agent::ReadStatistics const & statistics) {
    damaged_.add({}, number(statistics.damagedRecords));
}

void AgentMetrics::evaluated(U64 version, String const & digest) {
    std::lock_guard const lock(mutex_);
    inUse_ = version;
    version_.valueIs(number(version));
    policy_.samplesAre({{{{"digest", digest}}, 1}});
    tables_.add({}, 1);
    tableSeconds_.valueIs(secondsSince(tableBegan_));
    compareVersions();
}

void AgentMetrics::failed() { failed_.add({}, 1); }

void AgentMetrics::compareVersions() {
    if (newest_ <= inUse_) {
        behindSince_.reset();
    } else if (!behindSince_) {
        behindSince_ = Clock::now();
    }
}

void AgentMetrics::refresh() {
    for (auto const & [level, name] : levels) {
        logLines_.valueIs({{"level", name}}, number(linesTold(level)));
    }
    std::lock_guard const lock(mutex_);
    showLag();
    if (statements_ && Qcf::Eval::StatementCounts::enabled()) {
        showStatements();
    }
}

void AgentMetrics::showLag() {
    connected_.valueIs(isConnected_ ? 1 : 0);
    silence_.valueIs(secondsSince(lastHeard_));
    published_.valueIs(number(newest_));
    lagVersions_.valueIs(number(newest_ > inUse_ ? newest_ - inUse_ : 0));
    lagSeconds_.valueIs(behindSince_ ? secondsSince(*behindSince_) : 0);
}

void AgentMetrics::showStatements() {
    std::vector<MetricSample> entries;
    std::vector<MetricSample> decided;
    auto const statements = statements_->now();
    std::size_t const shown = std::min(statements.size(), mostStatements);
    for (std::size_t i = 0; i < shown; ++i) {
        entries.push_back({labelsOf(statements[i]), number(statements[i].count.entries)});
        decided.push_back({labelsOf(statements[i]), number(statements[i].count.verdicts)});
    }
    entries_.samplesAre(std::move(entries));
    decided_.samplesAre(std::move(decided));
    leftOut_.valueIs(number(statements.size() - shown));
}
