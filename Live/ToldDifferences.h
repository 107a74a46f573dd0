#pragma once

#include "Live/Comparison.h"

#include <unordered_map>

namespace Qcf::Live {

/// Which differences were told already, so that a comparison that is made again and again tells of
/// each once.
///
///     if (told.isNew(difference)) { tell(difference); }
///     ...
///     told.passed(router, peer); // all of its differences were asked about
///
/// Memory: some 60 bytes a difference that stands.
class ToldDifferences {
public:
    /// Whether the route was not told to differ so.
    bool isNew(RouteDifference const & difference);
    /// All that differs at a peer was asked about since the last time: the rest is over.
    void passed(String const & router, PeerState const & peer);

private:
    struct Route {
        IpGenPrefix prefix;
        U32 pathId;
        bool operator==(Route const &) const = default;
    };
    struct RouteHash {
        std::size_t operator()(Route const & route) const {
            return std::hash<IpGenPrefix>()(route.prefix) + route.pathId;
        }
    };
    struct Told {
        CompareKind kind;
        ComparedSet differing;
        U8 pass;
    };
    struct Peer {
        std::unordered_map<Route, Told, RouteHash> routes;
        U8 pass = 0;
    };

    std::map<std::pair<String, PeerKey>, Peer> peers_;
};

} // namespace Qcf::Live
