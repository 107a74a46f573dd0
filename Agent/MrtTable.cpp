#include "Agent/MrtTable.h"

#include "Platform/Framework/Assert.h"

#include <array>
#include <utility>

namespace Qcf::Agent {

namespace {

/// What the subtype of a record of routes says; the generic ones name the family inside.
struct RibForm {
    AddressFamily family;
    bool addPath;
};

constexpr auto kRibForms = [] {
    std::array<RibForm, Mrt::ribGenericAddPath + 1> forms{};
    forms[Mrt::ribIpv4Unicast] = forms[Mrt::ribIpv4Multicast] = {AddressFamily::ipv4, false};
    forms[Mrt::ribIpv6Unicast] = forms[Mrt::ribIpv6Multicast] = {AddressFamily::ipv6, false};
    forms[Mrt::ribIpv4UnicastAddPath] =
        forms[Mrt::ribIpv4MulticastAddPath] = {AddressFamily::ipv4, true};
    forms[Mrt::ribIpv6UnicastAddPath] =
        forms[Mrt::ribIpv6MulticastAddPath] = {AddressFamily::ipv6, true};
    forms[Mrt::ribGenericAddPath] = {AddressFamily::none, true};
    return forms;
}();

constexpr MrtPeer kUnknownPeer;

} // namespace

void MrtTable::readPeers(ByteCursor body) {
    auto const peers = std::make_shared<MrtPeers>();
    peers_ = peers;
    body.skip(4); // the collector's identifier
    body.skip(body.u16());
    U32 const count = body.u16();
    for (U32 i = 0; i < count; ++i) {
        U8 const type = body.u8();
        body.skip(4); // the peer's identifier
        bool const v6 = (type & Mrt::ipv6Peer) != 0;
        MrtPeer peer;
        peer.address = readAddress(body, v6 ? AddressFamily::ipv6 : AddressFamily::ipv4);
        peer.as = (type & Mrt::as4Peer) != 0 ? body.u32() : body.u16();
        peers->push_back(peer);
    }
}

bool MrtTable::startV2(U16 subtype, std::span<U8 const> body) {
    QCF_ASSERT(subtype < kRibForms.size());
    left_ = 0;
    v2_ = true;
    rest_ = ByteCursor(body, "record");
    rest_.skip(4); // sequence number
    RibForm const form = kRibForms[subtype];
    AddressFamily family = form.family;
    if (family == AddressFamily::none) {
        FamilyCode code;
        code.afi = rest_.u16();
        code.safi = rest_.u8();
        family = code.routeFamily();
        if (family == AddressFamily::none) {
            return false;
        }
    }
    addPath_ = form.addPath;
    prefix_ = readPrefix(rest_, family);
    left_ = rest_.u16();
    return true;
}

void MrtTable::startV1(U16 subtype, ByteCursor body) {
    left_ = 0;
    v2_ = false;
    AddressFamily const family = FamilyCode::addressFamily(subtype);
    body.skip(4); // view and sequence number
    IpGenAddr const addr = readAddress(body, family);
    U8 const bits = body.u8();
    if (bits > addressWidth(family)) {
        throw Damage("prefix", "is longer than an address");
    }
    prefix_ = IpGenPrefix(addr, bits);
    body.skip(5); // status and time
    ownPeer_.address = readAddress(body, family);
    ownPeer_.as = body.u16();
    std::size_t const length = body.u16();
    rest_ = body.take(length, "path attributes");
    left_ = 1;
}

MrtPeer const & MrtTable::peer(U16 index) const {
    if (!peers_) {
        return kUnknownPeer;
    }
    if (index >= peers_->size()) {
        throw Damage("entry", "names a peer that the PEER_INDEX_TABLE lacks");
    }
    return (*peers_)[index];
}

/// The path attributes of the next entry.
std::span<U8 const> MrtTable::entryOfV2(U16 & peerIndex) {
    std::size_t const headSize = addPath_ ? 12 : 8; // peer, time, perhaps a path identifier, length
    U8 const * const head = rest_.advance(headSize);
    peerIndex = loadU16(head);
    return rest_.bytes(loadU16(head + headSize - 2));
}

bool MrtTable::next(Route & route) {
    if (left_ == 0) {
        return false;
    }
    // Stays 0 when the frame of the entry is damaged: where the next one starts is not known then.
    U32 const left = std::exchange(left_, 0);
    U16 peerIndex = 0;
    std::span<U8 const> const attributes = v2_ ? entryOfV2(peerIndex) : rest_.rest();
    left_ = left - 1;

    MrtPeer const & from = v2_ ? peer(peerIndex) : ownPeer_;
    route.clear();
    route.ipPrefix = prefix_;
    route.sourceSessionRemoteIpAddress = from.address;
    route.sourceSessionRemoteAs = from.as;
    attributes_.decode(attributes, {.as4 = v2_, .rib = true}, route);
    if (attributes_.reach().nextHop.af() != AddressFamily::none) {
        route.nextHop = attributes_.reach().nextHop;
    }
    return true;
}

} // namespace Qcf::Agent
