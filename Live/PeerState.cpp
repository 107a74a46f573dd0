#include "Live/PeerState.h"

#include <utility>

namespace Qcf::Live {

void RibState::count(RibRoute const & route) {
    shown.add(route.outcome(side));
    if (hasNext) {
        next.add(route.outcome(otherSide()));
        changes.add(route.outcome(side), route.outcome(otherSide()));
    }
}

void RibState::uncount(RibRoute const & route) {
    shown.remove(route.outcome(side));
    if (hasNext) {
        next.remove(route.outcome(otherSide()));
        changes.remove(route.outcome(side), route.outcome(otherSide()));
    }
}

void RibState::nextBegins() {
    hasNext = true;
    next = {};
    changes = {};
}

void RibState::nextIsShown() {
    side = otherSide();
    hasNext = false;
    shown = std::exchange(next, {});
    changes = {};
}

} // namespace Qcf::Live
