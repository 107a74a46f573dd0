#include "Live/LiveRouter.h"

#include <algorithm>
#include <utility>

namespace Qcf::Live {

String Where::text() const {
    String text = router;
    if (peer.af() != AddressFamily::none) {
        text += (text.empty() ? "" : " ") + peer.toString();
    }
    return rib ? text + ' ' + ribName(*rib) : text;
}

LiveRouter::LiveRouter(String name, LiveSettings const & settings, TableFeed & feed,
                       LiveListener & listener)
    : name_(std::move(name)),
      settings_(settings),
      feed_(feed),
      listener_(listener),
      log_([this](String const & line) { listener_.note(where_, line); }) {}

LiveRouter::~LiveRouter() {
    for (auto & [key, peer] : peers_) {
        emptyTables(peer);
    }
}

void LiveRouter::connected() {
    // Of two connections the newer one counts.
    if (connected_) {
        lost(true);
    }
    connected_ = true;
    hasNews_ = true;
    settledAt_.reset();
    changedAt_ = messageAt_ = feed_.now();
    log_.restart();
    for (auto & [key, peer] : peers_) {
        peer.isSettled = false;
        for (auto const & table : peer.tables) {
            if (table) {
                ++table->generation;
                table->complete = {};
                // What was lost is sent once more.
                table->inexact = false;
            }
        }
    }
}

void LiveRouter::take(BmpFrame const & frame, U64 offset) {
    ++messages_[static_cast<U8>(frame.type)];
    bytes_ += frame.size;
    messageAt_ = feed_.now();
    hasNews_ = true;
    where_ = {name_};
    table_ = nullptr;
    try {
        read(frame, offset);
    } catch (Damage const & damage) {
        if (table_ != nullptr) {
            ++table_->damaged;
            table_->inexact = true;
        }
        tellDamage(damage, frame.type, offset);
    }
}

void LiveRouter::read(BmpFrame const & frame, U64 offset) {
    switch (frame.type) {
    case BmpType::routeMonitoring:
        monitor(frame.body, offset);
        break;
    case BmpType::peerUp:
        peerUp(frame.body);
        break;
    case BmpType::peerDown:
        peerDown(frame.body);
        break;
    case BmpType::initiation:
        initiate(frame.body);
        break;
    case BmpType::statistics:
    case BmpType::termination:
    case BmpType::routeMirroring:
        break;
    }
}

void LiveRouter::damageIs(Damage const & damage, U64 offset, Where const & where) {
    where_ = where;
    tellDamage(damage, BmpType::routeMonitoring, offset);
}

void LiveRouter::tellDamage(Damage const & damage, BmpType type, U64 offset) {
    ++damaged_;
    // The text is made only where it will be shown: a stream may consist of damage.
    if (log_.wantsLine()) {
        log_.add(String("damaged ") + bmpTypeName(type) + " message at offset " +
                 std::to_string(offset) + ": " + damage.subject() + " " + damage.problem());
    } else {
        log_.addUnsaid();
    }
}

void LiveRouter::monitor(ByteCursor body, U64 offset) {
    PeerHeader const header = PeerHeader::take(body);
    where_ = {name_, header.key.address, header.rib};
    if (!isKept(header.key)) {
        return;
    }
    PeerState & peer = peerOf(header);
    auto & table = peer.tables[static_cast<U8>(header.rib)];
    if (!table) {
        table = feed_.makeTable(peer, header.rib);
    }
    table_ = table.get();
    ByteCursor const update = takeBgpMessage(body, Agent::Mrt::update);
    feed_.take(peer, update, header.as2, offset, where_, *this);
}

/// The peer of a message with routes. Some routers never say that their Loc-RIB is up.
PeerState & LiveRouter::peerOf(PeerHeader const & header) {
    auto const known = peers_.find(header.key);
    if (known != peers_.end() && known->second.isUp) {
        return known->second;
    }
    if (known == peers_.end() && peers_.size() >= mostPeers) {
        throw LimitReached("more than " + std::to_string(mostPeers) + " peers");
    }
    PeerState & peer = peers_[header.key];
    peer.key = header.key;
    peer.as = header.as;
    peer.bgpId = header.bgpId;
    peer.isUp = true;
    peer.isSettled = false;
    peer.changedAt = feed_.now();
    peer.isAssumed = true;
    // Without OPENs messages are taken as they say of themselves.
    peer.open = {};
    listener_.note(where_, "routes come without a Peer Up message before them");
    return peer;
}

void LiveRouter::peerUp(ByteCursor body) {
    PeerHeader const header = PeerHeader::take(body);
    where_ = {name_, header.key.address};
    if (!isKept(header.key)) {
        return;
    }
    PeerUp up = PeerUp::take(body);
    unknownTlvs_ += up.unknownTlvs;
    if (!peers_.contains(header.key) && peers_.size() >= mostPeers) {
        throw LimitReached("more than " + std::to_string(mostPeers) + " peers");
    }
    PeerState & peer = peers_[header.key];
    emptyTables(peer);
    peer.key = header.key;
    peer.as = header.as;
    peer.bgpId = header.bgpId;
    peer.isUp = true;
    peer.isSettled = false;
    peer.changedAt = feed_.now();
    peer.isAssumed = false;
    peer.open = std::move(up);
    auto const vrf = settings_.vrfs.find(peer.open.tableName);
    peer.vrfId = vrf == settings_.vrfs.end() ? PeerState().vrfId : vrf->second;
    peer.pathsSeen = 0;
    peer.pathsWithOwnAs = 0;
    peer.hasOwnAsInFront = false;
    listener_.peer(where_, true, 0);
}

void LiveRouter::peerDown(ByteCursor body) {
    PeerHeader const header = PeerHeader::take(body);
    where_ = {name_, header.key.address};
    U8 const reason = body.u8();
    auto const known = peers_.find(header.key);
    // Routers tell of peers that never were up.
    if (known == peers_.end()) {
        return;
    }
    emptyTables(known->second);
    known->second.isSettled = true;
    if (std::exchange(known->second.isUp, false)) {
        listener_.peer(where_, false, reason);
    }
}

void LiveRouter::initiate(ByteCursor body) {
    constexpr U16 sysDescription = 1;
    while (!body.atEnd()) {
        BmpTlv const tlv = BmpTlv::take(body);
        if (tlv.type == sysDescription) {
            description_ = tlv.text();
        } else {
            unknownTlvs_ += tlv.type > 2 ? 1 : 0;
        }
    }
}

void LiveRouter::emptyTables(PeerState & peer) {
    for (auto & table : peer.tables) {
        if (table) {
            feed_.empty(*table);
            table.reset();
        }
    }
}

bool LiveRouter::isKept(PeerKey const & key) const {
    auto const & kept = settings_.keptPeers;
    return kept.empty() || std::ranges::find(kept, key.address) != kept.end();
}

void LiveRouter::settle() {
    for (auto & [key, peer] : peers_) {
        settle(peer);
    }
    if (connected_ && !settledAt_) {
        settledAt_ = feed_.now();
    }
}

void LiveRouter::settle(PeerState & peer) {
    feed_.settle(peer, name_, *this);
    if (!connected_) {
        return;
    }
    for (auto const & table : peer.tables) {
        if (table) {
            feed_.sweep(*table, AddressFamily::ipv4);
            feed_.sweep(*table, AddressFamily::ipv6);
            table->stale = false;
        }
    }
    peer.isSettled = true;
}

bool LiveRouter::isComplete(PeerState const & peer) const {
    return std::ranges::all_of(std::array{settings_.rib, settings_.against}, [&](Rib rib) {
        RibState const * const table = peer.table(rib);
        return table != nullptr && table->complete[0] && table->complete[1];
    });
}

// A router that never pauses, and never says that it has sent all, is not waited for without end.
bool LiveRouter::isDue(PeerState const & peer) const {
    constexpr int ofPeer = 10;
    constexpr int ofRouter = 60;
    auto const now = feed_.now();
    auto last = std::max(peer.changedAt, changedAt_);
    for (auto const & table : peer.tables) {
        last = std::max(last, table ? table->changedAt : last);
    }
    return now - messageAt_ >= settings_.settle ||
           now - changedAt_ >= ofRouter * settings_.settle ||
           now - last >= ofPeer * settings_.settle || isComplete(peer);
}

void LiveRouter::timePasses() {
    // With the last message behind all, nothing is left to be decided.
    if (!connected_ || !hasNews_) {
        return;
    }
    bool const isQuiet = feed_.now() - messageAt_ >= settings_.settle;
    bool all = isQuiet || !peers_.empty();
    for (auto & [key, peer] : peers_) {
        for (std::size_t i = 0; i < ribs; ++i) {
            if (peer.tables[i]) {
                feed_.decideForm(peer, {name_, key.address, static_cast<Rib>(i)}, *this);
            }
        }
        // In quiet also what a table of later waits for is decided.
        if (isQuiet || (!peer.isSettled && isDue(peer))) {
            settle(peer);
        }
        all = all && peer.isSettled;
    }
    if (!all) {
        settledAt_.reset();
    } else if (!settledAt_) {
        settledAt_ = feed_.now();
    }
    hasNews_ = !isQuiet;
}

void LiveRouter::lost(bool inOrder) {
    connected_ = false;
    changedAt_ = feed_.now();
    settledAt_.reset();
    for (auto & [key, peer] : peers_) {
        // What waited belongs to the connection that is gone.
        feed_.settle(peer, name_, *this);
        peer.isUp = false;
        for (auto const & table : peer.tables) {
            if (table) {
                table->stale = true;
                table->inexact = table->inexact || !inOrder;
            }
        }
    }
    log_.close();
}

} // namespace Qcf::Live
