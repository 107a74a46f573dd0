#include "Agent/Routes/RouteJson.h"

#include "Agent/Routes/RouteAttributes.h"
#include "Platform/Render/JsonObjectReader.h"
#include "Platform/Render/NearestWord.h"
#include "Platform/Render/Utf8.h"
#include "Platform/Routing/CommunityText.h"
#include "Platform/Routing/TextPieces.h"
#include "QcfLib/NodeClass.h"

#include <algorithm>
#include <limits>
#include <vector>

/// Routes from JSON. What comes out holds all that the engine asserts, numbers within their limits
/// and sets in order, so that whatever is wrong fails here, with its place in the document.
namespace Qcf::Agent {

namespace {

constexpr U64 maxU32 = std::numeric_limits<U32>::max();

/// The value that `parsed` holds; where it holds none the text at `from` was not what was wanted.
template <typename Value>
Value parsedOrFail(std::optional<Value> && parsed, JsonValue const & from, char const * wanted) {
    if (!parsed) {
        from.fail(wanted);
    }
    return *std::move(parsed);
}

Acl::CommunityValue readCommunityValue(JsonValue const & from) {
    constexpr auto wanted = "large community A:B:C, extended community (0x and 16 digits, rt:, "
                            "soo:, lbw:) or object with value and type";
    if (from.isString()) {
        return parsedOrFail(parseCommunityValue(from.asString()), from, wanted);
    }
    if (!from.isObject()) {
        from.fail(wanted);
    }
    // The form for values that no text stands for: any 64 bits, with any word beside them.
    JsonObjectReader members(from, "community");
    U64 const value = members.require("value").expectU64();
    // The word beside the 64 bits has 32.
    U64 const type = members.require("type").expectU64(0, maxU32);
    members.done();
    return {value, static_cast<U32>(type)};
}

/// Sets hold any 64-bit number; only texts are bound to be communities.
U64 readStandardCommunity(JsonValue const & from) {
    constexpr auto wanted = "standard community A:B, number or well-known name";
    if (from.isString()) {
        auto const community = parseStandardCommunity(from.asString());
        return community ? *community
                         : parsedOrFail(Routing::TextPieces::parseDecimal(from.asString(), ~U64{0}),
                                        from, wanted);
    }
    return parsedOrFail(from.asU64(), from, wanted);
}

template <typename Set>
void makeSet(Set & set) {
    // Sets come in order from our own writer.
    if (!std::is_sorted(set.begin(), set.end())) {
        std::sort(set.begin(), set.end());
    }
    set.erase(std::unique(set.begin(), set.end()), set.end());
}

/// Reads a JSON value into a member of a route; one function a type.
class MemberReader {
public:
    MemberReader(RouteAttribute const & attribute, JsonValue const & from)
        : attribute_(attribute), from_(from) {}

    void operator()(U64 & to) const { to = number(from_); }
    void operator()(F32 & to) const { to = parsedOrFail(from_.asFloat(), from_, "number"); }
    void operator()(IpGenAddr & to) const { parse(to, "IPv4 or IPv6 address, or \"\""); }
    void operator()(IpGenPrefix & to) const { parse(to, "IPv4 or IPv6 prefix, or \"\""); }
    void operator()(EthAddr & to) const { parse(to, "MAC address"); }
    void operator()(IntfId & to) const { parse(to, "interface name"); }
    void operator()(Acl::CommunityValue & to) const { to = readCommunityValue(from_); }

    void operator()(Eval::TriStateBoolValue & to) const {
        constexpr auto wanted = "true, false or \"unknown\"";
        // The third truth value has no JSON of its own.
        if (from_.isBool()) {
            to = from_.asBool() ? Eval::QcfTrue() : Eval::QcfFalse();
        } else if (from_.expectString(wanted) == "unknown") {
            to = Eval::QcfUnknown();
        } else {
            from_.fail(wanted);
        }
    }

    void operator()(std::optional<Evpn::Esid> & to) const {
        constexpr auto wanted = "Ethernet segment of ten octets joined by colons, or null";
        to.reset();
        if (!from_.isNull()) {
            to = parsedOrFail(Evpn::Esid::parse(from_.expectString(wanted)), from_, wanted);
        }
    }

    // In the text form, the only one that a path has in JSON.
    void operator()(Routing::Bgp::AsPath & to) const {
        constexpr auto wanted = "AS path such as \"65001 {65002,65003}\"";
        to.asnsIs(
            parsedOrFail(Routing::Bgp::parseAsPath(from_.expectString(wanted)), from_, wanted));
    }

    void operator()(RouteIntSet & to) const {
        // Tags and communities have one C++ type: the attribute's form tells which it is.
        bool const communities = attribute_.form == SetForm::standardCommunities;
        to.clear();
        for (JsonValue const element : from_.expectArray()) {
            to.push_back(communities ? readStandardCommunity(element) : number(element));
        }
        makeSet(to);
    }

    void operator()(RouteCommunitySet & to) const {
        to.clear();
        for (JsonValue const element : from_.expectArray()) {
            to.push_back(readCommunityValue(element));
        }
        makeSet(to);
    }

    void operator()(Routing::Rib::ResolutionRibProfileConfig & to) const {
        JsonObjectReader members(from_, "resolution RIBs");
        // A fresh one, so that nothing of the route before shows through.
        to = Routing::Rib::ResolutionRibProfileConfig(false);
        if (auto const useDefault = members.optional("useDefault")) {
            to.useDefaultIs(useDefault->expectBool());
        }
        if (auto const entries = members.optional("entries")) {
            readEntries(*entries, to);
        }
        members.done();
    }

private:
    U64 number(JsonValue const & from) const {
        auto const value = from.asU64();
        // First, since it may lie outside the limits.
        return value && value == attribute_.also
                   ? *value
                   : from.expectU64(attribute_.least, attribute_.most);
    }

    template <typename Value>
    void parse(Value & to, char const * wanted) const {
        to = parsedOrFail(Value::parse(from_.expectString(wanted)), from_, wanted);
    }

    static void readEntries(JsonValue const & entries,
                            Routing::Rib::ResolutionRibProfileConfig & to) {
        if (entries.expectArray().size() > Routing::Rib::ResolutionRibProfileConfig::maxEntries) {
            // The record has places for so many.
            entries.fail("at most " +
                         std::to_string(Routing::Rib::ResolutionRibProfileConfig::maxEntries) +
                         " entries");
        }
        std::size_t index = 0;
        for (JsonValue const entry : entries) {
            JsonObjectReader members(entry, "resolution RIB");
            String name(members.require("name").expectString());
            auto const kind = static_cast<U8>(members.require("kind").expectU64(0, 255));
            members.done();
            to.entryIs(index++, {std::move(name), kind});
        }
    }

    RouteAttribute const & attribute_;
    JsonValue from_;
};

// What is left out stays as `clear` has set it.
void readSession(JsonValue const & from, Session & session) {
    JsonObjectReader members(from, "session");
    if (auto const outbound = members.optional("outbound")) {
        session.outbound = outbound->expectBool();
    }
    if (auto const localAs = members.optional("local_as")) {
        session.localAs = static_cast<U32>(localAs->expectU64(0, maxU32));
    }
    if (auto const peerConfed = members.optional("peer_confed")) {
        session.peerConfed = peerConfed->expectBool();
    }
    if (auto const vrfId = members.optional("vrf_id")) {
        session.vrfId = static_cast<U32>(vrfId->expectU64(0, maxU32));
    }
    members.done();
}

// A name that the language has, but no route carries, gets an answer of its own: it is not
// misspelt.
[[noreturn]] void refuseKey(JsonValue const & member) {
    String found = '"' + oneLine(member.key(), 60) + '"';
    if (Eval::findAttribute(String(member.key())) != nullptr) {
        found += ", which a route does not carry";
    } else {
        std::vector<std::string_view> known{"session"};
        for (RouteAttribute const & attribute : routeAttributes()) {
            known.push_back(attribute.name);
        }
        found += didYouMean(member.key(), known);
    }
    member.fail("route",
                "a source attribute or \"session\", as qcf schema --format routes lists them",
                found);
}

} // namespace

void readRoute(JsonValue const & object, Route & route) {
    // A member that is left out has its default, not what the route before had.
    route.clear();
    for (JsonValue const member : object.expectObject()) {
        if (auto const index = findRouteAttribute(member.key())) {
            route.visitAttribute(*index, MemberReader(routeAttributes()[*index], member));
            route.carriedIs(*index);
        } else if (member.key() == "session") {
            readSession(member, route.session);
        } else {
            refuseKey(member);
        }
    }
}

} // namespace Qcf::Agent
