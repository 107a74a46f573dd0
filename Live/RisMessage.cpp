#include "Live/RisMessage.h"

#include "Live/AttributeBytes.h"
#include "Live/BmpPeer.h"
#include "Platform/Render/Utf8.h"
#include "Platform/Routing/TextPieces.h"

#include <algorithm>
#include <charconv>
#include <iterator>

/// The members are turned back into the message that they came from, so that whatever is read is
/// read in one place.
namespace Qcf::Live {

namespace {

using Bytes = std::vector<U8>;
constexpr std::size_t mostBytes = 0xffff;

void put(Bytes & to, U64 value, U32 size) {
    for (U32 shift = 8 * size; shift > 0; shift -= 8) {
        to.push_back(static_cast<U8>(value >> (shift - 8)));
    }
}

void append(Bytes & to, std::span<U8 const> bytes) {
    to.reserve(to.size() + bytes.size());
    std::ranges::copy(bytes, std::back_inserter(to));
}

void putAddress(Bytes & to, IpGenAddr const & address) {
    append(to, {address.bytes(), addressWidth(address.af()) / 8U});
}

/// Appends bytes behind their length.
void putField(Bytes & to, Bytes const & field, JsonValue const & from) {
    if (field.size() > mostBytes) {
        from.fail("no more than one message has room for");
    }
    put(to, field.size(), 2);
    append(to, field);
}

/// The member, unless it is null.
std::optional<JsonValue> memberOf(JsonValue const & object, std::string_view key) {
    auto const member = object.find(key);
    return member && !member->isNull() ? member : std::nullopt;
}

/// Prefixes by family as UPDATEs have them.
struct Prefixes {
    Bytes v4;
    Bytes v6;

    explicit Prefixes(JsonValue const & list) {
        for (JsonValue const text : list.expectArray()) {
            auto const prefix = IpGenPrefix::parse(text.expectString("prefix"));
            if (!prefix) {
                text.fail("prefix");
            }
            Bytes & to = prefix->af() == AddressFamily::ipv4 ? v4 : v6;
            put(to, prefix->len(), 1);
            append(to, {prefix->addr().bytes(), (prefix->len() + 7U) / 8U});
        }
    }
};

void putSegments(Bytes & to, U8 type, std::vector<U32> & asns) {
    constexpr std::size_t most = 255;
    for (std::size_t at = 0; at < asns.size(); at += most) {
        std::size_t const count = std::min(most, asns.size() - at);
        put(to, type, 1);
        put(to, count, 1);
        for (std::size_t i = 0; i < count; ++i) {
            put(to, asns[at + i], 4);
        }
    }
    asns.clear();
}

U32 asOf(JsonValue const & value) { return static_cast<U32>(value.expectU64(0, 0xffffffff)); }

/// Numbers are a sequence; a list among them is a set.
Bytes pathOf(JsonValue const & list) {
    using Routing::Bgp::SegmentType;
    Bytes path;
    std::vector<U32> sequence;
    for (JsonValue const part : list.expectArray()) {
        if (!part.isArray()) {
            sequence.push_back(asOf(part));
            continue;
        }
        putSegments(path, U8(SegmentType::sequence), sequence);
        std::vector<U32> set;
        for (JsonValue const as : part) {
            set.push_back(asOf(as));
        }
        putSegments(path, U8(SegmentType::set), set);
    }
    putSegments(path, U8(SegmentType::sequence), sequence);
    return path;
}

U8 originOf(JsonValue const & value) {
    constexpr std::array<std::string_view, 3> names = {"igp", "egp", "incomplete"};
    String name(value.expectString("origin"));
    std::ranges::transform(name, name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    auto const at = std::ranges::find(names, name);
    if (at == names.end()) {
        value.fail("IGP, EGP or INCOMPLETE");
    }
    return static_cast<U8>(at - names.begin());
}

Bytes communitiesOf(JsonValue const & list) {
    Bytes bytes;
    for (JsonValue const community : list.expectArray()) {
        if (community.expectArray().size() != 2) {
            community.fail("two numbers");
        }
        put(bytes, community.at(0).expectU64(0, 0xffff), 2);
        put(bytes, community.at(1).expectU64(0, 0xffff), 2);
    }
    return bytes;
}

/// The first of one or two addresses with a comma between them.
IpGenAddr nextHopOf(JsonValue const & value) {
    std::string_view const text = value.expectString("address");
    auto const address = IpGenAddr::parse(text.substr(0, text.find(',')));
    if (!address) {
        value.fail("address");
    }
    return *address;
}

/// An attribute of the bytes that `make` makes of a member, where there is that member.
template <typename Make>
void putMember(Bytes & to, JsonValue const & data, char const * key, U8 code, Make make) {
    auto const member = memberOf(data, key);
    if (!member) {
        return;
    }
    Bytes const value = make(*member);
    if (value.size() > mostBytes) {
        member->fail("no more than one message has room for");
    }
    appendAttribute(to, code, value);
}

/// The attributes that all announcements of a line share.
Bytes sharedAttributes(JsonValue const & data) {
    Bytes bytes;
    putMember(bytes, data, "origin", Agent::Mrt::origin,
              [](JsonValue const & value) { return Bytes{originOf(value)}; });
    putMember(bytes, data, "path", Agent::Mrt::asPath, pathOf);
    putMember(bytes, data, "med", Agent::Mrt::med, [](JsonValue const & value) {
        Bytes med;
        put(med, value.expectU64(0, 0xffffffff), 4);
        return med;
    });
    putMember(bytes, data, "community", Agent::Mrt::communities, communitiesOf);
    return bytes;
}

/// Family, next hop where there is one, and prefixes of an attribute for all families.
Bytes multiprotocol(U16 afi, IpGenAddr const & nextHop, Bytes const & prefixes) {
    Bytes value;
    put(value, afi, 2);
    put(value, 1, 1); // unicast
    if (nextHop.af() != AddressFamily::none) {
        put(value, addressWidth(nextHop.af()) / 8U, 1);
        putAddress(value, nextHop);
        put(value, 0, 1); // reserved
    }
    append(value, prefixes);
    return value;
}

Bytes withdrawing(JsonValue const & list) {
    Prefixes const prefixes(list);
    Bytes attributes;
    if (!prefixes.v6.empty() && prefixes.v6.size() < mostBytes - 3) {
        appendAttribute(attributes, Agent::Mrt::mpUnreach, multiprotocol(2, {}, prefixes.v6));
    } else if (!prefixes.v6.empty()) {
        list.fail("no more than one message has room for");
    }
    Bytes update;
    putField(update, prefixes.v4, list);
    putField(update, attributes, list);
    return update;
}

Bytes announcing(JsonValue const & announcement, Bytes attributes) {
    auto const nextHop = memberOf(announcement, "next_hop");
    auto const list = memberOf(announcement, "prefixes");
    if (!nextHop || !list) {
        announcement.fail("next_hop and prefixes");
    }
    IpGenAddr const address = nextHopOf(*nextHop);
    Prefixes const prefixes(*list);
    constexpr std::size_t head = 32;
    if (prefixes.v4.size() + prefixes.v6.size() > mostBytes - head) {
        list->fail("no more than one message has room for");
    }
    // NEXT_HOP has room for IPv4 alone.
    bool const inField = address.af() == AddressFamily::ipv4;
    if (inField) {
        Bytes bytes;
        putAddress(bytes, address);
        appendAttribute(attributes, Agent::Mrt::nextHop, bytes);
    }
    if (!prefixes.v6.empty()) {
        appendAttribute(attributes, Agent::Mrt::mpReach, multiprotocol(2, address, prefixes.v6));
    } else if (!inField) {
        appendAttribute(attributes, Agent::Mrt::mpReach, multiprotocol(1, address, prefixes.v4));
    }
    if (!inField && !prefixes.v6.empty() && !prefixes.v4.empty()) {
        list->fail("prefixes of one family");
    }
    Bytes update;
    putField(update, {}, announcement);
    putField(update, attributes, announcement);
    if (inField) {
        append(update, prefixes.v4);
    }
    return update;
}

void readMembers(JsonValue const & data, RisMessage & to) {
    if (auto const withdrawals = memberOf(data, "withdrawals")) {
        to.updates.push_back(withdrawing(*withdrawals));
    }
    if (auto const announcements = memberOf(data, "announcements")) {
        Bytes const shared = sharedAttributes(data);
        for (JsonValue const announcement : announcements->expectArray()) {
            to.updates.push_back(announcing(announcement, shared));
        }
    }
}

void readRaw(JsonValue const & raw, RisMessage & to) {
    std::string_view const text = raw.expectString("BGP message");
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        int const high = Routing::TextPieces::hexDigitValue(text[i]);
        int const low = Routing::TextPieces::hexDigitValue(text[i + 1]);
        if (high < 0 || low < 0) {
            raw.fail("hexadecimal digits");
        }
        bytes.push_back(static_cast<U8>(high << 4 | low));
    }
    if (text.size() % 2 != 0) {
        raw.fail("two digits a byte");
    }
    ByteCursor message(bytes, "BGP message");
    auto const update = takeBgpMessage(message, Agent::Mrt::update).rest();
    to.updates.emplace_back(update.begin(), update.end());
    to.isRaw = true;
}

std::chrono::microseconds timeOf(JsonValue const & value) {
    if (!value.isNumber()) {
        value.fail("seconds since 1970");
    }
    std::string_view const text = value.numberText();
    double seconds = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    constexpr double most = 0xffffffff;
    if (error != std::errc() || end != text.data() + text.size() || seconds < 0 || seconds > most) {
        value.fail("seconds since 1970");
    }
    constexpr double microseconds = 1e6;
    return std::chrono::microseconds(static_cast<S64>(seconds * microseconds));
}

U32 peerAsOf(JsonValue const & value) {
    if (!value.isString()) {
        return asOf(value);
    }
    auto const number = Routing::TextPieces::parseDecimal(value.asString(), 0xffffffff);
    if (!number) {
        value.fail("AS number");
    }
    return static_cast<U32>(*number);
}

RisMessage::Kind kindOf(JsonValue const & data) {
    using enum RisMessage::Kind;
    auto const type = memberOf(data, "type");
    std::string_view const name = type ? type->expectString("type of a message") : "UPDATE";
    if (name == "UPDATE") {
        return update;
    }
    auto const state = name == "RIS_PEER_STATE" ? memberOf(data, "state") : std::nullopt;
    if (!state) {
        return other;
    }
    std::string_view const text = state->expectString("state");
    return text == "connected" ? up : text == "down" ? down : other;
}

} // namespace

RisMessage RisMessage::of(JsonValue const & line) {
    RisMessage message;
    auto const type = memberOf(line.expectObject(), "type");
    if (!type || type->expectString("type") != "ris_message") {
        return message;
    }
    auto const data = memberOf(line, "data");
    if (!data) {
        line.fail("data");
    }
    message.kind = kindOf(data->expectObject());
    if (message.kind == Kind::other) {
        return message;
    }
    auto const peer = memberOf(*data, "peer");
    auto const address = peer ? IpGenAddr::parse(peer->expectString("address")) : std::nullopt;
    if (!address || address->af() == AddressFamily::none) {
        (peer ? *peer : *data).fail("address of a peer");
    }
    message.peer = *address;
    if (auto const as = memberOf(*data, "peer_asn")) {
        message.peerAs = peerAsOf(*as);
    }
    if (auto const time = memberOf(*data, "timestamp")) {
        message.time = timeOf(*time);
    }
    if (auto const host = memberOf(*data, "host")) {
        constexpr std::size_t mostCharacters = 64;
        message.host = oneLine(host->expectString("name"), mostCharacters);
    }
    if (message.kind == Kind::update) {
        auto const raw = memberOf(*data, "raw");
        raw ? readRaw(*raw, message) : readMembers(*data, message);
    }
    return message;
}

} // namespace Qcf::Live
