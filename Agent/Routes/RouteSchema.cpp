#include "Agent/Routes/RouteSchema.h"

#include "Agent/Routes/RouteAttributes.h"
#include "Platform/Render/JsonSchema.h"
#include "QcfLib/NodeClass.h"

#include <limits>

/// One overload a type of attribute, as the reader of routes has them.
namespace Qcf::Agent {

namespace {

using JsonSchema::Object;

constexpr U64 maxU32 = std::numeric_limits<U32>::max();

String octets(U32 count) {
    return JsonSchema::text("^[0-9A-Fa-f]{2}(:[0-9A-Fa-f]{2}){" + std::to_string(count - 1) + "}$");
}

String communityValueSchema() {
    Object words;
    words.member("value", JsonSchema::integer(0, ~U64{0}));
    words.member("type", JsonSchema::integer(0, maxU32));
    return JsonSchema::anyOf(
        {JsonSchema::text("^(0[xX][0-9A-Fa-f]{16}|[0-9]+:[0-9]+:[0-9]+|(rt|soo|lbw):.+:.+)$"),
         words.text()});
}

/// The form of a member; the value says its type and is not looked at.
class MemberSchema {
public:
    MemberSchema(RouteAttribute const & attribute, String & schema)
        : attribute_(attribute), schema_(schema) {}

    void operator()(U64 const &) const { schema_ = number(); }
    void operator()(F32 const &) const { schema_ = JsonSchema::float32(); }
    void operator()(IpGenAddr const &) const { schema_ = JsonSchema::text("^[0-9A-Fa-f:.]*$"); }
    void operator()(IpGenPrefix const &) const {
        schema_ = JsonSchema::text("^([0-9A-Fa-f:.]+/[0-9]{1,3})?$");
    }
    void operator()(EthAddr const &) const { schema_ = octets(6); }
    void operator()(IntfId const &) const { schema_ = JsonSchema::text(); }
    void operator()(Acl::CommunityValue const &) const { schema_ = communityValueSchema(); }
    void operator()(Eval::TriStateBoolValue const &) const {
        schema_ = JsonSchema::anyOf(
            {JsonSchema::boolean(), JsonSchema::constant(Eval::toString(Eval::QcfUnknown()))});
    }
    void operator()(std::optional<Evpn::Esid> const &) const {
        schema_ = JsonSchema::anyOf({JsonSchema::null(), octets(10)});
    }
    // Also confederation segments, in parentheses.
    void operator()(Routing::Bgp::AsPath const &) const {
        schema_ = JsonSchema::text("^[0-9,{}() ]*$");
    }
    void operator()(RouteIntSet const &) const {
        bool const communities = attribute_.form == SetForm::standardCommunities;
        schema_ = JsonSchema::array(
            communities ? JsonSchema::anyOf({JsonSchema::integer(0, ~U64{0}), communityText()})
                        : number());
    }
    void operator()(RouteCommunitySet const &) const {
        schema_ = JsonSchema::array(communityValueSchema());
    }
    void operator()(Routing::Rib::ResolutionRibProfileConfig const &) const {
        using Profile = Routing::Rib::ResolutionRibProfileConfig;
        Object rib;
        rib.member("name", JsonSchema::text());
        rib.member("kind", JsonSchema::integer(0, 255));
        Object profile;
        profile.member("entries", JsonSchema::array(rib.text(), 0, Profile::maxEntries),
                       JsonSchema::optional);
        profile.member("useDefault", JsonSchema::boolean(), JsonSchema::optional);
        schema_ = profile.text();
    }

private:
    static String communityText() {
        return JsonSchema::text("^([0-9]+(:[0-9]+)?|[A-Za-z][A-Za-z0-9_-]*)$");
    }

    // A default may lie outside the limits.
    String number() const {
        String const limits = JsonSchema::integer(attribute_.least, attribute_.most);
        bool const alsoOutside = attribute_.also && (*attribute_.also < attribute_.least ||
                                                     *attribute_.also > attribute_.most);
        return alsoOutside ? JsonSchema::anyOf(
                                 {limits, JsonSchema::integer(*attribute_.also, *attribute_.also)})
                           : limits;
    }

    RouteAttribute const & attribute_;
    String & schema_;
};

String sessionSchema() {
    Object session;
    session.member("outbound", JsonSchema::boolean(), JsonSchema::optional);
    session.member("local_as", JsonSchema::integer(0, maxU32), JsonSchema::optional);
    session.member("peer_confed", JsonSchema::boolean(), JsonSchema::optional);
    session.member("vrf_id", JsonSchema::integer(0, maxU32), JsonSchema::optional);
    return session.text();
}

} // namespace

String routeSchema() {
    Object route;
    Route().eachAttribute([&](std::size_t index, auto const & value) {
        RouteAttribute const & attribute = routeAttributes()[index];
        String schema;
        MemberSchema(attribute, schema)(value);
        route.member(attribute.name, schema, JsonSchema::optional);
    });
    route.member("session", sessionSchema(), JsonSchema::optional);
    return JsonSchema::document("Route", route.text(), {});
}

} // namespace Qcf::Agent
