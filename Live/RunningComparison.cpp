#include "Live/RunningComparison.h"

#include "Platform/Framework/Hash.h"

#include <algorithm>
#include <bit>
#include <random>
#include <utility>

namespace Qcf::Live {

namespace {

/// Routes that are looked at between two looks at the clock, about.
constexpr std::size_t routesAtOnce = 512;
constexpr std::size_t placesAtOnce = 8192;
constexpr std::size_t noTable = ~std::size_t{0};

} // namespace

RunningComparison::RunningComparison(RouterSet & routers, Tolerance tolerance,
                                     TableComparison::Visit visit, Passed passed)
    : routers_(routers),
      comparison_(routers, tolerance, std::move(visit)),
      passed_(std::move(passed)),
      seed_(std::random_device()()) {}

RunningComparison::Result RunningComparison::of(String const & router, PeerKey const & peer) const {
    auto const at = states_.find({router, peer});
    return at == states_.end() ? Result() : at->second.result;
}

PeerState * RunningComparison::peerOf(Name const & name) {
    auto const router = routers_.all().find(name.router);
    if (router == routers_.all().end()) {
        return nullptr;
    }
    auto const peer = router->second.peers().find(name.peer);
    return peer == router->second.peers().end() ? nullptr : &peer->second;
}

std::array<RibState *, 2> RunningComparison::tablesOf(PeerState const & peer) const {
    return TableComparison::tablesOf(routers_.settings(), peer);
}

RunningComparison::Content RunningComparison::contentOf(PeerState const & peer) const {
    Content content{};
    auto const tables = tablesOf(peer);
    for (std::size_t i = 0; i < tables.size(); ++i) {
        if (RibState const * const table = tables[i]) {
            content[i] = 4 * table->stamp + (table->stale ? 2U : 0U) + (table->inexact ? 1U : 0U);
        }
    }
    return content;
}

bool RunningComparison::step(Deadline deadline) {
    if (!pass_) {
        pass_ = nextPass();
    }
    while (pass_ && std::chrono::steady_clock::now() < deadline) {
        PeerState * const peer = peerOf(pass_->name);
        if (peer == nullptr || !advance(*pass_, *peer)) {
            pass_ = nextPass();
        }
    }
    return pass_.has_value();
}

bool RunningComparison::isDue(PeerState const & peer, State const & state) const {
    // A table that never is quiet is compared this much more seldom.
    constexpr int whenBusy = 6;
    auto const settle = routers_.settings().settle;
    auto last = std::chrono::milliseconds(0);
    bool isStale = false;
    for (RibState const * const table : tablesOf(peer)) {
        last = std::max(last, table != nullptr ? table->changedAt : last);
        isStale = isStale || (table != nullptr && table->stale);
    }
    bool const isNew = state.round != round_ || state.content != contentOf(peer);
    bool const isQuiet = routers_.now() - last >= settle;
    bool const isOld = routers_.now() - state.at >= whenBusy * settle;
    return (peer.isSettled || isStale) && (isQuiet ? isNew || !state.wasWhole : isNew && isOld);
}

/// The next peer, after the one that was last, that is to be compared.
std::optional<RunningComparison::Pass> RunningComparison::nextPass() {
    forgetGone();
    std::vector<std::pair<Name, PeerState *>> due;
    for (auto & [name, router] : routers_.all()) {
        for (auto & [key, peer] : router.peers()) {
            Name const at{name, key};
            auto const state = states_.find(at);
            if (isDue(peer, state == states_.end() ? State() : state->second)) {
                due.emplace_back(at, &peer);
            }
        }
    }
    if (due.empty()) {
        return {};
    }
    auto next = std::ranges::find_if(due, [&](auto const & one) { return one.first > last_; });
    next = next == due.end() ? due.begin() : next;
    last_ = next->first;
    return passOf(next->first, *next->second);
}

void RunningComparison::forgetGone() {
    std::erase_if(states_, [&](auto const & state) { return peerOf(state.first) == nullptr; });
}

RunningComparison::Pass RunningComparison::passOf(Name const & name, PeerState & peer) const {
    auto const tables = tablesOf(peer);
    Pass pass{.name = name, .round = round_, .content = contentOf(peer)};
    std::size_t routes = 0;
    pass.isQuiet = true;
    pass.places.fill(noTable);
    for (std::size_t i = 0; i < tables.size(); ++i) {
        if (RibState const * const table = tables[i]) {
            pass.places[i] = table->routes.size();
            routes += table->routes.size();
            pass.isQuiet =
                pass.isQuiet && routers_.now() - table->changedAt >= routers_.settings().settle;
        }
    }
    pass.buckets.resize(std::bit_ceil(routes / routesAtOnce + 1));
    return pass;
}

bool RunningComparison::advance(Pass & pass, PeerState & peer) {
    auto const tables = tablesOf(peer);
    for (std::size_t i = 0; i < tables.size(); ++i) {
        if ((tables[i] == nullptr) != (pass.places[i] == noTable)) {
            return false; // it comes up again, since it changed
        }
        if (tables[i] != nullptr && pass.scanned[i] < pass.places[i]) {
            scan(pass, i, tables[i]->routes);
            return true;
        }
    }
    if (pass.next < pass.buckets.size()) {
        compare(pass, peer);
        return true;
    }
    finish(pass, peer);
    return false;
}

void RunningComparison::scan(Pass & pass, std::size_t which, RibTable & table) const {
    std::size_t const end = std::min(pass.scanned[which] + placesAtOnce, pass.places[which]);
    for (std::size_t & at = pass.scanned[which]; at < end; ++at) {
        if (RibRoute * const route = table.at(at)) {
            route->changed = routers_.feed().isYoung(route->changed) ? route->changed : U8{0};
            pass.buckets[bucketOf(pass, *route)][which].push_back(static_cast<U32>(at));
        }
    }
}

std::size_t RunningComparison::bucketOf(Pass const & pass, RibRoute const & route) const {
    Hash hash(seed_);
    hash.hashMixBytes(route.address.data(), route.address.size());
    hash.hashMix(route.length);
    return hash.result() & (pass.buckets.size() - 1);
}

void RunningComparison::compare(Pass & pass, PeerState & peer) {
    auto const tables = tablesOf(peer);
    std::array<std::vector<RibRoute *>, 2> routes;
    for (std::size_t i = 0; i < tables.size(); ++i) {
        for (U32 const place : pass.buckets[pass.next][i]) {
            // What was there may have gone, and another one moved up.
            RibRoute * const route = tables[i]->routes.at(place);
            if (route != nullptr && bucketOf(pass, *route) == pass.next) {
                routes[i].push_back(route);
            }
        }
        std::ranges::sort(routes[i], [](RibRoute const * a, RibRoute const * b) {
            return RibTable::precedes(*a, *b);
        });
    }
    pass.buckets[pass.next] = {};
    ++pass.next;
    comparison_.begin(pass.name.router, peer, !pass.isQuiet);
    comparison_.compareSome(routes[0], routes[1], pass.counts);
}

void RunningComparison::finish(Pass const & pass, PeerState const & peer) {
    State & state = states_[pass.name];
    state.result = {pass.counts, true};
    state.round = pass.round;
    state.content = pass.content;
    state.wasWhole = pass.isQuiet;
    state.at = routers_.now();
    if (passed_) {
        passed_(pass.name.router, peer, pass.isQuiet);
    }
}

} // namespace Qcf::Live
