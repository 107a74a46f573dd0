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
    return room_ * sizeof(RibRoute) + index_.memory() + pieces_.capacity() * sizeof(pieces_[0]);
}

U32 RibTable::hashOf(RibRoute const & key) const {
    Hash hash(seed_);
    hash.hashMixBytes(key.address.data(), key.address.size());
    hash.hashMix(key.pathId);
    hash.hashMix(static_cast<U16>(key.length << 8 | static_cast<U8>(key.family())));
    return hash.result();
}

U32 RibTable::listed(RibRoute const & key, U32 hash) {
    return index_.find(hash, [&](U32 entry) {
        std::size_t const place = entry & placeMask;
        return entry == entryOf(place, hash) && stored(place).isOfKey(key);
    });
}

RibRoute * RibTable::find(Agent::UpdatePrefix const & key) {
    RibRoute const wanted = RibRoute::of(key);
    U32 const entry = listed(wanted, hashOf(wanted));
    return entry == NumberIndex::none ? nullptr : &stored(entry & placeMask);
}

RibTable::Inserted RibTable::insert(Agent::UpdatePrefix const & key) {
    RibRoute const wanted = RibRoute::of(key);
    U32 const hash = hashOf(wanted);
    if (U32 const entry = listed(wanted, hash); entry != NumberIndex::none) {
        return {&stored(entry & placeMask), false};
    }
    QCF_ASSERT(size_ < mostRoutes);
    index_.insert(hash, entryOf(size_, hash), Keys{*this});
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
    U32 const entry = listed(route, hash);
    std::size_t const place = entry & placeMask;
    index_.remove(hash, entry);
    RibRoute const & last = stored(size_ - 1);
    if (place != size_ - 1) {
        U32 const hashOfLast = hashOf(last);
        index_.replace(hashOfLast, entryOf(size_ - 1, hashOfLast), entryOf(place, hashOfLast));
        stored(place) = last;
    }
    --size_;
    // One piece is kept in reserve, for the next ones that come and go.
    if (room_ >= size_ + 2 * pieceSize) {
        pieces_.pop_back();
        room_ -= pieceSize;
    }
}

void RibTable::clear() {
    pieces_ = std::vector<std::unique_ptr<RibRoute[]>>();
    index_.clear();
    room_ = 0;
    size_ = 0;
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
