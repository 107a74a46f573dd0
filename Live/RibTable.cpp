#include "Live/RibTable.h"

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Hash.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <tuple>

namespace Qcf::Live {

char const * verdictName(Verdict verdict) {
    constexpr std::array<char const *, verdictKinds> names = {"false", "true", "unknown", "none"};
    return names[static_cast<U8>(verdict)];
}

RibRoute RibRoute::of(Agent::UpdatePrefix const & key) {
    RibRoute route{};
    std::memcpy(route.address.data(), key.prefix.addr().bytes(), route.address.size());
    route.pathId = key.pathId;
    route.length = key.prefix.len();
    route.bits_ = key.prefix.af() == AddressFamily::ipv6 ? ipv6 : U8{0};
    route.outcomeIs(0, {});
    route.outcomeIs(1, {});
    return route;
}

IpGenPrefix RibRoute::prefix() const {
    return family() == AddressFamily::ipv4
               ? IpGenPrefix(IpGenAddr::v4(Agent::loadU32(address.data())), length)
               : IpGenPrefix(IpGenAddr::v6(address), length);
}

RouteOutcome RibRoute::outcome(U8 side) const {
    U16 const decided = decided_[side];
    return {static_cast<Verdict>((bits_ >> (verdictAt + 2 * side)) & verdictBits),
            static_cast<U16>(decided & ~writesOther), (decided & writesOther) != 0};
}

void RibRoute::outcomeIs(U8 side, RouteOutcome const & outcome) {
    int const at = verdictAt + 2 * side;
    bits_ =
        static_cast<U8>((bits_ & ~(verdictBits << at)) | (static_cast<U8>(outcome.verdict) << at));
    decided_[side] =
        static_cast<U16>(outcome.decidedBy | (outcome.writesOther ? writesOther : U16{0}));
}

RibTable::RibTable() : seed_(std::random_device()()) {}

U64 RibTable::memory() const {
    return room_ * sizeof(RibRoute) + slots_.size() * sizeof(U32) +
           pieces_.capacity() * sizeof(pieces_[0]);
}

U32 RibTable::hashOf(RibRoute const & key) const {
    Hash hash(seed_);
    hash.hashMixBytes(key.address.data(), key.address.size());
    hash.hashMix(key.pathId);
    hash.hashMix(static_cast<U16>(key.length << 8 | static_cast<U8>(key.family())));
    return hash.result();
}

std::size_t RibTable::slotOf(RibRoute const & key, U32 hash) {
    std::size_t const mask = slots_.size() - 1;
    std::size_t slot = hash & mask;
    for (; slots_[slot] != none; slot = (slot + 1) & mask) {
        std::size_t const place = slots_[slot] & placeMask;
        if (slots_[slot] == entryOf(place, hash) && stored(place).isOfKey(key)) {
            break;
        }
    }
    return slot;
}

std::size_t RibTable::slotOfPlace(std::size_t place, U32 hash) const {
    std::size_t const mask = slots_.size() - 1;
    std::size_t slot = hash & mask;
    while (slots_[slot] != entryOf(place, hash)) {
        slot = (slot + 1) & mask;
    }
    return slot;
}

RibRoute * RibTable::find(Agent::UpdatePrefix const & key) {
    if (slots_.empty()) {
        return nullptr;
    }
    RibRoute const wanted = RibRoute::of(key);
    U32 const entry = slots_[slotOf(wanted, hashOf(wanted))];
    return entry == none ? nullptr : &stored(entry & placeMask);
}

RibTable::Inserted RibTable::insert(Agent::UpdatePrefix const & key) {
    constexpr std::size_t least = 16;
    if (4 * (size_ + 1) > 3 * slots_.size()) {
        listIs(std::max(least, 2 * slots_.size()));
    }
    RibRoute const wanted = RibRoute::of(key);
    U32 const hash = hashOf(wanted);
    std::size_t const slot = slotOf(wanted, hash);
    if (slots_[slot] != none) {
        return {&stored(slots_[slot] & placeMask), false};
    }
    QCF_ASSERT(size_ < mostRoutes);
    slots_[slot] = entryOf(size_, hash);
    RibRoute & route = append();
    route = wanted;
    return {&route, true};
}

/// A place behind all.
RibRoute & RibTable::append() {
    constexpr std::size_t least = 16;
    if (size_ == room_ && room_ < pieceSize) {
        std::size_t const room = std::max(least, 2 * room_);
        auto piece = std::make_unique<RibRoute[]>(room);
        if (room_ > 0) {
            std::copy_n(pieces_[0].get(), room_, piece.get());
        }
        pieces_.resize(1);
        pieces_[0] = std::move(piece);
        room_ = room;
    } else if (size_ == room_) {
        pieces_.push_back(std::make_unique<RibRoute[]>(pieceSize));
        room_ += pieceSize;
    }
    return stored(size_++);
}

void RibTable::erase(RibRoute const & route) {
    U32 const hash = hashOf(route);
    std::size_t const slot = slotOf(route, hash);
    std::size_t const place = slots_[slot] & placeMask;
    vacate(slot);
    RibRoute const & last = stored(size_ - 1);
    if (place != size_ - 1) {
        U32 const hashOfLast = hashOf(last);
        slots_[slotOfPlace(size_ - 1, hashOfLast)] = entryOf(place, hashOfLast);
        stored(place) = last;
    }
    --size_;
    // One piece is kept in reserve, for the next ones that come and go.
    if (room_ >= size_ + 2 * pieceSize) {
        pieces_.pop_back();
        room_ -= pieceSize;
    }
}

/// Frees a slot; those behind it move up, so that none is cut off from its hash.
void RibTable::vacate(std::size_t slot) {
    std::size_t const mask = slots_.size() - 1;
    for (std::size_t next = (slot + 1) & mask; slots_[next] != none; next = (next + 1) & mask) {
        std::size_t const home = hashOf(stored(slots_[next] & placeMask)) & mask;
        if (((next - home) & mask) >= ((next - slot) & mask)) {
            slots_[slot] = slots_[next];
            slot = next;
        }
    }
    slots_[slot] = none;
}

void RibTable::clear() {
    pieces_ = std::vector<std::unique_ptr<RibRoute[]>>();
    slots_ = {};
    room_ = 0;
    size_ = 0;
}

/// Lists all in so many slots.
void RibTable::listIs(std::size_t slots) {
    // The old list goes first: both need not be there at a time.
    slots_ = {};
    slots_.assign(slots, none);
    for (std::size_t place = 0; place < size_; ++place) {
        U32 const hash = hashOf(stored(place));
        std::size_t slot = hash & (slots - 1);
        while (slots_[slot] != none) {
            slot = (slot + 1) & (slots - 1);
        }
        slots_[slot] = entryOf(place, hash);
    }
}

std::vector<RibRoute *> RibTable::sorted() {
    std::vector<RibRoute *> routes;
    routes.reserve(size_);
    each([&](RibRoute & route) { routes.push_back(&route); });
    std::ranges::sort(routes,
                      [](RibRoute const * a, RibRoute const * b) { return precedes(*a, *b); });
    return routes;
}

bool RibTable::precedes(RibRoute const & a, RibRoute const & b) {
    auto const key = [](RibRoute const & of) {
        return std::tuple(of.family(), of.address, of.length, of.pathId);
    };
    return key(a) < key(b);
}

} // namespace Qcf::Live
