#include "Live/LiveRouter.h"

#include <algorithm>
#include <utility>

namespace Qcf::Live {

String Where::text() const {
    String text = router;
    if (peer.af() != AddressFamily::none) {
        text += (text.empty() ? "" : " ") + peer.toString();
    }
    text += vrf.empty() ? "" : " (" + vrf + ")";
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
        tableIsDamaged();
        damageAt(offset, damage, bmpTypeName(frame.type));
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
    damageAt(offset, damage, bmpTypeName(BmpType::routeMonitoring));
}

void LiveRouter::tableIsDamaged() {
    if (table_ != nullptr) {
        ++table_->damaged;
        table_->inexact = true;
    }
}

void LiveRouter::damageAt(U64 offset, Damage const & damage, char const * what) {
    ++damaged_;
    // The text is made only where it will be shown: a stream may consist of damage.
    if (log_.wantsLine()) {
        log_.add(String("damaged ") + what + " message at offset " + std::to_string(offset) + ": " +
                 damage.subject() + " " + damage.problem());
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
    where_.vrf = peer.vrf();
    table_ = &tableOf(peer, header.rib);
    if (header.isFiltered && !std::exchange(table_->isFiltered, true)) {
        listener_.note(where_, "the router does not show all of this table");
    }
    ByteCursor const update = takeBgpMessage(body, Agent::Mrt::update);
    feed_.take(peer, update, header.as2, offset, where_, *this);
}

RibState & LiveRouter::tableOf(PeerState & peer, Rib rib) {
    auto & table = peer.tables[static_cast<U8>(rib)];
    if (!table) {
        table = feed_.makeTable(peer, rib);
        if (rib == Rib::loc || isOut(rib)) {
            findLocRibs();
        }
    }
    return *table;
}

/// Which Loc-RIB is sent to which peers: that of their VRF.
void LiveRouter::findLocRibs() {
    for (auto & [key, peer] : peers_) {
        bool const isSent =
            peer.table(Rib::outPre) != nullptr || peer.table(Rib::outPost) != nullptr;
        if (peer.isLocRib() || !isSent) {
            continue;
        }
        auto const loc = std::ranges::find_if(peers_, [vrf = key.distinguisher](auto const & one) {
            return one.second.isLocRib() && one.first.distinguisher == vrf;
        });
        peer.loc = loc == peers_.end() ? nullptr : &loc->second;
        if (peer.loc != nullptr) {
            peer.loc->isSentOn = true;
        }
    }
}

U32 LiveRouter::vrfIdOf(PeerState const & peer) const {
    auto vrf = settings_.vrfs.find(peer.open.tableName);
    // One that the router gives no name is called by its distinguisher.
    if (vrf == settings_.vrfs.end()) {
        vrf = settings_.vrfs.find(distinguisherText(peer.key.distinguisher));
    }
    return vrf == settings_.vrfs.end() ? PeerState().vrfId : vrf->second;
}

PeerState & LiveRouter::make(PeerKey const & key) {
    if (peers_.size() >= mostPeers && !peers_.contains(key)) {
        throw LimitReached("more than " + std::to_string(mostPeers) + " peers");
    }
    PeerState & peer = peers_[key];
    peer.key = key;
    peer.router = name_;
    return peer;
}

/// The peer of a message with routes. Some routers never say that their Loc-RIB is up.
PeerState & LiveRouter::peerOf(PeerHeader const & header) {
    auto const known = peers_.find(header.key);
    if (known != peers_.end() && known->second.isUp) {
        return known->second;
    }
    PeerState & peer = make(header.key);
    peer.as = header.as;
    peer.bgpId = header.bgpId;
    peer.isUp = true;
    peer.isSettled = false;
    peer.changedAt = feed_.now();
    peer.isAssumed = true;
    // Without OPENs messages are taken as they say of themselves.
    peer.open = {};
    peer.open.sent.as = header.key.type == PeerHeader::locRibType ? header.as : 0;
    peer.vrfId = vrfIdOf(peer);
    where_.vrf = peer.vrf();
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
    PeerState & peer = make(header.key);
    emptyTables(peer);
    peer.as = header.as;
    peer.bgpId = header.bgpId;
    peer.isUp = true;
    peer.isSettled = false;
    peer.changedAt = feed_.now();
    peer.isAssumed = false;
    peer.open = std::move(up);
    peer.vrfId = vrfIdOf(peer);
    where_.vrf = peer.vrf();
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
    where_.vrf = known->second.vrf();
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

/// A collector has its peers up before its records begin.
PeerState & LiveRouter::collected(Collected const & from) {
    PeerKey const key{.type = 0, .distinguisher = 0, .address = from.address};
    where_ = {name_, from.address};
    table_ = nullptr;
    PeerState & peer = make(key);
    if (!std::exchange(peer.isUp, true)) {
        peer.as = from.as;
        peer.open.sent.as = from.ownAs;
        peer.isSettled = false;
        peer.changedAt = feed_.now();
        listener_.peer(where_, true, 0);
    }
    return peer;
}

void LiveRouter::collect(Collected const & from, ByteCursor update,
                         std::optional<Agent::UpdateForm> const & form, U64 offset) {
    ++messages_[static_cast<U8>(BmpType::routeMonitoring)];
    bytes_ += update.left();
    messageAt_ = feed_.now();
    hasNews_ = true;
    if (!isKept({.type = 0, .distinguisher = 0, .address = from.address})) {
        return;
    }
    PeerState & peer = collected(from);
    where_.rib = Rib::inPre;
    table_ = &tableOf(peer, Rib::inPre);
    try {
        if (form) {
            feed_.takeIn(*form, peer, update, where_);
        } else {
            feed_.take(peer, update, false, offset, where_, *this);
        }
    } catch (Damage const & damage) {
        tableIsDamaged();
        damageAt(offset, damage, "UPDATE");
    }
}

void LiveRouter::collectorSays(Collected const & of, bool isUp) {
    auto const known = peers_.find({.type = 0, .distinguisher = 0, .address = of.address});
    // Attempts that came to nothing are told, too.
    if (!isUp && (known == peers_.end() || !known->second.isUp)) {
        return;
    }
    PeerState & peer = collected(of);
    emptyTables(peer);
    if (!isUp) {
        // Records do not say why.
        peer.isUp = false;
        listener_.peer(where_, false, 0);
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
    for (std::size_t i = 0; i < ribs; ++i) {
        if (peer.tables[i]) {
            feed_.sweep(peer, static_cast<Rib>(i), AddressFamily::ipv4);
            feed_.sweep(peer, static_cast<Rib>(i), AddressFamily::ipv6);
            peer.tables[i]->stale = false;
        }
    }
    peer.isSettled = true;
}

bool LiveRouter::isComplete(PeerState const & peer) const {
    return std::ranges::all_of(std::array{settings_.rib, settings_.against}, [&](Rib rib) {
        RibState const * const table = peer.comparedTable(rib);
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
                feed_.decideForm(peer, {name_, key.address, static_cast<Rib>(i), peer.vrf()},
                                 *this);
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
