#pragma once

#include "Live/RouterSet.h"

namespace Qcf::Live {

/// What came of comparing a route.
enum class CompareKind : U8 {
    equal,       ///< both accept with equal attributes, or both reject
    verdict,     ///< one of them has the route and the other has not
    attributes,  ///< both have it, with other attributes
    unknown,     ///< the engine has no verdict
    known,       ///< a difference that the router is known to make by itself
    doubtful,    ///< of verdict or attributes, where the tables do not tell for certain
    notCompared, ///< there is nothing to compare with
};
constexpr std::size_t compareKinds = 7;
/// "equal", "not compared".
char const * compareKindName(CompareKind kind);

/// Attributes that are compared, each a bit in this order.
enum class ComparedAttribute : U8 {
    origin,
    asPath,
    nextHop,
    med,
    localPref,
    community,
    largeCommunity,
    extCommunity,
};
constexpr std::size_t comparedAttributes = 8;
/// The language name.
char const * comparedAttributeName(ComparedAttribute attribute);

/// Some of the attributes that are compared.
class ComparedSet {
public:
    constexpr ComparedSet() = default;
    constexpr explicit ComparedSet(ComparedAttribute attribute)
        : bits_(static_cast<U8>(1U << static_cast<U8>(attribute))) {}

    constexpr bool has(ComparedAttribute attribute) const {
        return (bits_ & ComparedSet(attribute).bits_) != 0;
    }
    constexpr void add(ComparedAttribute attribute) { bits_ |= ComparedSet(attribute).bits_; }
    constexpr void remove(ComparedAttribute attribute) {
        bits_ &= static_cast<U8>(~ComparedSet(attribute).bits_);
    }
    constexpr bool isEmpty() const { return bits_ == 0; }
    constexpr bool operator==(ComparedSet const &) const = default;

private:
    U8 bits_ = 0;
};

/// Differences that do no harm to a migration.
struct Tolerance {
    bool blackholeNoExport = false; ///< no-export added to a route of BLACKHOLE (RFC 7999)
    bool localPreference = false;   ///< where only that differs
    bool nextHop = false;           ///< likewise
};

/// What comparing tables came to.
struct ComparisonCounts {
    std::array<U64, compareKinds> kinds{};
    U64 bothAccept = 0; ///< of the equal ones
    U64 bothReject = 0;
    U64 doubtfulVerdicts = 0; ///< of the doubtful ones
    U64 tolerated = 0;        ///< of the known ones
    /// Of those that are not compared: there is no route before policy, several paths cannot be
    /// told apart, or no table to compare with was sent.
    U64 withoutBefore = 0;
    U64 severalPaths = 0;
    U64 notSent = 0;
    /// Routes that changed too lately to be compared.
    U64 young = 0;
    /// Routes of evaluated tables whose connection is gone, and of those that are still being sent.
    U64 inStale = 0;
    U64 inUnsettled = 0;
    /// By attribute and kind. A route counts for each attribute that differs.
    std::array<std::array<U64, compareKinds>, comparedAttributes> differing{};
    /// Accepted routes of tables without any LOCAL_PREF, and those of them for which the engine
    /// wants another one than 100.
    U64 preferenceNotShown = 0;
    U64 preferenceWanted = 0;

    U64 of(CompareKind kind) const { return kinds[static_cast<U8>(kind)]; }
    U64 compared() const;
    U64 all() const { return compared() + of(CompareKind::notCompared); }
    /// Differences that are none of the router's own.
    U64 failures() const;
    void add(ComparisonCounts const & other);
};

/// A route that is not equal. All is valid only as long as it is handed out.
struct RouteDifference {
    String const & router;
    PeerState const & peer;
    U32 pathId; ///< of the route
    CompareKind kind;
    CompareKind underlying;      ///< verdict or attributes of a doubtful one
    Agent::Route const & before; ///< as it came
    Agent::Route const * engine; ///< as the engine leaves it; null where it rejects
    Agent::Route const * after;  ///< as the router has it; null where it does not
    ComparedSet differing;
};

/// Compares what the engine makes of each route of a peer's table with the route that the router
/// has. Routes are paired by prefix, and by path identifier where both tables have them.
///
///     TableComparison comparison(routers, tolerance, visit);
///     ComparisonCounts const counts = comparison.compare(router, peer);
///
/// Differences come in the order of prefixes. Belongs to the thread of the routers.
class TableComparison {
public:
    using Visit = std::function<void(RouteDifference const &)>;

    /// An empty `visit` is not called.
    TableComparison(RouterSet & routers, Tolerance tolerance, Visit visit = {})
        : routers_(routers),
          tolerance_(tolerance),
          visit_(std::move(visit)),
          stored_(routers.store()) {}

    ComparisonCounts compare(String const & router, PeerState & peer);
    /// What is compared with what at a peer. What becomes of a Loc-RIB is seen at the peers that it
    /// is sent to, and there alone. Both null where nothing is compared.
    static std::array<RibState *, 2> tablesOf(LiveSettings const & settings,
                                              PeerState const & peer);

    /// The same in pieces, between which the tables may change: `begin` before each piece, then the
    /// routes of some prefixes, all of each, in the order of a table. What came of it is added to
    /// `counts`. With `passingYoung` routes that changed lately are left out.
    using Routes = std::span<RibRoute * const>;
    void begin(String const & router, PeerState & peer, bool passingYoung);
    void compareSome(Routes before, Routes after, ComparisonCounts & counts);

private:
    /// Routes of one prefix.
    using Paths = std::span<RibRoute * const>;

    bool isYoung(Paths paths) const;
    void comparePaths(Paths before, Paths after);
    void compareById(Paths before, Paths after);
    void compareRoute(RibRoute const & before, RibRoute const * after);
    /// Both have it.
    void compareAttributes();
    /// What differs, without what the router does not show.
    ComparedSet differing(Agent::Route const & engine, Agent::Route const & router);
    /// Whether the router made this difference by itself; counts whether that is tolerated.
    bool isKnown(ComparedSet differing, Agent::Route const & engine, Agent::Route const & router);
    void differs(CompareKind underlying, Agent::Route const * engine, Agent::Route const * after,
                 ComparedSet differing = {});
    void note(CompareKind kind, U64 count = 1) { counts_.kinds[static_cast<U8>(kind)] += count; }

    RouterSet & routers_;
    Tolerance tolerance_;
    Visit visit_;
    StoredRoutes stored_;
    Agent::Route after_;
    ComparisonCounts counts_;

    // Of the tables that are compared.
    String const * router_ = nullptr;
    PeerState * peer_ = nullptr;
    U32 pathId_ = 0; ///< of the route at hand
    bool isDoubtful_ = false;
    bool passesYoung_ = false;
    bool showsPreference_ = false;
    bool hasTableAfter_ = false;
    std::array<bool, 2> pairsIds_{}; ///< by family
};

} // namespace Qcf::Live
