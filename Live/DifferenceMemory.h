#pragma once

#include "Live/Comparison.h"

namespace Qcf::Live {

/// Remembers which differences were told, so that each is told when it begins, when it becomes
/// another one, and when it is over.
///
///     if (memory.note(difference) && ... the line was written ...) {
///         memory.isTold(difference);
///     }
///     memory.passed(router, peer, over);  // all of the peer's differences were noted
///
/// What could not be written stays news: the next comparison tells it. Keeps each difference.
/// Belongs to one thread.
class DifferenceMemory {
public:
    /// A difference of that route that was told is over; answers whether it could be written.
    using Over = std::function<bool(Agent::UpdatePrefix const & key)>;

    /// Whether the difference is not the one that was told last of its route.
    bool note(RouteDifference const & difference);
    /// It was told.
    void isTold(RouteDifference const & difference);
    /// Tells of those that were not noted since the call before.
    void passed(String const & router, PeerKey const & peer, Over const & over);
    /// The same of a comparison that left out routes: nobody knows whether theirs are over.
    void passedSome(String const & router, PeerKey const & peer);
    /// Whether something was noted that was not told: the comparison is to be made once more.
    bool hasUntold() const { return untold_ > 0; }

private:
    using Key = std::pair<IpGenPrefix, U32>;
    struct Known {
        U64 noted = 0; ///< digest of what was seen last
        U64 told = 0;  ///< digest of what was told last; 0 for nothing
        bool isSeen = false;
    };
    using Routes = std::map<Key, Known>;

    static U64 digest(RouteDifference const & difference);
    Known & known(RouteDifference const & difference);
    void count(Known const & known, int by) { untold_ += known.noted != known.told ? by : 0; }

    std::map<std::pair<String, PeerKey>, Routes> peers_;
    S64 untold_ = 0;
};

} // namespace Qcf::Live
