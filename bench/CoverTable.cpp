#include "bench/CoverTable.h"

#include <algorithm>

namespace Qcf::Bench {

namespace {

std::vector<Lists::Roa> withoutOrigins(std::span<IpGenPrefix const> prefixes) {
    std::vector<Lists::Roa> roas;
    for (IpGenPrefix const & prefix : prefixes) {
        roas.push_back({prefix, prefix.len(), 0});
    }
    return roas;
}

std::vector<Lists::Roa> ofFamily(std::span<Lists::Roa const> roas, AddressFamily family) {
    std::vector<Lists::Roa> chosen;
    std::copy_if(roas.begin(), roas.end(), std::back_inserter(chosen),
                 [&](Lists::Roa const & roa) { return roa.prefix.af() == family; });
    return chosen;
}

} // namespace

bool CoverTable::behind(U32 & address, U8 length) {
    U64 const next = U64{address} + (U64{1} << (32U - length));
    address = static_cast<U32>(next);
    return next <= ~U32{0};
}

bool CoverTable::behind(V6 & address, U8 length) {
    if (length > 64) {
        address.low += U64{1} << (128U - length);
        address.high += address.low == 0 ? 1 : 0;
    } else {
        address.high += length == 0 ? 0 : U64{1} << (64U - length);
    }
    return address.high != 0 || address.low != 0;
}

template <typename Address>
void CoverTable::Pieces<Address>::build(std::span<Lists::Roa const> roas) {
    starts_ = {Address{}};
    for (Lists::Roa const & roa : roas) {
        Address address = firstOf(roa.prefix, Address{});
        starts_.push_back(address);
        if (behind(address, roa.prefix.len())) {
            starts_.push_back(address);
        }
    }
    std::sort(starts_.begin(), starts_.end());
    starts_.erase(std::unique(starts_.begin(), starts_.end()), starts_.end());
    std::vector<std::vector<Payload>> payloads(starts_.size());
    for (Lists::Roa const & roa : roas) {
        Address address = firstOf(roa.prefix, Address{});
        auto const from = std::lower_bound(starts_.begin(), starts_.end(), address);
        auto const to = behind(address, roa.prefix.len())
                            ? std::lower_bound(from, starts_.end(), address)
                            : starts_.end();
        for (auto piece = from; piece != to; ++piece) {
            payloads[static_cast<std::size_t>(piece - starts_.begin())].push_back(
                {roa.prefix.len(), roa.maxLength, roa.asn});
        }
    }
    for (auto const & ofPiece : payloads) {
        firsts_.push_back(static_cast<U32>(payloads_.size()));
        payloads_.insert(payloads_.end(), ofPiece.begin(), ofPiece.end());
    }
    firsts_.push_back(static_cast<U32>(payloads_.size()));
}

CoverTable::CoverTable(std::span<Lists::Roa const> roas) {
    v4_.build(ofFamily(roas, AddressFamily::ipv4));
    v6_.build(ofFamily(roas, AddressFamily::ipv6));
}

CoverTable::CoverTable(std::span<IpGenPrefix const> prefixes)
    : CoverTable(std::span<Lists::Roa const>(withoutOrigins(prefixes))) {}

} // namespace Qcf::Bench
