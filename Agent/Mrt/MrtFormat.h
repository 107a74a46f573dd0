#pragma once

#include "Agent/Mrt/ByteCursor.h"
#include "Platform/Routing/IpPrefix.h"

namespace Qcf::Agent {

/// Numbers of the MRT format (RFC 6396, RFC 8050) and of the BGP messages inside, as they stand in
/// files. Plain numbers in a namespace, because every one of them is compared with outside data.
namespace Mrt {

enum Type : U16 {
    bgp = 5, ///< deprecated by RFC 6396, found in dumps of before 2001
    ospfv2 = 11,
    tableDump = 12,
    tableDumpV2 = 13,
    bgp4mp = 16,
    bgp4mpEt = 17,
    isis = 32,
    isisEt = 33,
    ospfv3 = 48,
    ospfv3Et = 49,
};

enum TableDumpV2 : U16 {
    peerIndexTable = 1,
    ribIpv4Unicast = 2,
    ribIpv4Multicast = 3,
    ribIpv6Unicast = 4,
    ribIpv6Multicast = 5,
    ribGeneric = 6,
    geoPeerTable = 7,
    ribIpv4UnicastAddPath = 8,
    ribIpv4MulticastAddPath = 9,
    ribIpv6UnicastAddPath = 10,
    ribIpv6MulticastAddPath = 11,
    ribGenericAddPath = 12,
};

enum MessageType : U8 { open = 1, update = 2, notification = 3, keepAlive = 4 };

enum Attribute : U8 {
    origin = 1,
    asPath = 2,
    nextHop = 3,
    med = 4,
    localPref = 5,
    aggregator = 7,
    communities = 8,
    mpReach = 14,
    mpUnreach = 15,
    extCommunities = 16,
    as4Path = 17,
    as4Aggregator = 18,
    aigp = 26,
    largeCommunities = 32,
};

enum AttributeFlags : U8 { optional = 0x80, transitive = 0x40, extendedLength = 0x10 };

/// Bits of a peer's type in the peer index table.
enum PeerFlags : U8 { ipv6Peer = 0x01, as4Peer = 0x02 };

constexpr U32 asTrans = 23456;

/// The common header of a record.
struct Header {
    static constexpr std::size_t size = 12;

    U32 time;
    U16 type;
    U16 subtype;
    U32 length; ///< of what follows the header

    static Header load(U8 const * from) {
        return {loadU32(from), loadU16(from + 4), loadU16(from + 6), loadU32(from + 8)};
    }
};

/// The longest record that is read. A prefix announced by every one of 65,535 peers with usual
/// attributes takes about half of it; collectors write records of some hundred kilobytes.
constexpr U32 maxRecordLength = U32{16} << 20;

/// True for a type that files are known to hold and a length that a record may have.
bool isPlausible(Header const & header);

/// The same, and the subtype is one that is defined for the type.
bool isWellKnown(Header const & header);

/// True for a record of TABLE_DUMP_V2 that holds routes.
constexpr bool holdsTableRoutes(Header const & header) {
    return header.type == tableDumpV2 && header.subtype >= ribIpv4Unicast &&
           header.subtype <= ribGenericAddPath && header.subtype != geoPeerTable;
}

/// "TABLE_DUMP_V2/RIB_IPV4_UNICAST", "BGP4MP_ET/MESSAGE_AS4", "type 32305/28353".
String recordName(U16 type, U16 subtype);

} // namespace Mrt

/// An address or prefix family with its sub-family, as BGP numbers them.
struct FamilyCode {
    U16 afi = 0;
    U8 safi = 0;

    /// IPv4 or IPv6 for unicast and multicast routes, none for every other family.
    AddressFamily routeFamily() const {
        if (safi != 1 && safi != 2) {
            return AddressFamily::none;
        }
        return addressFamily(afi);
    }

    static AddressFamily addressFamily(U16 afi) {
        return afi == 1   ? AddressFamily::ipv4
               : afi == 2 ? AddressFamily::ipv6
                          : AddressFamily::none;
    }
};

/// Reads an address of the family, 4 or 16 bytes; none for family none.
IpGenAddr readAddress(ByteCursor & from, AddressFamily family);

/// Reads a length in bits and as many bytes as it takes. Bits beyond the length are cleared; a
/// length beyond the family's width is Damage.
IpGenPrefix readPrefix(ByteCursor & from, AddressFamily family);

/// Counts the prefixes, each behind a path identifier where `addPath` says so, to the end; none of
/// a family that is not read.
U64 countPrefixes(ByteCursor from, AddressFamily family, bool addPath);

} // namespace Qcf::Agent
