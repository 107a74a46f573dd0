#include "Live/TableFeed.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace Qcf::Live {

namespace {

/// What waits for the form of its table.
constexpr std::size_t mostWaiting = 256;
constexpr std::size_t mostWaitingBytes = std::size_t{1} << 20;

/// Ticks count from 1 to this, then from 1 again.
constexpr int ticks = 255;
constexpr int ticksToSettle = 4;
/// For how long a table's first messages may wait for others to vote.
constexpr std::chrono::milliseconds voting{1000};

/// Whether a path begins with a sequence of these.
bool beginsWith(std::span<U8 const> path, bool as4, std::initializer_list<U32> asns) {
    constexpr U8 sequence = 2;
    std::size_t const width = as4 ? 4 : 2;
    if (path.size() < 2 + asns.size() * width || path[0] != sequence || path[1] < asns.size()) {
        return false;
    }
    U8 const * at = path.data() + 2;
    for (U32 const as : asns) {
        U32 const found = as4 ? Agent::loadU32(at) : U32{Agent::loadU16(at)};
        if (found != (as4 || as <= 0xffff ? as : Agent::Mrt::asTrans)) {
            return false;
        }
        at += width;
    }
    return true;
}

std::size_t numberOf(AddressFamily family) { return family == AddressFamily::ipv6 ? 1 : 0; }

} // namespace

void TableFeed::nowIs(std::chrono::milliseconds now) {
    now_ = now;
    auto const part = std::max<std::chrono::milliseconds>(settings_.settle / ticksToSettle,
                                                          std::chrono::milliseconds(1));
    tick_ = static_cast<U8>(1 + now_ / part % ticks);
}

bool TableFeed::isYoung(U8 changed) const {
    return changed != 0 && (tick_ + ticks - changed) % ticks <= ticksToSettle;
}

std::unique_ptr<RibState> TableFeed::makeTable(PeerState const & peer, Rib rib) const {
    auto table = std::make_unique<RibState>();
    table->form = TableForm(peer.open.declaredForm(rib, false), settings_.trustFlags);
    table->hasNext = judge_.hasNext();
    return table;
}

void TableFeed::take(PeerState & peer, ByteCursor update, bool as2, U64 offset, Where const & where,
                     MessageSource & source) {
    RibState & table = *peer.table(*where.rib);
    isChanged(table);
    TableForm::Needs const needs = table.form.vote(update, as2);
    if (table.waiting.empty() && table.form.isDecided(needs)) {
        tellForm(table, where, as2);
        apply(table.form.form(as2), peer, update, where);
        return;
    }
    auto const bytes = update.rest();
    table.waitingBytes += bytes.size();
    table.waiting.push_back({{bytes.begin(), bytes.end()}, needs, offset});
    if (table.waiting.size() >= mostWaiting || table.waitingBytes >= mostWaitingBytes) {
        table.form.close();
    }
    drain(peer, where, source);
}

/// What waited and can be read now, in its order.
void TableFeed::drain(PeerState & peer, Where const & where, MessageSource & source) {
    RibState & table = *peer.table(*where.rib);
    while (!table.waiting.empty() && table.form.isDecided(table.waiting.front().needs)) {
        RibState::Waiting const message = std::move(table.waiting.front());
        table.waiting.pop_front();
        table.waitingBytes -= message.update.size();
        tellForm(table, where, message.needs.as2);
        try {
            apply(table.form.form(message.needs.as2), peer,
                  ByteCursor(message.update, "UPDATE message"), where);
        } catch (Damage const & damage) {
            ++table.damaged;
            table.inexact = true;
            source.damageIs(damage, message.offset, where);
        }
    }
}

void TableFeed::tellForm(RibState & table, Where const & where, bool as2) {
    if (table.form.idsAgainst() && !std::exchange(table.idsTold, true)) {
        listener_.note(where, table.form.declaresIds()
                                  ? "path identifiers were negotiated, none are sent"
                                  : "path identifiers are sent that were not negotiated");
    }
    if (table.form.widthAgainst(as2) && !std::exchange(table.widthTold, true)) {
        listener_.note(where, as2 ? "AS numbers have four bytes, two are declared"
                                  : "AS numbers have two bytes, four are declared");
    }
}

void TableFeed::takeIn(Agent::UpdateForm form, PeerState & peer, ByteCursor update,
                       Where const & where) {
    isChanged(*peer.table(*where.rib));
    apply(form, peer, update, where);
}

void TableFeed::apply(Agent::UpdateForm form, PeerState & peer, ByteCursor update,
                      Where const & where) {
    Rib const rib = *where.rib;
    RibState & table = *peer.table(rib);
    update_.check(update, form);
    // A prefix in both lists counts as announced.
    for (auto place : update_.withdrawn()) {
        for (Agent::UpdatePrefix key; place.next(key);) {
            withdraw(peer, rib, key);
        }
    }
    for (PrefixPlace const place : {PrefixPlace::field, PrefixPlace::attribute}) {
        announce(peer, rib, place, form.as4);
    }
    if (update_.announcements() > 0 && rib == Rib::inPre && peer.isExternal()) {
        noticeOwnAs(peer, form.as4);
        // Often at the start and ever more seldom, since the tables are evaluated again.
        if (peer.pathsSeen >= TableForm::enough && std::has_single_bit(peer.pathsSeen)) {
            decideOwnAs(peer, where.router);
        }
    }
    if (update_.announcements() > 0 && isOut(rib) && peer.isExternal()) {
        ++table.sentPaths;
        table.sentWithOwnAs += beginsWith(kept_.path, form.as4, {peer.ownAs()}) ? 1 : 0;
        if (table.sentPaths >= TableForm::enough && std::has_single_bit(table.sentPaths)) {
            decideSentAs(peer, table, where);
        }
    }
    if (update_.endOfRib() != AddressFamily::none) {
        complete(peer, update_.endOfRib(), where);
    }
}

void TableFeed::noticeAfter(PeerState & peer, Rib rib, Agent::UpdatePrefix const & key) {
    RibState * const before =
        rib == settings_.against ? peer.comparedTable(settings_.rib) : nullptr;
    if (RibRoute * const route = before != nullptr ? before->routes.find(key) : nullptr) {
        route->changed = tick_;
    }
}

void TableFeed::withdraw(PeerState & peer, Rib rib, Agent::UpdatePrefix const & key) {
    RibState & table = *peer.table(rib);
    noticeAfter(peer, rib, key);
    ++table.withdrawn;
    RibRoute * const route = table.routes.find(key);
    if (route == nullptr) {
        ++table.withdrawnUnheld;
        return;
    }
    forget(table, *route);
    table.routes.erase(*route);
    tell(peer, rib, key);
}

/// Takes a route out of all counts; its place in the table is the caller's.
void TableFeed::forget(RibState & table, RibRoute const & route) {
    table.uncount(route);
    table.withLocalPref -= route.has(RibRoute::localPref) ? 1 : 0;
    store_.release(route.attributes);
    --table.byFamily[numberOf(route.family())];
    --routes_;
}

void TableFeed::announce(PeerState & peer, Rib rib, PrefixPlace place, bool as4) {
    auto & prefixes = update_.announced()[static_cast<U8>(place)];
    if (prefixes.atEnd()) {
        return;
    }
    RibState & table = *peer.table(rib);
    kept_.assign(update_.attributes(), place);
    for (Agent::UpdatePrefix key; prefixes.next(key);) {
        checkLimits(table, key);
        U32 const attributes = store_.add(kept_.bytes);
        auto const [route, isNew] = table.routes.insert(key);
        if (!isNew) {
            forget(table, *route);
        }
        ++routes_;
        ++table.byFamily[numberOf(key.prefix.af())];
        ++table.announced;
        route->attributes = attributes;
        route->marksAre(static_cast<U8>((as4 ? RibRoute::as4 : 0) |
                                        (kept_.hasLocalPref ? RibRoute::localPref : 0)));
        route->generation = table.generation;
        route->changed = tick_;
        noticeAfter(peer, rib, key);
        table.withLocalPref += kept_.hasLocalPref ? 1 : 0;
        judge(peer, table, rib, *route);
        tell(peer, rib, key);
    }
}

void TableFeed::checkLimits(RibState & table, Agent::UpdatePrefix const & key) const {
    if (routes_ >= settings_.maxRoutes && table.routes.find(key) == nullptr) {
        throw LimitReached("more than " + std::to_string(settings_.maxRoutes) + " routes");
    }
    if (table.routes.size() >= RibTable::mostRoutes) {
        throw LimitReached("more than " + std::to_string(RibTable::mostRoutes) +
                           " routes of a table");
    }
    if (store_.isFull()) {
        throw LimitReached("path attributes of more than 16 GiB");
    }
}

void TableFeed::judge(PeerState & peer, RibState & table, Rib rib, RibRoute & route) {
    if (rib == settings_.rib) {
        judge_.judge(route, peer, rib, table.side);
        table.count(route);
    }
}

void TableFeed::judgeAll(PeerState & peer, RibState & table) {
    table.toJudge = table.routes.size();
    hasToJudge_ = true;
    while (!judgesLater_ && judgeSome(peer, table)) {
    }
}

// From the end to the beginning: what comes is put behind, and what goes has its place taken by the
// last, so that none is passed by.
bool TableFeed::judgeSome(PeerState & peer, RibState & table) {
    constexpr std::size_t atOnce = 64;
    table.toJudge = std::min(table.toJudge, table.routes.size());
    for (std::size_t i = 0; i < atOnce && table.toJudge > 0; ++i) {
        RibRoute & route = *table.routes.at(--table.toJudge);
        table.uncount(route);
        judge(peer, table, settings_.rib, route);
        tell(peer, settings_.rib, {route.prefix(), route.pathId});
    }
    return table.toJudge > 0;
}

void TableFeed::noticeOwnAs(PeerState & peer, bool as4) {
    ++peer.pathsSeen;
    peer.pathsWithOwnAs += beginsWith(kept_.path, as4, {peer.ownAs(), peer.as}) ? 1 : 0;
}

/// Some routers put their own AS in front of what external peers sent.
void TableFeed::decideOwnAs(PeerState & peer, String const & router) {
    bool const isInFront = 2 * peer.pathsWithOwnAs > peer.pathsSeen;
    if (isInFront == std::exchange(peer.hasOwnAsInFront, isInFront)) {
        return;
    }
    listener_.note({router, peer.key.address},
                   isInFront ? "own AS " + std::to_string(peer.ownAs()) +
                                   " stands in front of received paths: it is taken off"
                             : "own AS does not stand in front of received paths any more");
    if (RibState * const table = peer.table(settings_.rib)) {
        judgeAll(peer, *table);
    }
}

/// What a router sends to an external peer has its own AS in front, whatever its policy did.
void TableFeed::decideSentAs(PeerState & peer, RibState & table, Where const & where) {
    bool const isInFront = 2 * table.sentWithOwnAs > table.sentPaths;
    if (isInFront == std::exchange(table.hasOwnAsInFront, isInFront)) {
        return;
    }
    listener_.note(where, isInFront ? "own AS " + std::to_string(peer.ownAs()) +
                                          " stands in front of sent paths: it is taken off"
                                    : "own AS does not stand in front of sent paths any more");
    if (*where.rib == settings_.rib) {
        judgeAll(peer, table);
    }
}

void TableFeed::complete(PeerState & peer, AddressFamily family, Where const & where) {
    RibState & table = *peer.table(*where.rib);
    sweep(peer, *where.rib, family);
    table.complete[numberOf(family)] = true;
    table.stale = table.stale && !(table.complete[0] && table.complete[1]);
    listener_.sync(where, family, table.byFamily[numberOf(family)]);
}

void TableFeed::sweep(PeerState & peer, Rib rib, AddressFamily family) {
    RibState & table = *peer.table(rib);
    if (!table.stale) {
        return;
    }
    table.routes.eraseIf([&](RibRoute const & route) {
        bool const isOld = route.family() == family && route.generation != table.generation;
        if (isOld) {
            forget(table, route);
            tell(peer, rib, {route.prefix(), route.pathId});
        }
        return isOld;
    });
}

void TableFeed::empty(RibState & table) {
    constexpr std::size_t atOnce = 64;
    std::vector<U32> attributes;
    attributes.reserve(atOnce);
    auto const release = [&] {
        store_.release(attributes);
        attributes.clear();
    };
    table.routes.each([&](RibRoute const & route) {
        attributes.push_back(route.attributes);
        if (attributes.size() == atOnce) {
            release();
        }
    });
    release();
    routes_ -= table.routes.size();
    table.routes.clear();
    table.byFamily = {};
    table.withLocalPref = 0;
    table.shown = {};
    table.next = {};
    table.changes = {};
    table.waiting.clear();
    table.waitingBytes = 0;
}

void TableFeed::decideForm(PeerState & peer, Where const & where, MessageSource & source) {
    RibState & table = *peer.table(*where.rib);
    if (!table.waiting.empty() && now_ - table.changedAt >= voting) {
        table.form.close();
        drain(peer, where, source);
    }
}

void TableFeed::settle(PeerState & peer, String const & router, MessageSource & source) {
    for (std::size_t i = 0; i < ribs; ++i) {
        if (peer.tables[i]) {
            peer.tables[i]->form.close();
            Where const where{router, peer.key.address, static_cast<Rib>(i), peer.vrf()};
            drain(peer, where, source);
            if (peer.tables[i]->sentPaths > 0) {
                decideSentAs(peer, *peer.tables[i], where);
            }
        }
    }
    if (peer.pathsSeen > 0) {
        decideOwnAs(peer, router);
    }
    if (watch_ != nullptr) {
        watch_->settled(peer);
    }
}

} // namespace Qcf::Live
