#include "Live/ToldDifferences.h"

namespace Qcf::Live {

bool ToldDifferences::isNew(RouteDifference const & difference) {
    Peer & peer = peers_[{difference.router, difference.peer.key}];
    Told const told{difference.kind, difference.differing, peer.pass};
    auto const [at, isNew] =
        peer.routes.try_emplace({difference.before.ipPrefix, difference.pathId}, told);
    bool const isOther = at->second.kind != told.kind || !(at->second.differing == told.differing);
    at->second = told;
    return isNew || isOther;
}

void ToldDifferences::passed(String const & router, PeerState const & peer) {
    auto const at = peers_.find({router, peer.key});
    if (at == peers_.end()) {
        return;
    }
    std::erase_if(at->second.routes,
                  [&](auto const & route) { return route.second.pass != at->second.pass; });
    ++at->second.pass;
    if (at->second.routes.empty()) {
        peers_.erase(at);
    }
}

} // namespace Qcf::Live
