"""Every route attribute, once.

A row of SOURCES is an attribute that the agent supplies: class, language name, type, then the
sentence that its header carries. `modifiable` attributes also get an Input twin, a modified flag
and a write-back operation; a modifiable integer states its largest value, and its smallest or
default where they are not 0 and "none". `initial` is what a context reads that overrides nothing.
`names` are those of an integer's values from 0 on, `lists` the kind of community lists that ask it.
`common` attributes are what every BGP route carries: the agent's Route holds them in place.

A row of DERIVED is a value computed from a source attribute; it gets an Input twin when its source
has one. `compute` names the helper in Context/AttributeValues.h.

Accessor order, flag order, flush order, attribute-set bits and collection order follow from the
names; generate.py sorts.
"""

from model import derived, source

U32_MAX = 2**32 - 1
U64_MAX = 2**64 - 1

SOURCES = [
    source("AdminAs", "_internal.admin_as", "community", "Administrative AS, as a community value; internal."),
    source("Afi", "afi", "int", "Address family identifier of the route."),
    source("AfiSafi", "afi_safi", "int", "Address family and subsequent family of the route as one number."),
    source("AigpAccumulationMetric", "aigp.accumulation_metric", "int", "Metric added to AIGP on the way out.", modifiable=True, max=U64_MAX - 1),
    source("AigpMetric", "aigp.metric", "int", "Accumulated IGP metric.", modifiable=True, max=U64_MAX - 1, common=True),
    source("AsPath", "as_path", "asPath", "The AS path.", modifiable=True, common=True),
    source("Aggregate", "bgp.aggregate", "tristate", "Whether the route is an aggregate.", initial="QcfTrue()"),
    source("AggregateContributor", "bgp.aggregate_contributor", "tristate", "Whether the route contributes to an aggregate.", initial="QcfTrue()"),
    source("Bestpath", "bgp.best_path", "tristate", "Whether the route is the best path.", initial="QcfTrue()"),
    source("PrefixSidIndex", "bgp.prefix_sid.index", "int", "Index of the prefix segment identifier.", modifiable=True, max=1048575),
    source("RouteSource", "bgp.route_source", "int", "How the route came into BGP."),
    source("Community", "community", "intSet", "Standard communities.", modifiable=True, common=True, lists="commList"),
    source("ConnectedInterface", "connected.interface", "interface", "Interface of a connected route."),
    source("DestinationSessionLocalAs", "destination_session.local.as", "int", "Local AS of the session that the route is sent to."),
    source("AggregateLinkBandwidth", "ecmp.aggregate_link_bandwidth", "bandwidth", "Sum of the link bandwidths of the ECMP group, bits per second."),
    source("EvpnIpPrefixRouteGatewayAddr", "evpn.ip_prefix_route.gateway_address", "address", "Gateway address of an EVPN IP-prefix route.", modifiable=True),
    source("EvpnIpPrefixRouteLabel", "evpn.ip_prefix_route.label", "int", "Label of an EVPN IP-prefix route.", modifiable=True, max=16777215),
    source("EvpnIpPrefixRoutePrefix", "evpn.ip_prefix_route.prefix", "prefix", "Prefix of an EVPN IP-prefix route."),
    source("EvpnMacIpRouteEsi", "evpn.mac_ip_route.esi", "esi", "Ethernet segment of an EVPN MAC/IP route; may be unset."),
    source("EvpnMacIpRouteIpAddress", "evpn.mac_ip_route.ip_address", "address", "IP address of an EVPN MAC/IP route."),
    source("EvpnMacIpRouteMacAddress", "evpn.mac_ip_route.mac_address", "mac", "MAC address of an EVPN MAC/IP route."),
    source("EvpnRouteType", "evpn.route_type", "int", "EVPN route type."),
    source("ExtCommunity", "ext_community", "communitySet", "Extended communities.", modifiable=True, common=True, lists="extCommList"),
    source("RecmpState", "fec.recmp", "int", "Resilient ECMP state of the forwarding class.", modifiable=True, max=1),
    source("FlowspecDestinationPrefix", "flowspec.destination.prefix", "prefix", "Destination prefix of a flow specification."),
    source("FlowspecSourcePrefix", "flowspec.source.prefix", "prefix", "Source prefix of a flow specification."),
    source("IgpMetric", "igp.metric", "int", "IGP metric of the route."),
    source("Tag", "igp.tag", "int", "IGP tag.", modifiable=True, max=U32_MAX),
    source("InstanceAs", "instance.as", "int", "AS number of the BGP instance."),
    source("IsisLevel", "isis.levels", "intSet", "IS-IS levels, a set of the numbers 1 and 2.", modifiable=True),
    source("IsisMetric", "isis.metric", "int", "IS-IS metric.", modifiable=True, max=U32_MAX),
    source("LargeCommunity", "large_community", "communitySet", "Large communities.", modifiable=True, common=True, lists="largeCommList"),
    source("LocalPref", "local_preference", "int", "Local preference.", modifiable=True, max=U32_MAX, default=100, initial="100", common=True),
    source("Med", "med", "int", "Multi-exit discriminator.", modifiable=True, max=U32_MAX, common=True),
    source("NextHop", "next_hop", "address", "Next hop; unset stands for the agent's own address.", modifiable=True, common=True),
    source("NextHopBestPathMetric", "next_hop_best_path_metric", "int", "Metric to the next hop as used by best-path selection.", modifiable=True, max=U32_MAX),
    source("NextHopMetric", "next_hop_metric", "int", "IGP metric to the next hop."),
    source("Origin", "origin", "int", "BGP origin: 0 IGP, 1 EGP, 2 incomplete, 256 not set.", modifiable=True, max=2, default=256, initial="256", common=True, names="igp egp incomplete"),
    source("IpPrefix", "prefix", "prefix", "The route's prefix.", common=True),
    source("ResolutionRibs", "resolution_ribs", "ribs", "RIBs in which the next hop is resolved.", modifiable=True, initial="Routing::Rib::ResolutionRibProfileConfig(false)"),
    source("ResolutionRibsDefault", "resolution_ribs.system_default", "ribs", "The system's default resolution RIBs.", initial="Routing::Rib::ResolutionRibProfileConfig(true)"),
    source("RibPreference", "rib.preference", "int", "Administrative distance in the RIB.", modifiable=True, max=255),
    source("RoutePriority", "route.priority", "int", "Programming priority of the route.", modifiable=True, max=3),
    source("OriginValidationState", "rpki.origin_as_validity", "int", "Origin validation state: 0 valid, 1 not found, 2 invalid.", modifiable=True, max=2, initial="1", names="valid not_found invalid"),
    source("RtMembershipOriginAs", "rt_membership.origin_as", "int", "Origin AS of a route-target membership route."),
    source("RtMembershipRouteTarget", "rt_membership.route_target", "community", "Route target of a route-target membership route."),
    source("SourceProtocol", "source_protocol", "int", "Protocol that the route was redistributed from, a SourceProtocolType.", names="ATTACHED_HOST CONNECTED DHCP DYNAMIC ISIS KERNEL NO_MATCH OSPF OSPFv3 STATIC"),
    source("SourceSessionInterfaceBandwidth", "source_session.interface.bandwidth", "bandwidth", "Bandwidth of the interface of the source session, bits per second."),
    source("SourceSessionRemoteAs", "source_session.remote.as", "int", "AS number of the peer that sent the route.", common=True),
    source("SourceSessionRemoteIpAddress", "source_session.remote.ip_address", "address", "Address of the peer that sent the route.", common=True),
    source("SourceSessionRemoteRouterId", "source_session.remote.router_id", "address", "Router identifier of the peer that sent the route."),
    source("Weight", "weight", "int", "Local weight.", modifiable=True, max=65535),
]

DERIVED = [
    derived("AsPathLastAs", "AsPath", "last_as", "lastAs", "AS number of the neighbour that the path came from."),
    derived("AsPathLength", "AsPath", "length", "pathLength", "Length of the path: a set counts one, confederation segments none."),
    derived("AsPathOriginAs", "AsPath", "origin_as", "originAs", "AS number that originated the route; 0 when the path ends in a set."),
    derived("CommunityCount", "Community", "count", "count", "Number of standard communities."),
    derived("EvpnIpPrefixRouteGatewayAddrIpVersion", "EvpnIpPrefixRouteGatewayAddr", "ip_version", "ipVersion", "Address family: 4, 6 or 0 for none."),
    derived("EvpnIpPrefixRoutePrefixIpVersion", "EvpnIpPrefixRoutePrefix", "ip_version", "ipVersion", "Address family: 4, 6 or 0 for none."),
    derived("EvpnIpPrefixRoutePrefixLength", "EvpnIpPrefixRoutePrefix", "length", "prefixLength", "Prefix length."),
    derived("EvpnMacIpRouteIpAddressIpVersion", "EvpnMacIpRouteIpAddress", "ip_version", "ipVersion", "Address family: 4, 6 or 0 for none."),
    derived("ExtCommunityCount", "ExtCommunity", "count", "count", "Number of extended communities."),
    derived("FlowspecDestinationPrefixIpVersion", "FlowspecDestinationPrefix", "ip_version", "ipVersion", "Address family: 4, 6 or 0 for none."),
    derived("FlowspecDestinationPrefixLength", "FlowspecDestinationPrefix", "length", "prefixLength", "Prefix length."),
    derived("FlowspecSourcePrefixIpVersion", "FlowspecSourcePrefix", "ip_version", "ipVersion", "Address family: 4, 6 or 0 for none."),
    derived("FlowspecSourcePrefixLength", "FlowspecSourcePrefix", "length", "prefixLength", "Prefix length."),
    derived("IpPrefixIpVersion", "IpPrefix", "ip_version", "ipVersion", "Address family: 4, 6 or 0 for none."),
    derived("IpPrefixLength", "IpPrefix", "length", "prefixLength", "Prefix length."),
    derived("LargeCommunityCount", "LargeCommunity", "count", "count", "Number of large communities."),
    derived("NextHopIpVersion", "NextHop", "ip_version", "ipVersion", "Address family: 4, 6 or 0 for none."),
]
