#include "Live/Board.h"

#include <algorithm>

namespace Qcf::Live {

namespace {

/// Blanks before or behind the text make it that wide.
String toTheRight(String const & text, std::size_t width) {
    return String(width - std::min(width, text.size()), ' ') + text;
}
String toTheLeft(String const & text, std::size_t width) {
    return text + String(width - std::min(width, text.size()), ' ');
}

/// Names to the left, numbers below each other.
class Lines {
public:
    void add(String const & name, U64 number, String const & remark = {}) {
        text_ += toTheLeft(name + ':', 40) + toTheRight(std::to_string(number), 12) + remark + '\n';
    }
    void addUnlessZero(String const & name, U64 number) {
        if (number != 0) {
            add(name, number);
        }
    }
    String const & text() const { return text_; }

private:
    String text_;
};

void addKind(Lines & lines, ComparisonCounts const & counts, CompareKind kind) {
    lines.add(compareKindName(kind), counts.of(kind));
    for (std::size_t i = 0; i < comparedAttributes; ++i) {
        lines.addUnlessZero(String("  ") + comparedAttributeName(static_cast<ComparedAttribute>(i)),
                            counts.differing[i][static_cast<U8>(kind)]);
    }
}

struct Column {
    char const * title;
    std::size_t width;
};
constexpr Column columns[] = {{"as", 11},     {"routes", 10},  {"accepted", 10}, {"rejected", 10},
                              {"unknown", 9}, {"equal", 10},   {"verdict", 9},   {"attributes", 12},
                              {"known", 7},   {"doubtful", 10}};
constexpr std::size_t peerWidth = 18;
constexpr std::size_t columnsBeforeBar = 5;

/// What else is to be said of a peer's tables.
String remarks(PeerState const & peer, RibState const * before, RibState const * after,
               ComparisonCounts const & counts) {
    String text;
    if (counts.preferenceNotShown > 0) {
        text += "  local_preference not shown";
    }
    auto const any = [&](auto const & isSo) {
        return (before != nullptr && isSo(*before)) || (after != nullptr && isSo(*after));
    };
    text += any([](RibState const & table) { return table.form.lacksIds(); })
                ? "  no path identifiers"
                : "";
    text += any([](RibState const & table) { return table.inexact; }) ? "  damaged" : "";
    text += any([](RibState const & table) { return table.stale; }) ? "  stale" : "";
    text += any([](RibState const & table) { return table.isFiltered; }) ? "  filtered" : "";
    text += peer.vrf().empty() ? "" : "  VRF " + peer.vrf();
    text += peer.isAssumed ? "  no Peer Up" : "";
    text += peer.isUp && !peer.isSettled ? "  unsettled" : "";
    return text;
}

} // namespace

Board Board::of(RouterSet & routers, Tolerance tolerance, TableComparison::Visit const & visit,
                Passed const & passed) {
    routers.evaluateAnew(std::chrono::steady_clock::time_point::max());
    Board board(routers);
    TableComparison comparison(routers, tolerance, visit);
    for (auto & [name, router] : routers.all()) {
        for (auto & [key, peer] : router.peers()) {
            board.add(name, peer, {comparison.compare(name, peer), true});
            if (passed) {
                passed(name, peer);
            }
        }
    }
    return board;
}

Board Board::shown(RouterSet & routers, RunningComparison const & comparison) {
    Board board(routers);
    for (auto & [name, router] : routers.all()) {
        for (auto & [key, peer] : router.peers()) {
            board.add(name, peer, comparison.of(name, key));
        }
    }
    return board;
}

void Board::add(String const & router, PeerState const & peer,
                RunningComparison::Result const & of) {
    PeerRow & row = rows_.emplace_back(PeerRow{router, &peer, of.counts, of.isThere});
    if (RibState const * const table = evaluated(row)) {
        row.counts.inStale = table->stale ? table->routes.size() : 0;
        row.counts.inUnsettled = !table->stale && !peer.isSettled ? table->routes.size() : 0;
    }
    total_.add(row.counts);
}

RibState const * Board::evaluated(PeerRow const & row) const {
    return row.peer->table(routers_->settings().rib);
}

void Board::appendRow(String & out, PeerRow const & row) const {
    RibState const * const before = evaluated(row);
    PolicyCounts const counted = before != nullptr ? before->shown : PolicyCounts();
    ComparisonCounts const & counts = row.counts;
    U64 const numbers[] = {row.peer->as,
                           before != nullptr ? before->routes.size() : 0,
                           counted.of(Verdict::accepted),
                           counted.of(Verdict::rejected),
                           counted.of(Verdict::unknown),
                           counts.of(CompareKind::equal),
                           counts.of(CompareKind::verdict),
                           counts.of(CompareKind::attributes),
                           counts.of(CompareKind::known),
                           counts.of(CompareKind::doubtful)};
    out += toTheLeft(row.peer->key.address.toString(), peerWidth);
    for (std::size_t i = 0; i < std::size(columns); ++i) {
        out += i == columnsBeforeBar ? " |" : "";
        out += toTheRight(std::to_string(numbers[i]), columns[i].width);
    }
    out += remarks(*row.peer, before, row.peer->table(routers_->settings().against), counts);
    out += '\n';
}

String Board::headOf(LiveRouter & router) const {
    String out = router.name();
    out += router.description().empty() ? "" : "  " + router.description();
    out += "  " + std::to_string(router.peers().size()) + " peers";
    for (std::size_t i = 0; i < ribs; ++i) {
        U64 routes = 0;
        for (auto const & [key, peer] : router.peers()) {
            routes += peer.tables[i] ? peer.tables[i]->routes.size() : 0;
        }
        out += routes == 0
                   ? ""
                   : String("  ") + ribName(static_cast<Rib>(i)) + ' ' + std::to_string(routes);
    }
    if (routers_->now().count() == 0) {
        return out; // recordings have no time
    }
    auto const since = [&](std::chrono::milliseconds at) {
        auto const passed = std::chrono::duration_cast<std::chrono::seconds>(routers_->now() - at);
        return std::to_string(passed.count()) + " s";
    };
    if (!router.isConnected()) {
        return out + "  away for " + since(router.changedAt());
    }
    return out + (router.settledAt() ? "  settled " + since(*router.settledAt()) + " ago"
                                     : String("  unsettled"));
}

String Board::tables() const {
    String out;
    for (auto & [name, router] : routers_->all()) {
        out += headOf(router) + '\n' + toTheLeft("peer", peerWidth);
        for (std::size_t i = 0; i < std::size(columns); ++i) {
            out += i == columnsBeforeBar ? " |" : "";
            out += toTheRight(columns[i].title, columns[i].width);
        }
        out += '\n';
        for (PeerRow const & row : rows_) {
            if (row.router == name) {
                appendRow(out, row);
            }
        }
    }
    return out;
}

String Board::summary() const {
    ComparisonCounts const & counts = total_;
    Lines lines;
    lines.add("compared", counts.compared(), " of " + std::to_string(counts.all()));
    addKind(lines, counts, CompareKind::equal);
    lines.add("  both accept", counts.bothAccept);
    lines.add("  both reject", counts.bothReject);
    addKind(lines, counts, CompareKind::verdict);
    addKind(lines, counts, CompareKind::attributes);
    addKind(lines, counts, CompareKind::unknown);
    addKind(lines, counts, CompareKind::known);
    lines.addUnlessZero("  tolerated", counts.tolerated);
    addKind(lines, counts, CompareKind::doubtful);
    lines.addUnlessZero("  verdict", counts.doubtfulVerdicts);
    lines.add("not compared", counts.of(CompareKind::notCompared));
    lines.addUnlessZero("  no route before policy", counts.withoutBefore);
    lines.addUnlessZero("  several paths of a prefix", counts.severalPaths);
    lines.addUnlessZero("  no table to compare with", counts.notSent);
    lines.addUnlessZero("  changed a moment ago", counts.young);
    lines.addUnlessZero("in stale tables", counts.inStale);
    lines.addUnlessZero("in unsettled tables", counts.inUnsettled);
    lines.addUnlessZero("local_preference not shown", counts.preferenceNotShown);
    lines.addUnlessZero("  engine wants another than 100", counts.preferenceWanted);
    U64 unheld = 0;
    for (PeerRow const & row : rows_) {
        unheld += evaluated(row) != nullptr ? evaluated(row)->withdrawnUnheld : 0;
    }
    lines.addUnlessZero("withdrawals of routes not held", unheld);
    U64 damaged = 0;
    for (auto & [name, router] : routers_->all()) {
        damaged += router.damaged();
    }
    lines.addUnlessZero("damaged messages", damaged);
    return lines.text();
}

std::vector<std::pair<Where, String>> Board::advice() const {
    std::vector<std::pair<Where, String>> lines;
    LiveSettings const & settings = routers_->settings();
    for (auto & [name, router] : routers_->all()) {
        U64 without = 0;
        U64 unheld = 0;
        for (auto const & [key, peer] : router.peers()) {
            RibState const * const before = peer.table(settings.rib);
            RibState const * const after = peer.table(settings.against);
            bool const isEmpty = before == nullptr || before->routes.size() == 0;
            without += isEmpty && after != nullptr && after->routes.size() > 0 ? 1 : 0;
            unheld += before != nullptr && !isEmpty ? before->withdrawnUnheld : 0;
        }
        if (settings.rib == Rib::inPre && without > 0) {
            lines.emplace_back(Where{name},
                               std::to_string(without) +
                                   " peers show routes after policy only: a router may want "
                                   "soft-reconfiguration inbound to show those before it");
        }
        if (unheld > 0) {
            lines.emplace_back(Where{name}, std::to_string(unheld) +
                                                " routes were withdrawn that were never shown: a "
                                                "new connection may show rejected routes that "
                                                "this one lacks");
        }
    }
    return lines;
}

} // namespace Qcf::Live
