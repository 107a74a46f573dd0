#include "Live/Comparison.h"

#include "Agent/Routes/AppliedChanges.h"

#include <algorithm>
#include <functional>

namespace Qcf::Live {

namespace {

using Agent::CommonAttributes;
using Agent::Route;
using Routing::Bgp::AsnVector;

constexpr std::array<char const *, compareKinds> kindNames = {
    "equal", "verdict", "attributes", "unknown", "known", "doubtful", "not compared"};

/// Parts of sets in order, and what follows each other in one piece: two paths say the same when
/// they are equal then.
AsnVector settled(AsnVector const & path) {
    AsnVector result;
    for (auto const segment : path) {
        std::vector<U32> asns(segment.asns.begin(), segment.asns.end());
        using Routing::Bgp::SegmentType;
        if (segment.type == SegmentType::set || segment.type == SegmentType::confedSet) {
            std::ranges::sort(asns);
        }
        result.appendJoined(segment.type, asns);
    }
    return result;
}

bool isSame(U64 a, U64 b) { return a == b; }
bool isSame(IpGenAddr const & a, IpGenAddr const & b) { return a == b; }
bool isSame(Routing::Bgp::AsPath const & a, Routing::Bgp::AsPath const & b) {
    return a.asns() == b.asns() || settled(a.asns()) == settled(b.asns());
}
template <typename Set>
bool isSame(Set const & a, Set const & b) {
    return std::ranges::equal(a, b);
}

/// An attribute that is compared: its name's place among a route's, and whether two have the same.
struct Compared {
    std::size_t index;
    bool (*isEqual)(Route const & a, Route const & b);
};
template <auto member>
constexpr Compared compared() {
    return {Agent::routeIndexOf<member>(),
            [](Route const & a, Route const & b) { return isSame(a.*member, b.*member); }};
}
constexpr std::array<Compared, comparedAttributes> attributes = {
    compared<&CommonAttributes::origin>(),         compared<&CommonAttributes::asPath>(),
    compared<&CommonAttributes::nextHop>(),        compared<&CommonAttributes::med>(),
    compared<&CommonAttributes::localPref>(),      compared<&CommonAttributes::community>(),
    compared<&CommonAttributes::largeCommunity>(), compared<&CommonAttributes::extCommunity>(),
};

/// The router's communities are the engine's and no-export, on a route of BLACKHOLE.
bool addsNoExport(Route const & engine, Route const & router) {
    constexpr U64 blackhole = 0xffff029a;
    constexpr U64 noExport = 0xffffff01;
    auto wanted = engine.community;
    auto const at = std::ranges::lower_bound(wanted, noExport);
    if (!std::ranges::binary_search(wanted, blackhole) || (at != wanted.end() && *at == noExport)) {
        return false;
    }
    wanted.insert(at, noExport);
    return std::ranges::equal(wanted, router.community);
}

/// Calls `visit` with the routes of each prefix of two sorted tables.
template <typename Visit>
void eachPrefix(std::span<RibRoute * const> before, std::span<RibRoute * const> after,
                Visit visit) {
    auto const headOf = [](std::span<RibRoute * const> routes) {
        IpGenPrefix const prefix = routes.front()->prefix();
        std::size_t count = 1;
        while (count < routes.size() && routes[count]->prefix() == prefix) {
            ++count;
        }
        return routes.first(count);
    };
    while (!before.empty() || !after.empty()) {
        auto a = before.empty() ? before : headOf(before);
        auto b = after.empty() ? after : headOf(after);
        if (!a.empty() && !b.empty()) {
            auto const order = a.front()->prefix() <=> b.front()->prefix();
            a = std::is_gt(order) ? a.first(0) : a;
            b = std::is_lt(order) ? b.first(0) : b;
        }
        visit(a, b);
        before = before.subspan(a.size());
        after = after.subspan(b.size());
    }
}

} // namespace

char const * compareKindName(CompareKind kind) { return kindNames[static_cast<U8>(kind)]; }

char const * comparedAttributeName(ComparedAttribute attribute) {
    return Agent::routeAttributeNames()[attributes[static_cast<U8>(attribute)].index];
}

U64 ComparisonCounts::compared() const {
    U64 sum = 0;
    for (U64 const count : kinds) {
        sum += count;
    }
    return sum - of(CompareKind::notCompared);
}

U64 ComparisonCounts::failures() const {
    return of(CompareKind::verdict) + of(CompareKind::attributes) + of(CompareKind::unknown) +
           of(CompareKind::known) - tolerated;
}

void ComparisonCounts::add(ComparisonCounts const & other) {
    auto const addUp = [](auto & to, auto const & from) {
        std::ranges::transform(to, from, to.begin(), std::plus());
    };
    addUp(kinds, other.kinds);
    for (std::size_t i = 0; i < differing.size(); ++i) {
        addUp(differing[i], other.differing[i]);
    }
    for (U64 ComparisonCounts::* const member :
         {&ComparisonCounts::bothAccept, &ComparisonCounts::bothReject,
          &ComparisonCounts::doubtfulVerdicts, &ComparisonCounts::tolerated,
          &ComparisonCounts::young, &ComparisonCounts::inStale, &ComparisonCounts::inUnsettled,
          &ComparisonCounts::withoutBefore, &ComparisonCounts::severalPaths,
          &ComparisonCounts::notSent, &ComparisonCounts::preferenceNotShown,
          &ComparisonCounts::preferenceWanted}) {
        this->*member += other.*member;
    }
}

std::array<RibState *, 2> TableComparison::tablesOf(LiveSettings const & settings,
                                                    PeerState const & peer) {
    bool const isElsewhere =
        settings.rib == Rib::loc &&
        (peer.isLocRib() ? peer.isSentOn : peer.table(settings.against) == nullptr);
    if (isElsewhere) {
        return {};
    }
    return {peer.comparedTable(settings.rib), peer.comparedTable(settings.against)};
}

ComparisonCounts TableComparison::compare(String const & router, PeerState & peer) {
    begin(router, peer, false);
    auto const [before, after] = tablesOf(routers_.settings(), peer);
    std::vector<RibRoute *> const routesBefore =
        before != nullptr ? before->routes.sorted() : std::vector<RibRoute *>();
    std::vector<RibRoute *> const routesAfter =
        after != nullptr ? after->routes.sorted() : std::vector<RibRoute *>();
    ComparisonCounts counts;
    compareSome(routesBefore, routesAfter, counts);
    return counts;
}

void TableComparison::compareSome(Routes before, Routes after, ComparisonCounts & counts) {
    counts_ = {};
    eachPrefix(before, after, [&](Paths a, Paths b) { comparePaths(a, b); });
    counts.add(counts_);
}

void TableComparison::begin(String const & router, PeerState & peer, bool passingYoung) {
    passesYoung_ = passingYoung;
    router_ = &router;
    peer_ = &peer;
    auto const [before, after] = tablesOf(routers_.settings(), peer);
    hasTableAfter_ = after != nullptr;
    showsPreference_ = after != nullptr && after->withLocalPref != 0;
    // What is not shown need not be missing.
    isDoubtful_ = after != nullptr && after->isFiltered;
    pairsIds_ = {true, true};
    for (RibState const * const table : {before, after}) {
        if (table != nullptr) {
            isDoubtful_ = isDoubtful_ || table->inexact || table->stale || table->form.lacksIds();
        }
        auto const form = table != nullptr ? table->form.form(false) : Agent::UpdateForm();
        pairsIds_[0] = pairsIds_[0] && form.ids4;
        pairsIds_[1] = pairsIds_[1] && form.ids6;
    }
}

bool TableComparison::isYoung(Paths paths) const {
    return std::ranges::any_of(
        paths, [&](RibRoute const * route) { return routers_.feed().isYoung(route->changed); });
}

void TableComparison::comparePaths(Paths before, Paths after) {
    if (passesYoung_ && (isYoung(before) || isYoung(after))) {
        counts_.young += before.size();
        note(CompareKind::notCompared, before.size());
    } else if (before.empty()) {
        counts_.withoutBefore += after.size();
        note(CompareKind::notCompared, after.size());
    } else if (!hasTableAfter_) {
        counts_.notSent += before.size();
        note(CompareKind::notCompared, before.size());
    } else if (pairsIds_[before.front()->family() == AddressFamily::ipv6 ? 1 : 0]) {
        compareById(before, after);
    } else if (before.size() > 1 || after.size() > 1) {
        // Which of them became which nobody can tell.
        counts_.severalPaths += before.size();
        note(CompareKind::notCompared, before.size());
    } else {
        compareRoute(*before.front(), after.empty() ? nullptr : after.front());
    }
}

void TableComparison::compareById(Paths before, Paths after) {
    auto at = after.begin();
    auto const passOver = [&](U32 upTo) {
        for (; at != after.end() && (*at)->pathId < upTo; ++at) {
            ++counts_.withoutBefore;
            note(CompareKind::notCompared);
        }
    };
    for (RibRoute const * const route : before) {
        passOver(route->pathId);
        bool const isThere = at != after.end() && (*at)->pathId == route->pathId;
        compareRoute(*route, isThere ? *at++ : nullptr);
    }
    U64 const left = static_cast<U64>(after.end() - at);
    counts_.withoutBefore += left;
    note(CompareKind::notCompared, left);
}

void TableComparison::compareRoute(RibRoute const & before, RibRoute const * after) {
    auto & judge = routers_.judge();
    pathId_ = before.pathId;
    Verdict const verdict = judge.verdict(before, *peer_, routers_.settings().rib);
    if (after != nullptr) {
        stored_.read(*after, *peer_, routers_.settings().against, after_);
    }
    if (verdict == Verdict::accepted && after != nullptr) {
        compareAttributes();
    } else if (verdict == Verdict::unknown) {
        differs(CompareKind::unknown, nullptr, after != nullptr ? &after_ : nullptr);
    } else if (verdict == Verdict::accepted) {
        Route const wanted = appliedTo(judge.route(), judge.context().changes());
        differs(CompareKind::verdict, &wanted, nullptr);
    } else if (after != nullptr) {
        differs(CompareKind::verdict, nullptr, &after_);
    } else {
        ++counts_.bothReject;
        note(CompareKind::equal);
    }
}

void TableComparison::compareAttributes() {
    auto & judge = routers_.judge();
    Route const wanted = appliedTo(judge.route(), judge.context().changes());
    ComparedSet const different = differing(wanted, after_);
    if (different.isEmpty()) {
        ++counts_.bothAccept;
        note(CompareKind::equal);
    } else if (isKnown(different, wanted, after_)) {
        differs(CompareKind::known, &wanted, &after_, different);
    } else {
        differs(CompareKind::attributes, &wanted, &after_, different);
    }
}

ComparedSet TableComparison::differing(Route const & engine, Route const & router) {
    ComparedSet set;
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        if (!attributes[i].isEqual(engine, router)) {
            set.add(static_cast<ComparedAttribute>(i));
        }
    }
    if (!showsPreference_) {
        constexpr U64 usualPreference = 100;
        ++counts_.preferenceNotShown;
        counts_.preferenceWanted += engine.localPref != usualPreference ? 1 : 0;
        set.remove(ComparedAttribute::localPref);
    }
    // Which address of its own the router takes is a matter of its interfaces.
    if (routers_.judge().context().nextHopSetToSelf()) {
        set.remove(ComparedAttribute::nextHop);
    }
    return set;
}

bool TableComparison::isKnown(ComparedSet differing, Route const & engine, Route const & router) {
    if (differing == ComparedSet(ComparedAttribute::community) && addsNoExport(engine, router)) {
        counts_.tolerated += tolerance_.blackholeNoExport ? 1 : 0;
        return true;
    }
    bool const isTolerated =
        (tolerance_.localPreference && differing == ComparedSet(ComparedAttribute::localPref)) ||
        (tolerance_.nextHop && differing == ComparedSet(ComparedAttribute::nextHop));
    counts_.tolerated += isTolerated ? 1 : 0;
    return isTolerated;
}

void TableComparison::differs(CompareKind underlying, Route const * engine, Route const * after,
                              ComparedSet differing) {
    bool const isOfTables =
        underlying == CompareKind::verdict || underlying == CompareKind::attributes;
    CompareKind const kind = isDoubtful_ && isOfTables ? CompareKind::doubtful : underlying;
    note(kind);
    counts_.doubtfulVerdicts +=
        kind == CompareKind::doubtful && underlying == CompareKind::verdict ? 1 : 0;
    for (std::size_t i = 0; i < comparedAttributes; ++i) {
        if (differing.has(static_cast<ComparedAttribute>(i))) {
            ++counts_.differing[i][static_cast<U8>(kind)];
        }
    }
    if (visit_) {
        visit_({*router_, *peer_, pathId_, kind, underlying, routers_.judge().route(), engine,
                after, differing});
    }
}

} // namespace Qcf::Live
