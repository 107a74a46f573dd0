#include "Live/RibTable.h"

#include "Platform/Framework/Hash.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <tuple>

namespace Qcf::Live {

namespace {

RibRoute keyOf(Agent::UpdatePrefix const & key) {
    RibRoute route{};
    std::memcpy(route.address.data(), key.prefix.addr().bytes(), route.address.size());
    route.pathId = key.pathId;
    route.family = key.prefix.af();
    route.length = key.prefix.len();
    return route;
}

bool isSame(RibRoute const & a, RibRoute const & b) {
    return a.address == b.address && a.pathId == b.pathId && a.length == b.length &&
           a.family == b.family;
}

} // namespace

IpGenPrefix RibRoute::prefix() const {
    if (family == AddressFamily::ipv4) {
        return {IpGenAddr::v4(Agent::loadU32(address.data())), length};
    }
    return family == AddressFamily::ipv6 ? IpGenPrefix(IpGenAddr::v6(address), length)
                                         : IpGenPrefix();
}

RibTable::RibTable() : seed_(std::random_device()()) {}

std::size_t RibTable::homeOf(RibRoute const & route) const {
    Hash hash(seed_);
    hash.hashMixBytes(route.address.data(), route.address.size());
    hash.hashMix(route.pathId);
    hash.hashMix(static_cast<U16>(route.length << 8 | static_cast<U8>(route.family)));
    return hash.result() & (slots_.size() - 1);
}

RibRoute & RibTable::slotOf(RibRoute const & key) {
    std::size_t const mask = slots_.size() - 1;
    std::size_t slot = homeOf(key);
    while (slots_[slot].family != AddressFamily::none && !isSame(slots_[slot], key)) {
        slot = (slot + 1) & mask;
    }
    return slots_[slot];
}

RibRoute * RibTable::find(Agent::UpdatePrefix const & key) {
    if (slots_.empty()) {
        return nullptr;
    }
    RibRoute & slot = slotOf(keyOf(key));
    return slot.family == AddressFamily::none ? nullptr : &slot;
}

RibTable::Inserted RibTable::insert(Agent::UpdatePrefix const & key) {
    if (4 * (size_ + 1) > 3 * slots_.size()) {
        grow();
    }
    RibRoute const wanted = keyOf(key);
    RibRoute & slot = slotOf(wanted);
    bool const isNew = slot.family == AddressFamily::none;
    if (isNew) {
        slot = wanted;
        ++size_;
    }
    return {&slot, isNew};
}

/// Those behind the slot move up, so that none is cut off from its hash.
void RibTable::erase(RibRoute & route) {
    std::size_t const mask = slots_.size() - 1;
    auto slot = static_cast<std::size_t>(&route - slots_.data());
    for (std::size_t next = (slot + 1) & mask; slots_[next].family != AddressFamily::none;
         next = (next + 1) & mask) {
        std::size_t const home = homeOf(slots_[next]);
        if (((next - home) & mask) >= ((next - slot) & mask)) {
            slots_[slot] = slots_[next];
            slot = next;
        }
    }
    slots_[slot] = RibRoute{};
    --size_;
}

void RibTable::clear() {
    slots_ = {};
    size_ = 0;
}

std::size_t RibTable::firstFree() const {
    return static_cast<std::size_t>(
        std::ranges::find(slots_, AddressFamily::none, &RibRoute::family) - slots_.begin());
}

void RibTable::grow() {
    constexpr std::size_t least = 16;
    std::vector<RibRoute> const old = std::move(slots_);
    slots_.assign(std::max(least, 2 * old.size()), RibRoute{});
    for (RibRoute const & route : old) {
        if (route.family != AddressFamily::none) {
            slotOf(route) = route;
        }
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
        return std::tie(of.family, of.address, of.length, of.pathId);
    };
    return key(a) < key(b);
}

} // namespace Qcf::Live
