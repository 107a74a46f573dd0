#pragma once

#include "Live/RunningComparison.h"

namespace Qcf::Live {

/// A peer's tables and what comparing them came to.
struct PeerRow {
    String router;
    PeerState const * peer;
    ComparisonCounts counts;
    bool isCompared = true; ///< as soon as its tables have settled
};

/// What a station holds at one moment, for people. Made whole each time: nothing is kept.
///
///     Board const board = Board::of(routers, tolerance, visit);
///     out << board.tables() << board.summary();
class Board {
public:
    /// All differences of a peer were visited.
    using Passed = std::function<void(String const & router, PeerState const & peer)>;
    /// Compares the tables of all peers; `visit` as TableComparison has it. The routers must not
    /// change as long as the board is used.
    static Board of(RouterSet & routers, Tolerance tolerance,
                    TableComparison::Visit const & visit = {}, Passed const & passed = {});

    /// What a running comparison has come to so far; quick, however many routes there are.
    static Board shown(RouterSet & routers, RunningComparison const & comparison);

    ComparisonCounts const & total() const { return total_; }
    std::vector<PeerRow> const & rows() const { return rows_; }
    /// A line a router and a line a peer.
    String tables() const;
    /// Coverage first, then what came of the comparison, a line a number.
    String summary() const;
    /// What people should know before they trust the numbers, a line each: routers that show no
    /// routes before policy, and those that leave out some.
    std::vector<std::pair<Where, String>> advice() const;

private:
    explicit Board(RouterSet & routers) : routers_(&routers) {}

    RibState const * evaluated(PeerRow const & row) const;
    void appendRow(String & out, PeerRow const & row) const;
    String headOf(LiveRouter & router) const;
    void add(String const & router, PeerState const & peer, RunningComparison::Result const & of);

    RouterSet * routers_;
    std::vector<PeerRow> rows_;
    ComparisonCounts total_;
};

} // namespace Qcf::Live
