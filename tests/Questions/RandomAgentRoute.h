#pragma once

#include "Agent/Routes/RouteAttributes.h"

#include <algorithm>
#include <iterator>
#include <random>

namespace Qcf::Questions::test {

/// Routes of values that the constants of random documents are made of too. The same seed gives
/// the same routes.
class RandomAgentRoute {
public:
    explicit RandomAgentRoute(U64 seed) : random_(seed) {}

    Agent::Route next() {
        Agent::Route route;
        for (std::size_t i = 0; i < Agent::RouteMembers::size; ++i) {
            change(route, i);
        }
        route.session.outbound = below(2) == 0;
        route.session.localAs = below(2) == 0 ? 0 : 65001;
        route.session.vrfId = below(2) == 0 ? 1 : Agent::Session().vrfId;
        return route;
    }

    /// Gives attribute `index` some value.
    void change(Agent::Route & route, std::size_t index) {
        route.visitAttribute(
            index, [&](auto & member) { value(member, Agent::routeAttributes()[index]); });
    }

    U32 below(U32 bound) { return static_cast<U32>(random_() % bound); }

private:
    template <typename Choices>
    auto const & oneOf(Choices const & choices) {
        return choices[below(static_cast<U32>(std::size(choices)))];
    }

    void value(U64 & value, Agent::RouteAttribute const & limits) {
        static constexpr U64 integers[] = {0,     1,     2,     3,          4,        5,
                                           7,     100,   128,   255,        65001,    65535,
                                           65536, 66000, 70000, 0xffffffff, 1'048'575};
        value = std::clamp(oneOf(integers), limits.least, limits.most);
    }
    void value(F32 & value, Agent::RouteAttribute const & /*limits*/) {
        static constexpr F32 bandwidths[] = {0, 8000, 1e9F, 1e30F};
        value = oneOf(bandwidths);
    }
    void value(Eval::TriStateBoolValue & value, Agent::RouteAttribute const & /*limits*/) {
        value = static_cast<Eval::TriStateBoolValue>(below(3));
    }
    void value(Agent::RouteIntSet & values, Agent::RouteAttribute const & limits) {
        static constexpr U64 all[] = {1, 2, 3, 5, 4259840001, 4259840002};
        values.clear();
        std::ranges::copy_if(all, std::back_inserter(values), [&](U64 each) {
            return each >= limits.least && each <= limits.most && below(3) == 0;
        });
    }
    void value(Agent::RouteCommunitySet & values, Agent::RouteAttribute const & limits) {
        values.clear();
        for (U32 i = 0; i < 3; ++i) {
            bool const isLarge = limits.form == Agent::SetForm::largeCommunities;
            Acl::CommunityValue const community =
                isLarge ? Acl::CommunityValue((U64{65000} << 32) + 1, i)
                        : Acl::CommunityValue(0x4004fde8447a0000U + i, 0);
            if (below(2) == 0) {
                values.push_back(community);
            }
        }
    }
    void value(Acl::CommunityValue & value, Agent::RouteAttribute const & /*limits*/) {
        static constexpr Acl::CommunityValue communities[] = {
            {}, {(U64{65000} << 32) + 1, 2}, {0x4004fde8447a0000U, 0}};
        value = oneOf(communities);
    }
    void value(Routing::Bgp::AsPath & value, Agent::RouteAttribute const & /*limits*/) {
        static constexpr char const * paths[] = {"", "65001", "65001 65002 65001",
                                                 "65002 {65001,3}", "(1 2) 65001 65003 4294967295"};
        value.asnsIs(*Routing::Bgp::parseAsPath(oneOf(paths)));
    }
    void value(std::optional<Evpn::Esid> & value, Agent::RouteAttribute const & /*limits*/) {
        value.reset();
    }
    void value(Routing::Rib::ResolutionRibProfileConfig & /*value*/,
               Agent::RouteAttribute const & /*limits*/) {}
    /// Any type that is read from texts.
    template <typename Value>
    void value(Value & value, Agent::RouteAttribute const & /*limits*/) {
        std::vector<Value> values(1);
        for (char const * const text :
             {"10.0.0.1", "192.0.2.1", "::1", "2001:db8::1", "10.0.0.0/8", "10.1.0.0/16",
              "0.0.0.0/0", "::/0", "2001:db8::/32", "192.0.2.0/24", "00:1c:73:00:00:01", "eth0"}) {
            if (auto const parsed = Value::parse(text)) {
                values.push_back(*parsed);
            }
        }
        value = oneOf(values);
    }

    std::mt19937_64 random_;
};

} // namespace Qcf::Questions::test
