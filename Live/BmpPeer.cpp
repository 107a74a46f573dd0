#include "Live/BmpPeer.h"

#include <algorithm>

/// Reads the messages about peers (RFC 7854 4.2 and 4.10, RFC 8671, RFC 9069, RFC 9736) and the
/// OPENs in them (RFC 4271, 5492, 6793, 7911, 9072).
namespace Qcf::Live {

namespace {

constexpr std::array<char const *, ribs> ribNames = {"in-pre", "in-post", "loc", "out-pre",
                                                     "out-post"};

enum PeerFlag : U8 { v6 = 0x80, post = 0x40, as2Path = 0x20, out = 0x10 };
/// The flag of a Loc-RIB, in a place where others have another one.
constexpr U8 filtered = 0x80;

/// An address as BMP has it: 16 bytes, of which one of IPv4 uses the last four.
IpGenAddr takeAddress(ByteCursor & body, bool isV6) {
    if (!isV6) {
        body.skip(12);
    }
    return Agent::readAddress(body, isV6 ? AddressFamily::ipv6 : AddressFamily::ipv4);
}

Rib ribOfFlags(U8 flags) {
    bool const isPost = (flags & PeerFlag::post) != 0;
    if ((flags & PeerFlag::out) != 0) {
        return isPost ? Rib::outPost : Rib::outPre;
    }
    return isPost ? Rib::inPost : Rib::inPre;
}

enum Capability : U8 { as4Capability = 65, addPathCapability = 69 };

void takeAddPath(ByteCursor value, SpeakerOpen & open) {
    while (!value.atEnd()) {
        U16 const afi = value.u16();
        U8 const safi = value.u8();
        U8 const mode = value.u8();
        if (safi == 1 && (afi == 1 || afi == 2)) {
            open.addPath[afi - 1U] = mode;
        }
    }
}

void takeCapabilities(ByteCursor value, SpeakerOpen & open) {
    while (!value.atEnd()) {
        U8 const code = value.u8();
        std::size_t const length = value.u8();
        ByteCursor one = value.take(length, "capability");
        if (code == as4Capability) {
            open.as4 = true;
            open.as = one.u32();
        } else if (code == addPathCapability) {
            takeAddPath(one, open);
        }
    }
}

/// The optional parameters of an OPEN. The first length says whether lengths have one byte or two.
void takeParameters(ByteCursor & message, SpeakerOpen & open) {
    constexpr U8 extended = 255;
    constexpr U8 capabilities = 2;
    std::size_t length = message.u8();
    bool const isExtended = length == extended && !message.atEnd() && *message.data() == extended;
    if (isExtended) {
        message.skip(1);
        length = message.u16();
    }
    ByteCursor parameters = message.take(length, "OPEN message");
    while (!parameters.atEnd()) {
        U8 const type = parameters.u8();
        std::size_t const size = isExtended ? parameters.u16() : parameters.u8();
        ByteCursor const value = parameters.take(size, "OPEN parameter");
        if (type == capabilities) {
            takeCapabilities(value, open);
        }
    }
}

} // namespace

char const * ribName(Rib rib) { return ribNames[static_cast<U8>(rib)]; }

std::optional<Rib> ribOf(std::string_view name) {
    auto const at = std::ranges::find(ribNames, name);
    return at == ribNames.end() ? std::nullopt
                                : std::optional(static_cast<Rib>(at - ribNames.begin()));
}

String distinguisherText(U64 distinguisher) {
    // Two bytes say how the other six are divided (RFC 4364 4.2).
    auto const type = static_cast<U16>(distinguisher >> 48);
    auto const administrator = static_cast<U32>(distinguisher >> 16);
    String const number = std::to_string(distinguisher & 0xffff);
    switch (type) {
    case 0:
        return std::to_string(distinguisher >> 32 & 0xffff) + ':' +
               std::to_string(distinguisher & 0xffffffff);
    case 1:
        return IpGenAddr::v4(administrator).toString() + ':' + number;
    default:
        return std::to_string(administrator) + ':' + number;
    }
}

PeerHeader PeerHeader::take(ByteCursor & body) {
    PeerHeader header;
    header.key.type = body.u8();
    U8 const flags = body.u8();
    bool const isLoc = header.key.type == locRibType;
    header.key.distinguisher = body.u64();
    // A Loc-RIB has flags of its own: those of peers are not among them.
    header.key.address = takeAddress(body, !isLoc && (flags & PeerFlag::v6) != 0);
    header.rib = isLoc ? Rib::loc : ribOfFlags(flags);
    header.isFiltered = isLoc && (flags & filtered) != 0;
    header.as2 = !isLoc && (flags & PeerFlag::as2Path) != 0;
    header.as = body.u32();
    header.bgpId = body.u32();
    header.seconds = body.u32();
    body.skip(4); // microseconds
    return header;
}

ByteCursor takeBgpMessage(ByteCursor & body, U8 type) {
    constexpr std::size_t markerSize = 16;
    constexpr std::size_t headSize = markerSize + 3;
    // The marker means nothing any more (RFC 4271 4.1) and is not compared.
    body.skip(markerSize);
    std::size_t const length = body.u16();
    if (length < headSize) {
        throw Damage("BGP message", "has a wrong length");
    }
    if (body.u8() != type) {
        throw Damage("BGP message", "is of another type");
    }
    return body.take(length - headSize, "BGP message");
}

SpeakerOpen SpeakerOpen::take(ByteCursor & body) {
    ByteCursor message = takeBgpMessage(body, Agent::Mrt::open);
    SpeakerOpen open;
    message.skip(1); // version
    open.as = message.u16();
    message.skip(2); // hold time
    open.bgpId = message.u32();
    takeParameters(message, open);
    return open;
}

PeerUp PeerUp::take(ByteCursor & body) {
    // The router's own address and the ports.
    body.skip(16 + 2 + 2);
    PeerUp up;
    up.sent = SpeakerOpen::take(body);
    up.received = SpeakerOpen::take(body);
    constexpr U16 text = 0;
    constexpr U16 tableName = 3;
    while (!body.atEnd()) {
        BmpTlv const tlv = BmpTlv::take(body);
        if (tlv.type == tableName) {
            up.tableName = tlv.text();
        } else {
            up.unknownTlvs += tlv.type == text ? 0U : 1U;
        }
    }
    return up;
}

// One side receives identifiers and the other sends them: offers are not symmetrical.
Agent::UpdateForm PeerUp::declaredForm(Rib rib, bool as2) const {
    bool const isSent = isOut(rib);
    constexpr U8 receives = 1;
    constexpr U8 sends = 2;
    auto const hasIds = [&](std::size_t family) {
        U8 const receiver = (isSent ? received : sent).addPath[family];
        U8 const sender = (isSent ? sent : received).addPath[family];
        // The messages of a Loc-RIB come from nobody: both OPENs say what there is.
        return rib == Rib::loc ? (receiver != 0 && sender != 0)
                               : (receiver & receives) != 0 && (sender & sends) != 0;
    };
    return {.as4 = !as2, .ids4 = hasIds(0), .ids6 = hasIds(1)};
}

} // namespace Qcf::Live
