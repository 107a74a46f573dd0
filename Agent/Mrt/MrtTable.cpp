#include "Agent/Mrt/MrtTable.h"

#include "Platform/Framework/Assert.h"

#include <array>
#include <utility>

/// Entries of routing tables. A record of TABLE_DUMP_V2 has one prefix and an entry for each peer,
/// which it names by index; one of TABLE_DUMP is a single entry with its peer.
namespace Qcf::Agent {

namespace {

/// What the subtype of a record of routes says; the generic ones name the family inside.
struct RibForm {
    AddressFamily family;
    bool addPath;
};

// Multicast tables hold prefixes of the same form; which of the two it was is not kept. Rows of
// subtypes without routes are never asked for.
constexpr auto ribForms = [] {
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

constexpr MrtPeer unknownPeer;

// AS numbers have two bytes in TABLE_DUMP and four in TABLE_DUMP_V2, whoever sent them (RFC 6396
// 4.2 and 4.3.4).
constexpr AttributeForm formOfV1{.as4 = false, .rib = true};
constexpr AttributeForm formOfV2{.as4 = true, .rib = true};

} // namespace

void MrtTable::readPeers(ByteCursor body) {
    // A new object: stretches cut before hold the old one, perhaps in other threads. No peers are
    // known until all of them were read.
    auto const peers = std::make_shared<MrtPeers>();
    peers_ = nullptr;
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
    peers_ = peers;
}

bool MrtTable::startV2(U16 subtype, std::span<U8 const> body) {
    QCF_ASSERT(subtype < ribForms.size());
    left_ = 0;
    v2_ = true;
    rest_ = ByteCursor(body, "record");
    rest_.skip(4); // sequence number
    RibForm const form = ribForms[subtype];
    AddressFamily family = form.family;
    if (family == AddressFamily::none) {
        FamilyCode code;
        code.afi = rest_.u16();
        code.safi = rest_.u8();
        family = code.routeFamily();
        if (family == AddressFamily::none) {
            // The rest of such a record is not looked at.
            return false;
        }
    }
    addPath_ = form.addPath;
    prefix_ = readPrefix(rest_, family);
    U32 const entries = rest_.u16();
    left_ = entries;
    // A single entry is not handed out when it turns out to be damaged.
    if (entries > 1) {
        checkEntries();
    }
    return true;
}

/// A record with damage anywhere gives no route, so all of it is looked at before the first one.
void MrtTable::checkEntries() {
    // While this throws the record has no entries.
    U32 const entries = std::exchange(left_, 0);
    ByteCursor from = rest_;
    for (U32 i = 0; i < entries; ++i) {
        U16 peerIndex = 0;
        std::span<U8 const> const attributes = entryOfV2(from, peerIndex);
        peer(peerIndex);
        attributes_.check(attributes, formOfV2);
    }
    left_ = entries;
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
    // The address stands in full, however short the prefix.
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
        return unknownPeer;
    }
    if (index >= peers_->size()) {
        throw Damage("entry", "names a peer that the PEER_INDEX_TABLE lacks");
    }
    return (*peers_)[index];
}

/// The path attributes of the next entry.
std::span<U8 const> MrtTable::entryOfV2(ByteCursor & from, U16 & peerIndex) const {
    std::size_t const headSize = addPath_ ? 12 : 8; // peer, time, perhaps a path identifier, length
    U8 const * const head = from.advance(headSize);
    peerIndex = loadU16(head);
    return from.bytes(loadU16(head + headSize - 2));
}

bool MrtTable::next(Route & route) {
    if (left_ == 0) {
        return false;
    }
    // Before it is decoded: a damaged entry is not tried again.
    --left_;
    U16 peerIndex = 0;
    std::span<U8 const> const attributes = v2_ ? entryOfV2(rest_, peerIndex) : rest_.rest();
    MrtPeer const & from = v2_ ? peer(peerIndex) : ownPeer_;
    route.clear();
    route.ipPrefix = prefix_;
    route.sourceSessionRemoteIpAddress = from.address;
    route.sourceSessionRemoteAs = from.as;
    attributes_.decode(attributes, v2_ ? formOfV2 : formOfV1, route);
    // Where an entry has both next hops, that of MP_REACH_NLRI counts.
    if (attributes_.reach().nextHop.af() != AddressFamily::none) {
        route.nextHop = attributes_.reach().nextHop;
    }
    return true;
}

} // namespace Qcf::Agent
