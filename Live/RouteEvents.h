#pragma once

#include "Live/RouterSet.h"

#include <deque>
#include <unordered_map>

namespace Qcf::Live {

/// What is new of a route. All is valid only as long as it is handed out.
struct RouteNews {
    Where where;
    Agent::UpdatePrefix key;
    Verdict verdict;                     ///< none for a route that is gone
    Verdict was;                         ///< as it was told last; none where it was not there
    Agent::Route const * route;          ///< as it came; null where it is gone
    Agent::AgentContext const * context; ///< with what the function changed; likewise
};

/// Tells of the evaluated routes whose verdict or changes are not those that were told last. Keys
/// wait, a route at most once, and what is told is how the route is by then: who listens slowly is
/// told less often, and never something that is over.
///
///     RouteEvents events(routers, [](RouteNews const & news) { ... });
///     ... messages are taken ...
///     events.tell(1000);
///
/// What was told is remembered for each route. Of routes that go with their whole table
/// nothing is told until the table is there again, and of a router that is given up nothing is
/// remembered. Belongs to the thread of the routers.
class RouteEvents final : private RouteWatch {
public:
    using Tell = std::function<void(RouteNews const & news)>;

    /// Hears of all routes from here on. The routers must outlive it.
    RouteEvents(RouterSet & routers, Tell tell);
    ~RouteEvents() override;

    /// Looks at so many keys that wait, in the order in which they came. Where whole tables are to
    /// be looked at, their keys come to wait bit by bit.
    void tell(std::size_t most = ~std::size_t{0});
    /// Whether nothing is left to be looked at.
    bool isDone() const { return queue_.empty() && walks_.empty(); }
    /// All routes are evaluated anew, by another function.
    void restart();
    std::size_t waiting() const { return queue_.size(); }
    /// Routes that are remembered.
    std::size_t remembered() const;

private:
    using Name = std::pair<String, PeerKey>;
    using Key = std::pair<IpGenPrefix, U32>;
    struct KeyHash {
        std::size_t operator()(Key const & key) const { return key.first.hash(key.second); }
    };
    struct Told {
        U64 changes = 0; ///< a digest of them
        Verdict verdict = Verdict::none;
        bool waits = false;
    };
    using Routes = std::unordered_map<Key, Told, KeyHash>;
    /// Parts of what is told of a peer: none is so large that it cannot be gone over, or grow, at
    /// once.
    static constexpr std::size_t parts = 128;
    struct Peer {
        Name name;
        std::array<Routes, parts> routes;
        std::size_t toRepeat = 0; ///< parts, the first ones, of which all is to be looked at
        std::size_t toMiss = 0;   ///< parts of which that is to be looked at that is gone

        Routes & partOf(Key const & key) { return routes[key.first.hash(~key.second) % parts]; }
    };
    struct Waiting {
        Peer * peer; ///< those of the map stay where they are
        Key key;
    };

    void changes(PeerState const & peer, Rib rib, Agent::UpdatePrefix const & key) override;
    void settled(PeerState const & peer) override;
    void forgotten(String const & router) override;
    Peer & peerOf(PeerState const & peer);
    PeerState * find(Name const & name);
    void wait(Peer & peer, Key const & key);
    void wait(Peer & peer, Key const & key, Told & told);
    void walk();
    void tellOne(Waiting const & waiting);
    U64 digestOfChanges();

    RouterSet & routers_;
    Tell tell_;
    std::map<Name, Peer> peers_;
    Peer * last_ = nullptr; ///< that was asked for
    std::deque<Waiting> queue_;
    std::deque<Peer *> walks_; ///< each once
    String text_;
};

} // namespace Qcf::Live
