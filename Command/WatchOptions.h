#pragma once

#include "Command/MetricsArguments.h"
#include "Command/PreparedPolicy.h"
#include "Command/RedisArguments.h"
#include "Command/RouteSelection.h"
#include "Live/Comparison.h"
#include "Live/RouteEvents.h"
#include "Live/Station.h"

/// What `qcf watch` is asked for.
struct WatchOptions {
    PolicyArguments policy;
    RedisArguments redis; ///< where the policy is published, and no file is given
    MetricsArguments metrics;
    U64 threads = 1; ///< that evaluate all routes by another policy
    Qcf::Live::LiveSettings settings;
    Qcf::Live::StationSettings station;
    RouteSelection selection = {};
    std::vector<String> replays;
    String router; ///< of which alone is told; empty for all
    String only;   ///< which routes alone are told of; empty for all
    String output = "table";
    bool isPaced = false;

    /// Adds all options; must outlive the parsing.
    void addTo(CLI::App & command);
    /// Takes over what their words say. Throws UsageError.
    void read();

    bool isPublished() const { return policy.policy.path.empty(); }
    /// Whether these are told of.
    bool isAsked(Qcf::Live::RouteNews const & news) const;
    bool isAsked(Qcf::Live::RouteDifference const & difference) const;
    bool isJson() const { return output == "jsonl"; }
    /// Whether routers are heard, and no recordings read.
    bool isLive() const { return !station.listen.empty() || !station.connect.empty(); }
    Qcf::Live::Tolerance tolerance() const;

private:
    bool isOnly(Qcf::Live::Verdict verdict) const;
    bool isSelected(String const & ofRouter, IpGenAddr const & peer,
                    IpGenPrefix const & prefix) const;
    void addTables(CLI::App & command);
    void addPolicy(CLI::App & command);
    void addInputs(CLI::App & command);
    void addRouters(CLI::App & command);
    void readPolicy();
    void readTables();
    void readRouters();
    void vrfIs(String const & text);

    std::vector<String> tolerated_;
    std::vector<String> vrfs_;
    String rib_ = ribName(Qcf::Live::Rib::inPre);
    String against_;
    std::vector<String> listen_;
    std::vector<String> connect_;
    std::vector<String> allowed_;
    std::vector<String> keptPeers_;
};
