#include "Live/StationLoop.h"

#include <algorithm>

namespace Qcf::Live {

namespace {

constexpr std::chrono::milliseconds tickTime{100};
/// Reads between two looks at whether the tasks have something to do.
constexpr int readsInARow = 16;

} // namespace

StationLoop::StationLoop(RouterSet & routers, StationSettings settings)
    : routers_(routers), settings_(std::move(settings)) {
    acceptors_.reserve(settings_.listen.size());
    for (StationAddress const & at : settings_.listen) {
        listen(at);
    }
    for (auto & acceptor : acceptors_) {
        accept(acceptor);
    }
    for (StationAddress const & at : settings_.connect) {
        targets_.push_back(std::make_unique<Target>(io_, at));
        connect(*targets_.back());
    }
}

StationLoop::~StationLoop() {
    // Sessions hold themselves by their handlers, which go with the context.
    for (SessionPtr const & session : sessions_) {
        session->stream.flush();
    }
}

void StationLoop::nowIs() {
    routers_.nowIs(std::chrono::duration_cast<milliseconds>(Clock::now() - beginning_));
}

void StationLoop::armTick() {
    ticker_.expires_after(tickTime);
    ticker_.async_wait([this](auto const & error) {
        if (!error) {
            nowIs();
            tick();
            ticked_ = true;
            armTick();
        }
    });
}

void StationLoop::tick() {
    closeSlow();
    std::vector<String> gone;
    for (auto & [name, router] : routers_.all()) {
        router.timePasses();
        if (!router.isConnected() && now() - router.changedAt() >= settings_.keep) {
            gone.push_back(name);
        }
    }
    for (String const & name : gone) {
        note({name}, "its tables are given up: it has not come back");
        routers_.forget(name);
    }
    resync();
    for (Nuisance * const nuisance : {&refused_, &crowded_, &failed_}) {
        nuisance->tell(now(), routers_.listener());
    }
}

void StationLoop::closeSlow() {
    std::vector<SessionPtr> const sessions(sessions_.begin(), sessions_.end());
    for (SessionPtr const & session : sessions) {
        session->stream.flush();
        auto const since = session->stream.waitsSince();
        if (since && now() - *since >= settings_.messageTime) {
            close(*session, "a message does not come to its end", false);
        }
    }
}

void StationLoop::resync() {
    if (!settings_.resync) {
        return;
    }
    std::vector<SessionPtr> const sessions(sessions_.begin(), sessions_.end());
    for (SessionPtr const & session : sessions) {
        LiveRouter * const router = session->stream.router();
        if (router != nullptr && router->settledAt() && resynced_.insert(router->name()).second) {
            close(*session, "closed, so that the router sends everything again", true);
        }
    }
}

bool StationLoop::isDone() {
    if (!settings_.once || routers_.all().empty() ||
        !std::ranges::all_of(targets_, [](auto const & target) { return target->isHeard; })) {
        return false;
    }
    bool isWhole = true;
    for (auto & [name, router] : routers_.all()) {
        // Of a router that was made to connect anew, the next connection is waited for.
        bool const isAwaited =
            settings_.resync && (!resynced_.contains(name) || !router.isConnected());
        bool const isPending = router.isConnected()
                                   ? !router.settledAt()
                                   : now() - router.changedAt() < routers_.settings().settle;
        if (isAwaited || isPending) {
            return false;
        }
        isWhole = isWhole && router.isConnected();
    }
    end_ = isWhole ? End::settled : End::incomplete;
    return true;
}

bool StationLoop::stepTasks() {
    bool hasMore = false;
    auto const deadline = Clock::now() + StationSettings::slice;
    for (std::size_t i = 0; i < tasks_.size() && Clock::now() < deadline; ++i) {
        nextTask_ = (nextTask_ + 1) % tasks_.size();
        hasMore = tasks_[nextTask_]->step(deadline) || hasMore;
    }
    return hasMore;
}

StationEnd StationLoop::run(std::function<bool()> const & goesOn) {
    nowIs();
    armTick();
    for (bool hasWork = false;;) {
        if (std::exchange(ticked_, false)) {
            if (!goesOn()) {
                return End::asked;
            }
            isEnding_ = isEnding_ || isDone();
            hasWork = true;
        }
        if (isEnding_) {
            return end_;
        }
        hasWork = hasWork && stepTasks();
        int reads = 0;
        while (reads < readsInARow && io_.poll_one() > 0) {
            ++reads;
        }
        if (reads == 0 && !hasWork) {
            io_.run_one();
        }
    }
}

} // namespace Qcf::Live
