#include "tests/Agent/Routes/JsonLinesTools.h"

#include <gtest/gtest.h>

namespace Qcf::Agent::test {
namespace {

struct ValueCase {
    char const * line;
    char const * route; ///< as it is written again
};

/// Every attribute with a value that is not its default, and every text that a value may have.
constexpr ValueCase valueCases[] = {
    {"{}", "{}"},
    {R"({"_internal.admin_as": "1:2:3"})",
     R"({"_internal.admin_as":{"value":4294967298,"type":3}})"},
    {R"({"_internal.admin_as": {"type": 1, "value": 18446744073709551615}})",
     R"({"_internal.admin_as":{"value":18446744073709551615,"type":1}})"},
    {R"({"afi": 25, "afi_safi": 1638470})", R"({"afi":25,"afi_safi":1638470})"},
    {R"({"bgp.best_path": true, "bgp.aggregate": true})", "{}"},
    {R"({"aigp.accumulation_metric": 18446744073709551614, "aigp.metric": 18446744073709551614})",
     R"({"aigp.accumulation_metric":18446744073709551614,"aigp.metric":18446744073709551614})"},
    {R"({"as_path": "65001 65002 {65003,65004} (64512 64513) [64514]"})",
     R"({"as_path":"65001 65002 {65003,65004} (64512 64513) [64514]"})"},
    {R"({"as_path": "1.10"})", R"({"as_path":"65546"})"},
    {R"({"as_path": ""})", "{}"},
    {R"({"bgp.aggregate": false, "bgp.aggregate_contributor": false, "bgp.best_path": "unknown"})",
     R"({"bgp.aggregate":false,"bgp.aggregate_contributor":false,"bgp.best_path":"unknown"})"},
    {R"({"bgp.prefix_sid.index": 1048575, "bgp.route_source": 3})",
     R"({"bgp.prefix_sid.index":1048575,"bgp.route_source":3})"},
    {R"({"community": ["65000:2", 65, "no-export", "65000:1", "65000:2", "4259840001"]})",
     R"({"community":["0:65","65000:1","65000:2","65535:65281"]})"},
    {R"({"community": [18446744073709551615, "4294967296"]})",
     R"({"community":["4294967296","18446744073709551615"]})"},
    {R"({"connected.interface": "Ethernet1/1.4094"})",
     R"({"connected.interface":"Ethernet1/1.4094"})"},
    {R"({"destination_session.local.as": 65000})", R"({"destination_session.local.as":65000})"},
    {R"({"ecmp.aggregate_link_bandwidth": 8000})", R"({"ecmp.aggregate_link_bandwidth":8000.0})"},
    {R"({"evpn.ip_prefix_route.gateway_address": "10.0.0.1",
         "evpn.ip_prefix_route.label": 16777215, "evpn.ip_prefix_route.prefix": "10.1.0.0/16"})",
     R"({"evpn.ip_prefix_route.gateway_address":"10.0.0.1","evpn.ip_prefix_route.label":16777215,)"
     R"("evpn.ip_prefix_route.prefix":"10.1.0.0/16"})"},
    {R"({"evpn.mac_ip_route.esi": "00:11:22:33:44:55:66:77:88:99",
         "evpn.mac_ip_route.ip_address": "::1",
         "evpn.mac_ip_route.mac_address": "00:1C:73:00:00:01", "evpn.route_type": 2})",
     R"({"evpn.mac_ip_route.esi":"00:11:22:33:44:55:66:77:88:99",)"
     R"("evpn.mac_ip_route.ip_address":"::1",)"
     R"("evpn.mac_ip_route.mac_address":"00:1c:73:00:00:01","evpn.route_type":2})"},
    {R"({"evpn.mac_ip_route.esi": null})", "{}"},
    {R"({"ext_community": ["rt:65000:5", "0x4004FDE8447A0000", "lbw:65000:1000", "soo:1.2.3.4:5"]})",
     R"({"ext_community":["0x0002fde800000005","0x0103010203040005","0x4004fde8447a0000"]})"},
    {R"({"fec.recmp": 1, "flowspec.destination.prefix": "2001:db8::/32",
         "flowspec.source.prefix": "0.0.0.0/0"})",
     R"({"fec.recmp":1,"flowspec.destination.prefix":"2001:db8::/32",)"
     R"("flowspec.source.prefix":"0.0.0.0/0"})"},
    {R"({"igp.metric": 7, "igp.tag": 4294967295, "instance.as": 1})",
     R"({"igp.metric":7,"igp.tag":4294967295,"instance.as":1})"},
    {R"({"isis.levels": [2, 1, 2], "isis.metric": 10})",
     R"({"isis.levels":[1,2],"isis.metric":10})"},
    {R"({"large_community": ["65000:1:2", "65000:1:1", "65000:1:2", {"value": 1, "type": 0}]})",
     R"({"large_community":["0:1:0","65000:1:1","65000:1:2"]})"},
    {R"({"local_preference": 0, "med": 4294967295, "next_hop": "2001:DB8::1"})",
     R"({"local_preference":0,"med":4294967295,"next_hop":"2001:db8::1"})"},
    {R"({"local_preference": 100, "next_hop": ""})", "{}"},
    {R"({"next_hop_best_path_metric": 1, "next_hop_metric": 18446744073709551615})",
     R"({"next_hop_best_path_metric":1,"next_hop_metric":18446744073709551615})"},
    {R"({"origin": 0, "prefix": "10.0.0.0/8"})", R"({"origin":0,"prefix":"10.0.0.0/8"})"},
    {R"({"origin": 256})", "{}"},
    {R"({"resolution_ribs": {"entries": [{"name": "tunnel", "kind": 2}, {"name": "ip", "kind": 1}],
         "useDefault": false}, "resolution_ribs.system_default": {"useDefault": false}})",
     R"({"resolution_ribs":{"entries":[{"name":"tunnel","kind":2},{"name":"ip","kind":1}],)"
     R"("useDefault":false},"resolution_ribs.system_default":{"entries":[],"useDefault":false}})"},
    {R"({"rib.preference": 255, "route.priority": 3, "rpki.origin_as_validity": 2})",
     R"({"rib.preference":255,"route.priority":3,"rpki.origin_as_validity":2})"},
    {R"({"rt_membership.origin_as": 65000, "rt_membership.route_target": "rt:65000:5"})",
     R"({"rt_membership.origin_as":65000,)"
     R"("rt_membership.route_target":{"value":842122827661317,"type":0}})"},
    {R"({"source_protocol": 11, "source_session.interface.bandwidth": 1.25e9})",
     R"({"source_protocol":11,"source_session.interface.bandwidth":1.25e+09})"},
    {R"({"source_session.remote.as": 4200000000, "source_session.remote.ip_address": "10.0.0.9",
         "source_session.remote.router_id": "1.1.1.1", "weight": 65535})",
     R"({"source_session.remote.as":4200000000,"source_session.remote.ip_address":"10.0.0.9",)"
     R"("source_session.remote.router_id":"1.1.1.1","weight":65535})"},
    {R"({"session": {"outbound": true, "local_as": 65000, "peer_confed": true, "vrf_id": 1}})",
     R"({"session":{"outbound":true,"local_as":65000,"peer_confed":true,"vrf_id":1}})"},
    {R"({"session": {"vrf_id": 16777215, "local_as": 4294967295}})",
     R"({"session":{"local_as":4294967295}})"},
};

String inOneLine(String text) {
    std::erase(text, '\n');
    return text;
}

TEST(JsonLinesValue, AttributesAreReadAndWrittenInTheirTexts) {
    String allLines;
    String seen;
    for (ValueCase const & one : valueCases) {
        String const line = inOneLine(one.line);
        LinesRead const read = readLines(line);
        EXPECT_EQ(read.error, "") << line;
        ASSERT_EQ(read.routes.size(), 1U) << line;
        EXPECT_EQ(read.routes[0], one.route) << line;
        EXPECT_EQ(readLines(read.routes[0]).routes, read.routes) << "written, read and written";
        allLines += line + "\n";
        seen += one.route;
    }
    for (char const * const name : routeAttributeNames()) {
        EXPECT_NE(seen.find('"' + String(name) + "\":"), String::npos) << name << " has no case";
    }
    // One route object serves all of them: nothing of one is left in the next.
    LinesRead const together = readLines(allLines);
    ASSERT_EQ(together.routes.size(), std::size(valueCases)) << together.error;
    for (std::size_t i = 0; i < std::size(valueCases); ++i) {
        EXPECT_EQ(together.routes[i], valueCases[i].route);
    }
}

struct RefusalCase {
    char const * line;
    char const * message; ///< behind "t.jsonl:1:"
};

constexpr RefusalCase refusalCases[] = {
    {"5", ": wants object, found number 5"},
    {"[]", ": wants object, found empty array"},
    {R"({"med": 4294967296})", "/med: wants integer from 0 to 4294967295, found number 4294967296"},
    {R"({"med": -1})", "/med: wants integer from 0 to 4294967295, found number -1"},
    {R"({"med": 1.0})", "/med: wants integer from 0 to 4294967295, found number 1.0"},
    {R"({"med": "1"})", R"(/med: wants integer from 0 to 4294967295, found "1")"},
    {R"({"med": null})", "/med: wants integer from 0 to 4294967295, found null"},
    {R"({"afi": 18446744073709551616})",
     "/afi: wants integer from 0 to 18446744073709551615, found number 18446744073709551616"},
    {R"({"aigp.metric": 18446744073709551615})",
     "/aigp.metric: wants integer from 0 to 18446744073709551614, found number "
     "18446744073709551615"},
    {R"({"origin": 3})", "/origin: wants integer from 0 to 2, found number 3"},
    {R"({"origin": 255})", "/origin: wants integer from 0 to 2, found number 255"},
    {R"({"weight": 65536})", "/weight: wants integer from 0 to 65535, found number 65536"},
    {R"({"rpki.origin_as_validity": 3})",
     "/rpki.origin_as_validity: wants integer from 0 to 2, found number 3"},
    {R"({"isis.levels": [1, 3]})", "/isis.levels/1: wants integer from 1 to 2, found number 3"},
    {R"({"isis.levels": 1})", "/isis.levels: wants array, found number 1"},
    {R"({"prefix": "10.0.0.1/8"})",
     R"(/prefix: wants IPv4 or IPv6 prefix, or "", found "10.0.0.1/8")"},
    {R"({"prefix": 8})", R"(/prefix: wants IPv4 or IPv6 prefix, or "", found number 8)"},
    {R"({"next_hop": "10.0.0.256"})",
     R"(/next_hop: wants IPv4 or IPv6 address, or "", found "10.0.0.256")"},
    {R"({"as_path": "1 {2"})",
     R"(/as_path: wants AS path such as "65001 {65002,65003}", found "1 {2")"},
    {R"({"as_path": [1]})",
     R"(/as_path: wants AS path such as "65001 {65002,65003}", found array)"},
    {R"({"community": ["1:2", "65536:1"]})",
     R"(/community/1: wants standard community A:B, number or well-known name, found "65536:1")"},
    {R"({"community": [-1]})",
     "/community/0: wants standard community A:B, number or well-known name, found number -1"},
    {R"({"large_community": ["1:2"]})",
     "/large_community/0: wants large community A:B:C, extended community (0x and 16 digits, rt:, "
     R"(soo:, lbw:) or object with value and type, found "1:2")"},
    {R"({"large_community": [{"value": 1, "type": 4294967296}]})",
     "/large_community/0/type: wants integer from 0 to 4294967295, found number 4294967296"},
    {R"({"ext_community": [{"value": 1}]})",
     R"(/ext_community/0: community wants key "type", found none)"},
    {R"({"bgp.best_path": "maybe"})",
     R"(/bgp.best_path: wants true, false or "unknown", found "maybe")"},
    {R"({"ecmp.aggregate_link_bandwidth": 1e40})",
     "/ecmp.aggregate_link_bandwidth: wants number, found number 1e40"},
    {R"({"evpn.mac_ip_route.mac_address": ""})",
     R"(/evpn.mac_ip_route.mac_address: wants MAC address, found "")"},
    {R"({"resolution_ribs": {"entries": [{"name": "a", "kind": 256}]}})",
     "/resolution_ribs/entries/0/kind: wants integer from 0 to 255, found number 256"},
    {R"({"as_path.length": 3})",
     R"(/as_path.length: route wants a source attribute or "session", as qcf schema --format routes lists them, found "as_path.length", )"
     "which a route does not carry"},
    {R"({"input.med": 3})",
     R"(/input.med: route wants a source attribute or "session", as qcf schema --format routes lists them, found "input.med", )"
     "which a route does not carry"},
    {R"({"metric": 3})",
     R"(/metric: route wants a source attribute or "session", as qcf schema --format routes lists them, found "metric")"},
    {R"({"session": {"asn": 1}})",
     "/session/asn: session wants only keys outbound, local_as, peer_confed, vrf_id, found unknown "
     R"(key "asn")"},
    {R"({"session": {"local_as": 4294967296}})",
     "/session/local_as: wants integer from 0 to 4294967295, found number 4294967296"},
    {R"({"session": {"outbound": 1}})", "/session/outbound: wants true or false, found number 1"},
};

TEST(JsonLinesValue, WhatIsNoRouteIsRefusedWithItsPlace) {
    for (RefusalCase const & one : refusalCases) {
        LinesRead const read = readLines(one.line);
        EXPECT_EQ(read.error, "t.jsonl:1:" + String(one.message)) << one.line;
        EXPECT_TRUE(read.routes.empty());
    }
    LinesRead const fourRibs = readLines(
        R"({"resolution_ribs": {"entries": [{"name": "a", "kind": 1}, {"name": "b", "kind": 1},)"
        R"( {"name": "c", "kind": 1}, {"name": "d", "kind": 1}]}})");
    EXPECT_EQ(fourRibs.error,
              "t.jsonl:1:/resolution_ribs/entries: wants at most 3 entries, found array");
}

} // namespace
} // namespace Qcf::Agent::test
