#include "Live/PolicySwap.h"

#include <algorithm>
#include <utility>

namespace Qcf::Live {

RouteWalk::Piece RouteWalk::next(RouterSet & routers, std::size_t most) {
    auto & all = routers.all();
    for (auto router = all.lower_bound(router_); router != all.end(); ++router) {
        if (router->first != router_) {
            router_ = router->first;
            peer_.reset();
        }
        if (Piece const piece = nextOf(router->second, routers.settings().rib, most);
            piece.peer != nullptr) {
            return piece;
        }
    }
    return {};
}

RouteWalk::Piece RouteWalk::nextOf(LiveRouter & router, Rib rib, std::size_t most) {
    auto & peers = router.peers();
    for (auto peer = peer_ ? peers.lower_bound(*peer_) : peers.begin(); peer != peers.end();
         ++peer) {
        if (peer_ != peer->first) {
            peer_ = peer->first;
            place_ = wholeTable;
        }
        RibState * const table = peer->second.table(rib);
        place_ = table == nullptr ? 0 : std::min(place_, table->routes.size());
        if (place_ > 0) {
            std::size_t const end = place_;
            place_ -= std::min(most, place_);
            return {&peer->second, table, place_, end};
        }
    }
    return {};
}

PolicySwap::PolicySwap(RouterSet & routers, U32 threads) : routers_(routers), workers_(threads) {
    for (U32 i = 1; i < workers_.size(); ++i) {
        judges_.emplace_back(routers.store(), routers.judge().policy());
    }
}

template <typename Visit>
void PolicySwap::eachTable(Visit visit) {
    for (auto & [name, router] : routers_.all()) {
        for (auto & [key, peer] : router.peers()) {
            if (RibState * const table = peer.table(routers_.settings().rib)) {
                visit(*table);
            }
        }
    }
}

void PolicySwap::begin(std::shared_ptr<LivePolicy const> next) {
    began_ = Clock::now();
    if (isEvaluating_) {
        routers_.judge().nextIs(nullptr);
        eachTable([](RibState & table) { table.hasNext = false; });
        isEvaluating_ = false;
    }
    next_ = std::move(next);
    walk_ = {};
}

void PolicySwap::beginEvaluation() {
    routers_.judge().nextIs(next_);
    for (RouteJudge & judge : judges_) {
        judge.nextIs(next_);
    }
    eachTable([](RibState & table) { table.nextBegins(); });
    walk_ = {};
    isEvaluating_ = true;
}

std::optional<PolicyChange> PolicySwap::step(Clock::time_point deadline) {
    if (!isUnderWay()) {
        return std::nullopt;
    }
    // Its own outcomes are of routes as they are.
    if (routers_.evaluateAnew(deadline)) {
        return std::nullopt;
    }
    if (!isEvaluating_) {
        if (!clear(deadline)) {
            return std::nullopt;
        }
        beginEvaluation();
    }
    return evaluate(deadline) ? std::optional(finish()) : std::nullopt;
}

// Outcomes of a policy before may stand on the other side.
bool PolicySwap::clear(Clock::time_point deadline) {
    constexpr std::size_t most = 10'000;
    do {
        auto const piece = walk_.next(routers_, most);
        if (piece.peer == nullptr) {
            return true;
        }
        for (std::size_t place = piece.begin; place < piece.end; ++place) {
            piece.table->routes.at(place)->outcomeIs(piece.table->otherSide(), {});
        }
    } while (Clock::now() < deadline);
    return false;
}

bool PolicySwap::evaluate(Clock::time_point deadline) {
    // So few that the time is looked at often enough whatever the policy is.
    std::size_t const most = std::size_t{64} * (workers_.size() == 1 ? 1 : 8 * workers_.size());
    for (std::size_t done = 0; done < slice;) {
        auto const piece = walk_.next(routers_, std::min(most, slice - done));
        if (piece.peer == nullptr) {
            return true;
        }
        evaluate(piece);
        done += piece.end - piece.begin;
        if (Clock::now() >= deadline) {
            break;
        }
    }
    return false;
}

void PolicySwap::evaluate(RouteWalk::Piece const & piece) {
    RibState & table = *piece.table;
    // What came since the start has been evaluated by both.
    waiting_.clear();
    for (std::size_t place = piece.begin; place < piece.end; ++place) {
        RibRoute * const route = table.routes.at(place);
        if (route->outcome(table.otherSide()).verdict == Verdict::none) {
            waiting_.push_back(route);
        }
    }
    auto const work = [&](U32 number) {
        RouteJudge & judge = number == 0 ? routers_.judge() : judges_[number - 1];
        std::size_t const count = waiting_.size();
        for (std::size_t i = count * number / workers_.size();
             i < count * (number + 1) / workers_.size(); ++i) {
            judge.judgeNext(*waiting_[i], *piece.peer, routers_.settings().rib, table.side);
        }
    };
    workers_.size() == 1 ? work(0) : workers_.run(work);
    for (RibRoute const * const route : waiting_) {
        RouteOutcome const next = route->outcome(table.otherSide());
        table.next.add(next);
        table.changes.add(table.shownOf(*route), next);
    }
}

PolicyChange PolicySwap::finish() {
    PolicyChange change{routers_.judge().policy(), std::exchange(next_, nullptr)};
    eachTable([&](RibState & table) {
        change.changes.add(table.changes);
        table.nextIsShown();
    });
    routers_.judge().nextIsShown();
    for (RouteJudge & judge : judges_) {
        judge.nextIsShown();
    }
    isEvaluating_ = false;
    change.routes = change.changes.routes();
    change.time = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - began_);
    return change;
}

} // namespace Qcf::Live
