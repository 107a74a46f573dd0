#include "Command/WatchMetrics.h"

#include "Live/TopDeciding.h"
#include "Platform/Render/Utf8.h"

#include <ctime>
#include <utility>

using namespace Qcf::Live; // NOLINT(google-build-using-namespace): what this command is about

namespace {

/// Statements that are shown at most, those that decide most: a scrape is to stay a small matter.
constexpr std::size_t mostStatements = 1000;
constexpr std::size_t longestName = 200;

constexpr std::array<char const *, 2> families = {"ipv4", "ipv6"};

/// The address alone does not tell peers of several VRFs apart.
String nameOf(PeerState const & peer) {
    String name = peer.key.address.toString();
    if (!peer.open.tableName.empty()) {
        return name + ' ' + oneLine(peer.open.tableName, longestName);
    }
    return peer.key.distinguisher == 0 ? name : name + ' ' + std::to_string(peer.key.distinguisher);
}

/// "policy.qcf:42 bogon"; the same for no two statements.
String nameOf(DecidedShare const & share) {
    if (share.statement == nullptr || share.statement->isEnd() || share.place.file.empty()) {
        return share.text();
    }
    String const place = share.place.text();
    String const column =
        share.place.isInText() ? ':' + std::to_string(share.place.column) : String();
    return oneLine(place + column + (share.reason.empty() ? "" : " " + share.reason), longestName);
}

} // namespace

void WatchMetrics::Family::add(MetricLabels labels, std::pair<String, String> label, U64 value) {
    labels.push_back(std::move(label));
    add(std::move(labels), value);
}

void WatchMetrics::Family::add(MetricLabels labels, U64 value) {
    samples.push_back({std::move(labels), static_cast<F64>(value)});
}

void WatchMetrics::Family::show() { metric.samplesAre(std::exchange(samples, {})); }

WatchMetrics::WatchMetrics(String const & function)
    : metrics_(MetricLabels{{"function", function}}),
      routes_{metrics_.gauge("qcf_watch_routes", "Routes in a table")},
      stale_{metrics_.gauge("qcf_watch_stale", "Whether the connection that sent a table is gone")},
      verdicts_{metrics_.gauge("qcf_watch_verdicts", "Routes of a table by their verdict")},
      compare_{metrics_.gauge("qcf_watch_compare", "Routes by what came of comparing them")},
      decided_{metrics_.gauge("qcf_watch_decided", "Routes by the statement that decides them")},
      policy_{metrics_.gauge("qcf_watch_policy_info", "Digest of the policy in use")},
      connected_{metrics_.gauge("qcf_watch_connected", "Whether a router is connected")},
      messages_{metrics_.counter("qcf_watch_messages_total", "Messages by their type")},
      damaged_{metrics_.counter("qcf_watch_damaged_total", "Messages that could not be read")},
      bytes_{metrics_.counter("qcf_watch_bytes_total", "Bytes of messages")} {
    metrics_.gauge("qcf_watch_build_info", "Version of the program")
        .valueIs({{"version", QCF_VERSION}}, 1);
    metrics_.gauge("qcf_watch_start_time_seconds", "When it was started, since 1970")
        .valueIs(static_cast<F64>(std::time(nullptr)));
}

void WatchMetrics::update(RouterSet & routers, RunningComparison const & comparison) {
    if (Clock::now() < next_) {
        return;
    }
    next_ = Clock::now() + std::chrono::seconds(1);
    for (auto & [name, router] : routers.all()) {
        takeRouter(router);
        for (auto const & [key, peer] : router.peers()) {
            MetricLabels labels{{"router", name}, {"peer", nameOf(peer)}};
            auto const result = comparison.of(name, key);
            for (std::size_t i = 0; result.isThere && i < compareKinds; ++i) {
                compare_.add(labels, {"kind", compareKindName(static_cast<CompareKind>(i))},
                             result.counts.kinds[i]);
            }
            labels.emplace_back("rib", "");
            for (std::size_t i = 0; i < ribs; ++i) {
                auto const rib = static_cast<Rib>(i);
                labels.back().second = ribName(rib);
                if (RibState const * const table = peer.table(rib)) {
                    takeTable(labels, *table, rib == routers.settings().rib);
                }
            }
        }
    }
    takePolicy(routers);
    for (Family * const family : {&routes_, &stale_, &verdicts_, &compare_, &decided_, &policy_,
                                  &connected_, &messages_, &damaged_, &bytes_}) {
        family->show();
    }
}

void WatchMetrics::takeRouter(LiveRouter & router) {
    MetricLabels const labels{{"router", router.name()}};
    connected_.add(labels, router.isConnected() ? 1 : 0);
    damaged_.add(labels, router.damaged());
    bytes_.add(labels, router.bytes());
    for (std::size_t i = 0; i < bmpTypes; ++i) {
        messages_.add(labels, {"type", bmpTypeName(static_cast<BmpType>(i))}, router.messages()[i]);
    }
}

void WatchMetrics::takeTable(MetricLabels const & labels, RibState const & table,
                             bool isEvaluated) {
    for (std::size_t i = 0; i < families.size(); ++i) {
        routes_.add(labels, {"family", families[i]}, table.byFamily[i]);
    }
    stale_.add(labels, table.stale ? 1 : 0);
    for (Verdict const verdict : {Verdict::accepted, Verdict::rejected, Verdict::unknown}) {
        if (isEvaluated) {
            verdicts_.add(labels, {"result", verdictName(verdict)}, table.shown.of(verdict));
        }
    }
}

void WatchMetrics::takePolicy(RouterSet const & routers) {
    policy_.add({{"digest", routers.policy().digest}}, 1);
    for (DecidedShare const & share :
         topDeciding(routers.policy(), routers.counts().decided, mostStatements)) {
        decided_.add({{"place", nameOf(share)}}, share.routes);
    }
}
