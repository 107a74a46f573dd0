#pragma once

#include "Live/RouterSet.h"
#include "Live/SliceWorkers.h"

#include <chrono>

namespace Qcf::Live {

/// What came of putting another policy in the place of the one that was shown.
struct PolicyChange {
    std::shared_ptr<LivePolicy const> from;
    std::shared_ptr<LivePolicy const> to;
    U64 routes = 0; ///< that were there at the end
    std::chrono::milliseconds time{0};
    ChangeCounts changes = {}; ///< of these
};

/// Goes over all routes that are evaluated, some at a time, while routes come and go between.
/// Those that were there at the start, and still are, it meets once; of those that come it meets
/// some.
class RouteWalk {
public:
    /// Routes of one table. Good until something changes.
    struct Piece {
        PeerState * peer = nullptr; ///< null at the end
        RibState * table = nullptr;
        std::size_t begin = 0;
        std::size_t end = 0;
    };

    /// The next ones, as many at most.
    Piece next(RouterSet & routers, std::size_t most);

private:
    Piece nextOf(LiveRouter & router, Rib rib, std::size_t most);

    static constexpr std::size_t wholeTable = ~std::size_t{0};
    // From the end of each table to its beginning: what comes is put behind, and what goes has its
    // place taken by the last, so that neither hides a route that was not met.
    String router_;
    std::optional<PeerKey> peer_;
    std::size_t place_ = wholeTable;
};

/// Puts another policy in the place of the one by which routes are evaluated, beside reading. All
/// routes are evaluated again, slice by slice; what comes meanwhile is evaluated by both. What is
/// shown is the policy before until the last slice is done, and then the other one at once: no
/// count mixes the two.
///
///     PolicySwap swap(routers, threads);
///     swap.begin(policy);
///     while (!(change = swap.step(deadline))) { ...read... }
///
/// One at a time: a policy that comes while another one is on its way takes its place. Belongs to
/// the thread of the routers; its workers run during a step alone.
class PolicySwap {
public:
    using Clock = std::chrono::steady_clock;

    /// Routes that a step evaluates at most.
    static constexpr std::size_t slice = 10'000;

    PolicySwap(RouterSet & routers, U32 threads);

    void begin(std::shared_ptr<LivePolicy const> next);
    bool isUnderWay() const { return next_ != nullptr; }
    /// Goes on until the deadline or the end of a slice. Answers what came of it at the end, which
    /// is in the step that does the last route.
    std::optional<PolicyChange> step(Clock::time_point deadline);

private:
    void beginEvaluation();
    /// Whether all routes are done.
    bool clear(Clock::time_point deadline);
    bool evaluate(Clock::time_point deadline);
    void evaluate(RouteWalk::Piece const & piece);
    PolicyChange finish();
    /// Calls `visit(table)` for all that are evaluated.
    template <typename Visit>
    void eachTable(Visit visit);

    RouterSet & routers_;
    SliceWorkers workers_;
    std::vector<RouteJudge> judges_; ///< of the workers but the first
    std::shared_ptr<LivePolicy const> next_;
    bool isEvaluating_ = false;
    RouteWalk walk_;
    std::vector<RibRoute *> waiting_;
    Clock::time_point began_;
};

} // namespace Qcf::Live
