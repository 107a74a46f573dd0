#include "tests/Agent/Mrt/MrtTools.h"

#include "Agent/Mrt/MrtReader.h"
#include "Platform/Routing/CommunityText.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Qcf::Agent::test {

namespace {

template <class Set, class Text>
void appendSet(String & to, char const * name, Set const & set, Text text) {
    if (set.empty()) {
        return;
    }
    to += String(" ") + name + "[";
    for (auto const & value : set) {
        to += (to.back() == '[' ? "" : " ") + text(value);
    }
    to += "]";
}

} // namespace

String be(U64 value, U32 size) {
    String bytes;
    for (U32 shift = 8 * size; shift > 0; shift -= 8) {
        bytes.push_back(static_cast<char>(value >> (shift - 8)));
    }
    return bytes;
}

String address(std::string_view text) {
    IpGenAddr const addr = IpGenAddr::parse(text).value();
    return {reinterpret_cast<char const *>(addr.bytes()), addressWidth(addr.af()) / 8U};
}

String prefix(std::string_view text) {
    IpGenPrefix const value = IpGenPrefix::parse(text).value();
    return u8(value.len()) +
           String(reinterpret_cast<char const *>(value.addr().bytes()), (value.len() + 7U) / 8U);
}

String record(U16 type, U16 subtype, String const & body) {
    return u32(1700000000) + u16(type) + u16(subtype) + u32(body.size()) + body;
}

String attribute(U8 code, String const & value) {
    bool const extended = value.size() > 255;
    return u8(extended ? 0x50 : 0x40) + u8(code) + be(value.size(), extended ? 2 : 1) + value;
}

String segment(U8 type, std::initializer_list<U32> asns, U32 width) {
    String bytes = u8(type) + u8(asns.size());
    for (U32 const asn : asns) {
        bytes += be(asn, width);
    }
    return bytes;
}

String asPath4(std::initializer_list<U32> asns) { return attribute(2, segment(2, asns, 4)); }

String plainAttributes(std::initializer_list<U32> asns) {
    return attribute(1, u8(0)) + asPath4(asns) + attribute(3, address("192.0.2.1"));
}

String peerTable() {
    return record(13, 1,
                  u32(0x0a0000ff) + u16(4) + "view" + u16(3) +                 //
                      u8(0) + u32(1) + address("10.0.0.1") + u16(65001) +      //
                      u8(2) + u32(2) + address("10.0.0.2") + u32(4200000000) + //
                      u8(3) + u32(3) + address("2001:db8::3") + u32(65003));
}

String entry(U16 peer, String const & attributes) {
    return u16(peer) + u32(1600000000) + u16(attributes.size()) + attributes;
}

String rib(U16 subtype, std::string_view prefixText, std::vector<String> const & entries) {
    String body = u32(0) + prefix(prefixText) + u16(entries.size());
    for (String const & one : entries) {
        body += one;
    }
    return record(13, subtype, body);
}

String message(U8 type, String const & body) {
    return String(16, '\xff') + u16(19 + body.size()) + u8(type) + body;
}

String update(String const & withdrawn, String const & attributes, String const & nlri) {
    return message(2,
                   u16(withdrawn.size()) + withdrawn + u16(attributes.size()) + attributes + nlri);
}

String bgp4mp(U16 subtype, bool as4, String const & message) {
    U32 const width = as4 ? 4 : 2;
    return record(16, subtype,
                  be(65001, width) + be(65000, width) + u16(0) + u16(1) + address("10.0.0.1") +
                      address("10.0.0.9") + message);
}

String routeText(Route const & route) {
    String text = route.ipPrefix.toString() + " via " + route.nextHop.toString() + " path[" +
                  route.asPath.toString() + "] origin " + std::to_string(route.origin) + " med " +
                  std::to_string(route.med) + " pref " + std::to_string(route.localPref) +
                  " from " + route.sourceSessionRemoteIpAddress.toString() + " AS " +
                  std::to_string(route.sourceSessionRemoteAs);
    appendSet(text, "comm", route.community, standardCommunityText);
    appendSet(text, "ext", route.extCommunity, extCommunityText);
    appendSet(text, "large", route.largeCommunity, largeCommunityText);
    if (route.aigpMetric != 0) {
        text += " aigp " + std::to_string(route.aigpMetric);
    }
    return text;
}

Outcome readAll(String bytes) {
    Outcome outcome;
    auto const reader =
        makeMrtReader(Lists::ByteSource(Lists::makeMemoryStream(std::move(bytes))), "t",
                      [&outcome](String const & line) { outcome.reports.push_back(line); });
    Route route;
    while (reader->next(route)) {
        outcome.routes.push_back(routeText(route));
    }
    outcome.statistics = reader->statistics();
    return outcome;
}

namespace {

std::vector<String> routesOf(RouteShare & share) {
    std::vector<String> routes;
    Route route;
    while (share.next(route)) {
        routes.push_back(routeText(route));
    }
    return routes;
}

} // namespace

Outcome readByShares(String bytes, std::size_t shares, std::size_t stretch) {
    Outcome outcome;
    MrtReader reader(
        Lists::ByteSource(Lists::makeMemoryStream(std::move(bytes))), "t",
        [&outcome](String const & line) { outcome.reports.push_back(line); }, stretch);
    std::vector<std::unique_ptr<RouteShare>> all(shares);
    std::ranges::generate(all, [&reader] { return reader.makeShare(); });
    for (std::size_t taken = shares; taken == shares;) {
        for (taken = 0; taken < shares && all[taken]->take();) {
            ++taken;
        }
        std::vector<std::vector<String>> routes(taken);
        for (std::size_t i = taken; i-- > 0;) {
            routes[i] = routesOf(*all[i]);
        }
        for (std::size_t i = 0; i < taken; ++i) {
            all[i]->settle();
            std::ranges::copy(routes[i], std::back_inserter(outcome.routes));
        }
    }
    outcome.statistics = reader.statistics();
    return outcome;
}

} // namespace Qcf::Agent::test
