#include "Live/DifferenceMemory.h"

#include "Agent/Routes/AppliedChanges.h"
#include "Platform/Framework/Hash.h"

namespace Qcf::Live {

U64 DifferenceMemory::digest(RouteDifference const & difference) {
    String text;
    text += static_cast<char>(difference.kind);
    text += static_cast<char>(difference.underlying);
    text += difference.engine != nullptr ? '+' : '-';
    for (std::size_t i = 0; i < comparedAttributes; ++i) {
        auto const attribute = static_cast<ComparedAttribute>(i);
        // What the policy turns down has no attributes that could differ.
        if (difference.engine != nullptr && difference.differing.has(attribute)) {
            char const * const name = comparedAttributeName(attribute);
            text += name + Agent::attributeText(*difference.engine, name) + '\n' +
                    Agent::attributeText(*difference.after, name) + '\n';
        }
    }
    Hash low(1);
    Hash high(2);
    low.hashMix(text);
    high.hashMix(text);
    // Never 0, which stands for nothing.
    return U64{high.result()} << 32 | low.result() | 1U;
}

DifferenceMemory::Known & DifferenceMemory::known(RouteDifference const & difference) {
    return peers_[{difference.router, difference.peer.key}]
                 [{difference.before.ipPrefix, difference.pathId}];
}

bool DifferenceMemory::note(RouteDifference const & difference) {
    Known & one = known(difference);
    count(one, -1);
    one.noted = digest(difference);
    one.isSeen = true;
    count(one, 1);
    return one.noted != one.told;
}

void DifferenceMemory::isTold(RouteDifference const & difference) {
    Known & one = known(difference);
    count(one, -1);
    one.told = one.noted;
}

void DifferenceMemory::passedSome(String const & router, PeerKey const & peer) {
    if (auto const routes = peers_.find({router, peer}); routes != peers_.end()) {
        for (auto & [key, known] : routes->second) {
            known.isSeen = false;
        }
    }
}

void DifferenceMemory::passed(String const & router, PeerKey const & peer, Over const & over) {
    auto const routes = peers_.find({router, peer});
    if (routes == peers_.end()) {
        return;
    }
    for (auto route = routes->second.begin(); route != routes->second.end();) {
        auto const at = route++;
        if (std::exchange(at->second.isSeen, false)) {
            continue;
        }
        count(at->second, -1);
        at->second.noted = 0;
        // What nobody heard of is over without a word.
        if (at->second.told == 0 || over({at->first.first, at->first.second})) {
            routes->second.erase(at);
        } else {
            count(at->second, 1);
        }
    }
    if (routes->second.empty()) {
        peers_.erase(routes);
    }
}

} // namespace Qcf::Live
