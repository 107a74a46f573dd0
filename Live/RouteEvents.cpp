#include "Live/RouteEvents.h"

#include "Live/ChangesJson.h"
#include "Platform/Framework/Hash.h"

namespace Qcf::Live {

RouteEvents::RouteEvents(RouterSet & routers, Tell tell)
    : routers_(routers), tell_(std::move(tell)) {
    routers_.watchIs(this);
}

RouteEvents::~RouteEvents() { routers_.watchIs(nullptr); }

RouteEvents::Peer & RouteEvents::peerOf(PeerState const & peer) {
    // Messages of one peer come in runs.
    if (last_ == nullptr || last_->name.second != peer.key || last_->name.first != peer.router) {
        Name name{peer.router, peer.key};
        last_ = &peers_.try_emplace(name).first->second;
        last_->name = std::move(name);
    }
    return *last_;
}

PeerState * RouteEvents::find(Name const & name) {
    auto & routers = routers_.all();
    auto const router = routers.find(name.first);
    if (router == routers.end()) {
        return nullptr;
    }
    auto const peer = router->second.peers().find(name.second);
    return peer == router->second.peers().end() ? nullptr : &peer->second;
}

void RouteEvents::changes(PeerState const & peer, Rib rib, Agent::UpdatePrefix const & key) {
    if (rib == routers_.settings().rib) {
        wait(peerOf(peer), {key.prefix, key.pathId});
    }
}

void RouteEvents::settled(PeerState const & peer) {
    RibState * const table = peer.table(routers_.settings().rib);
    if (!peer.isUp || table == nullptr) {
        return;
    }
    Peer & told = peerOf(peer);
    if (told.toRepeat == 0 && told.toMiss == 0) {
        walks_.push_back(&told);
    }
    told.toMiss = parts;
}

void RouteEvents::forgotten(String const & router) {
    auto const isOf = [&](Name const & name) { return name.first == router; };
    std::erase_if(queue_, [&](Waiting const & waiting) { return isOf(waiting.peer->name); });
    std::erase_if(walks_, [&](Peer const * peer) { return isOf(peer->name); });
    std::erase_if(peers_, [&](auto const & peer) { return isOf(peer.first); });
    last_ = nullptr;
}

void RouteEvents::restart() {
    for (auto & [name, peer] : peers_) {
        if (peer.toRepeat == 0 && peer.toMiss == 0) {
            walks_.push_back(&peer);
        }
        peer.toRepeat = parts;
    }
}

/// Has one part of a peer's routes wait, as far as they are to be looked at.
void RouteEvents::walk() {
    Peer & peer = *walks_.front();
    if (peer.toRepeat > 0) {
        for (auto & [key, told] : peer.routes[--peer.toRepeat]) {
            wait(peer, key, told);
        }
    } else {
        PeerState * const state = find(peer.name);
        RibState * const table = state != nullptr ? state->table(routers_.settings().rib) : nullptr;
        for (auto & [key, told] : peer.routes[--peer.toMiss]) {
            if (table != nullptr && told.verdict != Verdict::none &&
                table->routes.find({key.first, key.second}) == nullptr) {
                wait(peer, key, told);
            }
        }
    }
    if (peer.toRepeat == 0 && peer.toMiss == 0) {
        walks_.pop_front();
    }
}

std::size_t RouteEvents::remembered() const {
    std::size_t sum = 0;
    for (auto const & [name, peer] : peers_) {
        for (Routes const & part : peer.routes) {
            sum += part.size();
        }
    }
    return sum;
}

void RouteEvents::wait(Peer & peer, Key const & key) { wait(peer, key, peer.partOf(key)[key]); }

void RouteEvents::wait(Peer & peer, Key const & key, Told & told) {
    if (!std::exchange(told.waits, true)) {
        queue_.push_back({&peer, key});
    }
}

void RouteEvents::tell(std::size_t most) {
    constexpr std::size_t ofWalk = 16; // so long a part takes, or longer
    while (most > 0 && !isDone()) {
        if (queue_.empty()) {
            walk();
            most -= std::min(most, ofWalk);
            continue;
        }
        Waiting const waiting = queue_.front();
        queue_.pop_front();
        tellOne(waiting);
        --most;
    }
}

void RouteEvents::tellOne(Waiting const & waiting) {
    Routes & routes = waiting.peer->partOf(waiting.key);
    auto const told = routes.find(waiting.key);
    told->second.waits = false;
    Rib const rib = routers_.settings().rib;
    PeerState * const peer = find(waiting.peer->name);
    RibState * const table = peer != nullptr ? peer->table(rib) : nullptr;
    // Of a table that is gone its peer's end has told.
    if (table == nullptr) {
        return;
    }
    Agent::UpdatePrefix const key{waiting.key.first, waiting.key.second};
    RibRoute const * const route = table->routes.find(key);
    auto & judge = routers_.judge();
    Verdict const verdict = route != nullptr ? judge.verdict(*route, *peer, rib) : Verdict::none;
    // What a function changes of a route that it rejects nobody takes over.
    U64 const changes = verdict == Verdict::accepted ? digestOfChanges() : 0;
    Verdict const was = std::exchange(told->second.verdict, verdict);
    bool const isNews = changes != std::exchange(told->second.changes, changes) || verdict != was;
    if (isNews) {
        tell_({{waiting.peer->name.first, peer->key.address, rib, peer->vrf()},
               key,
               verdict,
               was,
               route != nullptr ? &judge.route() : nullptr,
               route != nullptr ? &judge.context() : nullptr});
    }
    if (verdict == Verdict::none && !told->second.waits) {
        routes.erase(told);
    }
}

U64 RouteEvents::digestOfChanges() {
    text_.clear();
    RendererV2 renderer(text_);
    Agent::ValueRenderer values(renderer);
    renderer.beginObject();
    renderChanges(routers_.judge().context(), renderer, values);
    renderer.endObject();
    renderer.endDocument();
    Hash low(1);
    Hash high(2);
    low.hashMix(text_);
    high.hashMix(text_);
    return U64{high.result()} << 32 | low.result();
}

} // namespace Qcf::Live
