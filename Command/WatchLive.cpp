#include "Command/WatchLive.h"

#include "Command/Log.h"
#include "Command/Output.h"
#include "Command/PolicyTask.h"
#include "Command/Signals.h"
#include "Command/WatchMetrics.h"
#include "Command/WatchTeller.h"
#include "Command/WatchView.h"
#include "Live/LateEvaluation.h"
#include "Live/RouteEvents.h"

namespace {

using namespace Qcf::Live; // NOLINT(google-build-using-namespace): what this command is about

/// Writes events as fast as they are read, and no faster.
class EventTask final : public StationTask {
public:
    EventTask(RouterSet & routers, WatchTeller & teller, RunningComparison & comparison,
              bool tellsRoutes)
        : teller_(teller), comparison_(comparison) {
        if (tellsRoutes) {
            news_.emplace(routers, [this](RouteNews const & news) { teller_.route(news); });
        }
    }

    bool step(Deadline deadline) override {
        bool const isFree = teller_.write();
        // A difference that could not be written is found once more.
        auto const now = std::chrono::steady_clock::now();
        if (isFree && teller_.hasUntold() && now - restartedAt_ > std::chrono::seconds(1)) {
            comparison_.restart();
            restartedAt_ = now;
        }
        while (news_ && !news_->isDone() && std::chrono::steady_clock::now() < deadline) {
            if (!teller_.write()) {
                return false;
            }
            news_->tell(routesAtOnce);
        }
        return news_ && !news_->isDone();
    }
    /// Another policy is shown: what it makes of routes may be news.
    void restart() {
        if (news_) {
            news_->restart();
        }
    }
    /// All that is left, however slowly it is read.
    void finish() {
        if (news_) {
            news_->tell();
        }
    }

private:
    static constexpr std::size_t routesAtOnce = 16;

    WatchTeller & teller_;
    RunningComparison & comparison_;
    std::optional<RouteEvents> news_;
    std::chrono::steady_clock::time_point restartedAt_;
};

/// A station with what it shows while it runs.
class LiveWatch {
public:
    LiveWatch(WatchOptions const & options, WatchPolicy & source,
              WatchPolicy::Policy const & policy)
        : options_(options),
          metrics_(options.policy.function),
          places_(metrics_.metrics(), options.metrics.targets()),
          teller_(options, policy),
          routers_(options.settings, policy, teller_),
          comparison_(
              routers_, options.tolerance(),
              [this](RouteDifference const & difference) { differs(difference); },
              [this](String const & router, PeerState const & peer, bool isWhole) {
                  teller_.passed(router, peer, isWhole);
              }),
          policies_(source, routers_, static_cast<U32>(options.threads),
                    [this](PolicyChange const & change) {
                        teller_.policy(change);
                        comparison_.restart();
                        if (events_) {
                            events_->restart();
                        }
                    }),
          view_(routers_, comparison_,
                options.isPublished() ? options.redis.name : options.policy.policy.path),
          station_(routers_, options.station) {
        station_.add(late_);
        station_.add(comparison_);
        station_.add(policies_);
        if (options.isJson()) {
            teller_.eventsWait();
            events_.emplace(routers_, teller_, comparison_, options.only != "differs");
            station_.add(*events_);
        }
    }

    int run();

private:
    void differs(RouteDifference const & difference) {
        // People see them at the end, when they stand still.
        if (options_.isJson()) {
            teller_.differs(difference);
        }
    }
    void tellPlaces();
    void show();
    /// All at last, told as of recordings.
    int finish(Station::End end);

    WatchOptions const & options_;
    WatchMetrics metrics_;
    ShownMetrics places_;
    WatchTeller teller_;
    RouterSet routers_;
    LateEvaluation late_{routers_};
    RunningComparison comparison_;
    PolicyTask policies_;
    WatchView view_;
    std::optional<EventTask> events_;
    Station station_;
};

void LiveWatch::tellPlaces() {
    for (StationAddress const & at : station_.listening()) {
        teller_.note({}, "listens at " + at.text());
    }
}

void LiveWatch::show() {
    if (options_.output == "table") {
        view_.show();
    }
    metrics_.update(routers_, comparison_);
    standardOutput().flush();
}

int LiveWatch::run() {
    bool const isScreen = options_.output == "table" && WatchView::isScreen();
    if (isScreen) {
        teller_.notesGoTo([this](String const & line) { view_.note(line); });
    }
    tellPlaces();
    Station::End const end = station_.run([this] {
        show();
        return !stopIsAsked();
    });
    if (isScreen) {
        view_.close();
        teller_.notesGoTo({});
    }
    return finish(end);
}

int LiveWatch::finish(Station::End end) {
    if (events_) {
        teller_.eventsAreDue();
        events_->finish();
    }
    Board const board = Board::of(
        routers_, options_.tolerance(),
        [this](RouteDifference const & difference) { teller_.differs(difference); },
        [this](String const & router, PeerState const & peer) {
            teller_.passed(router, peer, true);
        });
    teller_.board(board);
    if (end == Station::End::incomplete) {
        tellError("a router has gone before all of its tables had come");
        return 1;
    }
    return end == Station::End::settled && board.total().failures() > 0 ? 1 : 0;
}

} // namespace

int watchRouters(WatchOptions const & options, WatchPolicy & source,
                 WatchPolicy::Policy const & policy) {
    stopOnSignals();
    reloadOnSignal();
    LiveWatch watch(options, source, policy);
    return watch.run();
}
