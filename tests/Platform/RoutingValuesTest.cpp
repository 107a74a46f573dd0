#include "Platform/Routing/CommunityValue.h"
#include "Platform/Routing/Esi.h"
#include "Platform/Routing/EthAddr.h"
#include "Platform/Routing/EvaluationLogBase.h"
#include "Platform/Routing/IntfId.h"
#include "Platform/Routing/Policy.h"
#include "Platform/Routing/ResolutionRibs.h"
#include "Platform/Routing/RouteMap.h"
#include "Platform/Routing/RouteProto.h"

#include <unordered_map>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::string_view_literals;
using Routing::Rib::ResolutionRibProfileConfig;

TEST(RoutingValues, macAndSegmentTexts) {
    EXPECT_EQ(EthAddr::parse("00:1C:73:00:aB:01"), EthAddr({0x00, 0x1c, 0x73, 0x00, 0xab, 0x01}));
    EXPECT_EQ(EthAddr::parse("00:1C:73:00:aB:01")->toString(), "00:1c:73:00:ab:01");
    auto const esid = Evpn::Esid::parse("00:11:22:33:44:55:66:77:88:FF");
    ASSERT_TRUE(esid);
    EXPECT_EQ(esid->toString(), "00:11:22:33:44:55:66:77:88:ff");
    EXPECT_EQ(esid->octets()[9], 0xff);
    EXPECT_NE(esid->hash(0), Evpn::Esid().hash(0));
    for (std::string_view const text :
         {"", "00:1c:73:00:00", "00:1c:73:00:00:01:02", "0:1c:73:00:00:01", "00-1c-73-00-00-01",
          "00:1c:73:00:00:0g", "00:1c:73:00:00:1", "001c73000001", " 0:1c:73:00:00:01",
          "00:1c:73:00:00:01 ", "00:1c:73:00:00::1"}) {
        EXPECT_FALSE(EthAddr::parse(text)) << text;
        EXPECT_FALSE(Evpn::Esid::parse(text)) << text;
    }
}

TEST(RoutingValues, interfaceIsItsName) {
    auto const intf = IntfId::parse("Ethernet4/1.200");
    ASSERT_TRUE(intf);
    EXPECT_EQ(intf->toString(), "Ethernet4/1.200");
    EXPECT_NE(intf, IntfId());
    EXPECT_EQ(IntfId::parse(""), IntfId());
    EXPECT_FALSE(IntfId::parse("Ethernet1\0"sv));
}

TEST(RoutingValues, resolutionRibsTellEveryFieldApart) {
    std::vector<ResolutionRibProfileConfig> profiles(1);
    profiles.emplace_back(true);
    for (std::size_t i = 0; i < ResolutionRibProfileConfig::maxEntries; ++i) {
        profiles.emplace_back(false).entryIs(i, {"rib", 0});
        profiles.emplace_back(false).entryIs(i, {"rib", 1});
        profiles.emplace_back(false).entryIs(i, {"", 1});
    }
    for (auto const & a : profiles) {
        for (auto const & b : profiles) {
            EXPECT_EQ(a == b, &a == &b);
            EXPECT_EQ(a.hash(0) == b.hash(0), &a == &b) << a << " " << b;
            EXPECT_EQ(a.toString() == b.toString(), &a == &b) << a << " " << b;
        }
    }
    ResolutionRibProfileConfig profile(true);
    EXPECT_EQ(profile.entryCount(), 0U);
    profile.entryIs(1, {"system-connected", 2});
    EXPECT_EQ(profile.entryCount(), 2U);
    EXPECT_EQ(profile.toString(), ":0,system-connected:2,default");
    EXPECT_DEATH(profile.entryIs(3, {"x", 1}), "index < maxEntries");
}

TEST(RoutingValues, listStatusesHoldWhatTheyWereGiven) {
    auto const tags = makePtr<Routing::RouteMap::TagSetStatus>();
    EXPECT_FALSE(tags->contains(0));
    tags->tagIs(1);
    tags->tagIs(0xffffffff);
    tags->tagIs(1);
    tags->tagDel(0xffffffff);
    EXPECT_TRUE(tags->contains(1));
    EXPECT_EQ(tags->tags().size(), 1U);

    auto const dynamic = makePtr<Routing::RouteMap::DynamicPrefixListStatus>();
    dynamic->vrfIs(1, true);
    dynamic->vrfIs(2, false);
    EXPECT_TRUE(dynamic->activeIn(1));
    EXPECT_FALSE(dynamic->activeIn(2));
    EXPECT_FALSE(dynamic->activeIn(3));
    EXPECT_EQ(dynamic->vrfs().size(), 2U) << "asking must not add a VRF";
    dynamic->vrfDel(1);
    EXPECT_FALSE(dynamic->activeIn(1));
}

TEST(RoutingValues, derivedListStatusDiesWithItsLastPtr) {
    struct Owned : Routing::RouteMap::StandardCommListStatus {
        explicit Owned(bool & gone) : gone_(gone) {}
        ~Owned() override { gone_ = true; }
        bool & gone_;
    };
    bool gone = false;
    {
        Ptr<Routing::RouteMap::StandardCommListStatus const> const status = makePtr<Owned>(gone);
        EXPECT_FALSE(gone);
    }
    EXPECT_TRUE(gone);
}

TEST(RoutingValues, featuresAreOrderedAndJoined) {
    Routing::Policy::RouteMapFeatures features{"set", "match"};
    features.featureIs("match");
    features.featureIs("call");
    EXPECT_EQ(features.toStrep(), "call,match,set");
    EXPECT_EQ(features, (Routing::Policy::RouteMapFeatures{"match", "set", "call"}));
    EXPECT_EQ(Routing::Policy::RouteMapFeatures().toStrep(), "");
}

TEST(RoutingValues, tristateIgnoresTheValueWhileUnset) {
    EXPECT_EQ(TristateBoolean::unset(), (TristateBoolean{1, 0}));
    EXPECT_NE(TristateBoolean::of(false), TristateBoolean::unset());
    EXPECT_NE(TristateBoolean::of(false), TristateBoolean::of(true));
    EXPECT_EQ(TristateBoolean::of(true), (TristateBoolean{1, 1}));
}

TEST(RoutingValues, KeyMaps) {
    auto const keys = [](auto const & text, auto const &... values) {
        using Value = std::common_type_t<std::remove_cvref_t<decltype(values)>...>;
        std::unordered_map<Value, int> map;
        std::vector<Value> const all{values...};
        for (Value const & value : all) {
            map.emplace(value, static_cast<int>(map.size()));
        }
        EXPECT_EQ(map.size(), all.size()) << text;
        for (std::size_t i = 0; i < all.size(); ++i) {
            EXPECT_EQ(map[Value(all[i])], static_cast<int>(i)) << text;
        }
    };
    keys("IpGenAddr", IpGenAddr(), IpGenAddr::v4(0), IpGenAddr::v4(1), IpGenAddr::v6({}));
    IpGenAddr const ten = IpGenAddr::v4(0x0a000000);
    keys("IpGenPrefix", IpGenPrefix(), IpGenPrefix(ten, 8), IpGenPrefix(ten, 16));
    keys("EthAddr", EthAddr(), EthAddr({1}), EthAddr({0, 1}));
    keys("Esid", std::optional<Evpn::Esid>(), std::optional(Evpn::Esid()),
         std::optional(Evpn::Esid({1})));
    keys("IntfId", IntfId(), IntfId("Ethernet1"), IntfId("Ethernet2"));
    keys("CommunityValue", Acl::CommunityValue(), Acl::CommunityValue(1, 0),
         Acl::CommunityValue(0, 1));
    keys("ResolutionRibProfileConfig", Routing::Rib::ResolutionRibProfileConfig(false),
         Routing::Rib::ResolutionRibProfileConfig(true));
    keys("AddressFamily", AddressFamily::none, AddressFamily::ipv4);
}

/// The interfaces can be implemented as they are meant to be, and reached through their bases.
class EvenLengths : public Routing::Policy::PrefixListMatcher {
public:
    AddressFamily af() const override { return AddressFamily::ipv4; }
    TristateBoolean
    matchWithTristate(Routing::Policy::MatchInput_ const & input,
                      Ptr<Routing::Policy::PolicyEvalContext> const & context) const override {
        return context ? TristateBoolean::unset()
                       : TristateBoolean::of(input.prefix.len() % 2 == 0);
    }
};

TEST(RoutingValues, matcherIsAskedThroughItsInterface) {
    Ptr<Routing::Policy::PrefixListMatcher const> const matcher = makePtr<EvenLengths>();
    auto const input = Routing::Policy::MatchInput_{IpGenPrefix::host(IpGenAddr::v4(1))};
    EXPECT_EQ(matcher->matchWithTristate(input, nullptr), TristateBoolean::of(true));
    EXPECT_EQ(matcher->matchWithTristate(input, makePtr<Routing::Policy::PolicyEvalContext>()),
              TristateBoolean::unset());
    EXPECT_EQ(static_cast<U8>(Routing::RouteProto{255}), 255);
}

} // namespace
