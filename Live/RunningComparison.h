#pragma once

#include "Live/Comparison.h"
#include "Live/StationTask.h"

namespace Qcf::Live {

/// Keeps the comparison of all peers' tables up to date while they change: a peer is compared again
/// once its tables were quiet for long enough, and where they never are, now and then without those
/// routes that changed lately.
///
///     RunningComparison comparison(routers, tolerance, visit, passed);
///     station.add(comparison);
///     comparison.of("edge1", key);
///
/// A peer's routes are compared in an order that means nothing, some hundreds at a time, and told
/// each time again. Belongs to the thread of the routers.
class RunningComparison final : public StationTask {
public:
    /// What came of comparing a peer's tables.
    struct Result {
        ComparisonCounts counts;
        bool isThere = false; ///< they were compared at least once
    };
    /// All of a peer's differences were told; not `isWhole` where some routes were left out.
    using Passed = std::function<void(String const & router, PeerState const & peer, bool isWhole)>;

    /// The routers must outlive it; both functions may be empty.
    RunningComparison(RouterSet & routers, Tolerance tolerance, TableComparison::Visit visit,
                      Passed passed = {});

    bool step(Deadline deadline) override;
    /// Compares all again, because the function is another one.
    void restart() { ++round_; }
    /// The last result that is whole.
    Result of(String const & router, PeerKey const & peer) const;

private:
    struct Name {
        String router;
        PeerKey peer;
        auto operator<=>(Name const &) const = default;
    };
    /// What two tables hold, and whether it can be trusted: other numbers, another content.
    using Content = std::array<U64, 2>;
    /// Where a peer's comparison stands.
    struct State {
        Result result;
        U64 round = 0; ///< of the last comparison
        Content content{};
        bool wasWhole = false;
        std::chrono::milliseconds at{0};
    };
    /// One comparison of a peer, under way.
    struct Pass {
        Name name;
        U64 round = 0;
        Content content{};
        bool isQuiet = false;
        std::array<std::size_t, 2> places{}; ///< of both tables; what comes later is left out
        std::array<std::size_t, 2> scanned{};
        /// Places of routes by a hash of their prefix, so that few at a time are in order, and a
        /// prefix stands in one.
        std::vector<std::array<std::vector<U32>, 2>> buckets = {};
        std::size_t next = 0; ///< bucket
        ComparisonCounts counts = {};
    };

    PeerState * peerOf(Name const & name);
    std::array<RibState *, 2> tablesOf(PeerState const & peer) const;
    Content contentOf(PeerState const & peer) const;
    bool isDue(PeerState const & peer, State const & state) const;
    std::optional<Pass> nextPass();
    Pass passOf(Name const & name, PeerState & peer) const;
    void forgetGone();
    /// Does a piece; false where the pass is done, or cannot go on.
    bool advance(Pass & pass, PeerState & peer);
    void scan(Pass & pass, std::size_t which, RibTable & table) const;
    std::size_t bucketOf(Pass const & pass, RibRoute const & route) const;
    void compare(Pass & pass, PeerState & peer);
    void finish(Pass const & pass, PeerState const & peer);

    RouterSet & routers_;
    TableComparison comparison_;
    Passed passed_;
    std::map<Name, State> states_;
    std::optional<Pass> pass_;
    Name last_; ///< peers take turns
    U64 round_ = 1;
    U32 seed_;
};

} // namespace Qcf::Live
