#include "Command/WatchLive.h"

#include "Command/Log.h"
#include "Command/Output.h"
#include "Command/Signals.h"
#include "Command/WatchTeller.h"
#include "Command/WatchView.h"
#include "Live/ToldDifferences.h"

namespace {

using namespace Qcf::Live; // NOLINT(google-build-using-namespace): what this command is about

/// A station with what it shows while it runs.
class LiveWatch {
public:
    LiveWatch(WatchOptions const & options, PreparedPolicy const & prepared)
        : options_(options),
          teller_(options, prepared),
          routers_(options.settings, prepared.function, prepared.matchers, teller_),
          comparison_(
              routers_, options.tolerance(),
              [this](RouteDifference const & difference) { differs(difference); },
              [this](String const & router, PeerState const & peer, bool isWhole) {
                  if (isWhole) {
                      told_.passed(router, peer);
                  }
              }),
          view_(routers_, comparison_, options.policy.policy.path),
          station_(routers_, options.station) {
        station_.add(comparison_);
    }

    int run();

private:
    void differs(RouteDifference const & difference) {
        // People see them at the end, when they stand still.
        if (options_.isJson() && told_.isNew(difference)) {
            teller_.differs(difference);
        }
    }
    void tellPlaces();
    void show();
    /// All at last, told as of recordings.
    int finish(Station::End end);

    WatchOptions const & options_;
    WatchTeller teller_;
    ToldDifferences told_;
    RouterSet routers_;
    RunningComparison comparison_;
    WatchView view_;
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
    Board const board =
        Board::of(routers_, options_.tolerance(), [this](RouteDifference const & difference) {
            if (!options_.isJson() || told_.isNew(difference)) {
                teller_.differs(difference);
            }
        });
    teller_.board(board);
    if (end == Station::End::incomplete) {
        tellError("a router has gone before all of its tables had come");
        return 1;
    }
    return end == Station::End::settled && board.total().failures() > 0 ? 1 : 0;
}

} // namespace

int watchRouters(WatchOptions const & options, PreparedPolicy const & prepared) {
    stopOnSignals();
    LiveWatch watch(options, prepared);
    return watch.run();
}
