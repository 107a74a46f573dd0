#pragma once

#include "Agent/Mrt/ByteCursor.h"
#include "Platform/Routing/IpPrefix.h"

namespace Qcf::Agent {

/// Numbers of the MRT format (RFC 6396, RFC 8050) and of the BGP messages inside, as they stand in
/// files. Plain numbers in a namespace, because every one of them is compared with outside data.
namespace Mrt {

/// Types of records. A type is counted as skipped where it is known and carries no routes of BGP.
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

/// Subtypes of TABLE_DUMP_V2: a peer index table, and behind it records with the routes to a prefix
/// each. The generic ones name their family themselves; those with ADDPATH have a path identifier
/// an entry.
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

/// Types of BGP messages; only updates carry routes.
enum MessageType : U8 { open = 1, update = 2, notification = 3, keepAlive = 4 };

/// Path attributes that are read, by their code.
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

/// Flags before an attribute's code; the last one says that its length has two bytes.
enum AttributeFlags : U8 { optional = 0x80, transitive = 0x40, extendedLength = 0x10 };

/// Bits of a peer's type in the peer index table: how its address and its AS number are written.
enum PeerFlags : U8 { ipv6Peer = 0x01, as4Peer = 0x02 };

/// The AS number that stands for one that does not fit in 16 bits (RFC 6793). The number itself is
/// in AS4_PATH then.
constexpr U32 asTrans = 23456;

/// The common header of a record. It says how long the record is, and nothing proves that it is
/// one: where a frame may be broken, the headers behind it are looked at, too.
struct Header {
    /// Bytes in the file.
    static constexpr std::size_t size = 12;

    /// Seconds since 1970, by the collector's clock.
    U32 time;
    /// See Type; but anything may stand here, as in the fields behind it.
    U16 type;
    /// What it means depends on the type.
    U16 subtype;
    U32 length; ///< of what follows the header

    /// Reads the 12 bytes at `from`, which must be there. All fields are big-endian.
    static Header load(U8 const * from) {
        return {loadU32(from), loadU16(from + 4), loadU16(from + 6), loadU32(from + 8)};
    }
};

/// The longest record that is read. A prefix announced by every one of 65,535 peers with usual
/// attributes takes about half of it; collectors write records of some hundred kilobytes. A longer
/// length is taken for a broken frame.
constexpr U32 maxRecordLength = U32{16} << 20;

/// True for a type that files are known to hold and a length that a record may have. Data may look
/// so by chance.
bool isPlausible(Header const & header);

/// The same, and the subtype is one that is defined for the type. A search for a lost frame trusts
/// only such headers.
bool isWellKnown(Header const & header);

/// True for a record of TABLE_DUMP_V2 that holds routes, which can be read only with the peers of
/// the table before it.
constexpr bool holdsTableRoutes(Header const & header) {
    return header.type == tableDumpV2 && header.subtype >= ribIpv4Unicast &&
           header.subtype <= ribGenericAddPath && header.subtype != geoPeerTable;
}

/// The name for reports: "TABLE_DUMP_V2/RIB_IPV4_UNICAST", "BGP4MP_ET/MESSAGE_AS4", "type
/// 32305/28353".
String recordName(U16 type, U16 subtype);

} // namespace Mrt

/// An address or prefix family with its sub-family, as BGP numbers them: 1/1 is IPv4 unicast.
struct FamilyCode {
    /// 1 for IPv4, 2 for IPv6; all others are not read.
    U16 afi = 0;
    /// 1 for unicast, 2 for multicast.
    U8 safi = 0;

    /// IPv4 or IPv6 for unicast and multicast routes, none for every other family. Others are
    /// counted and passed over.
    AddressFamily routeFamily() const {
        if (safi != 1 && safi != 2) {
            return AddressFamily::none;
        }
        return addressFamily(afi);
    }

    /// The family of an AFI alone; none for all but 1 and 2. Old records have an AFI and no
    /// sub-family.
    static AddressFamily addressFamily(U16 afi) {
        return afi == 1   ? AddressFamily::ipv4
               : afi == 2 ? AddressFamily::ipv6
                          : AddressFamily::none;
    }
};

/// Reads an address of the family, 4 or 16 bytes; none for family none. Damage where they are not
/// there.
IpGenAddr readAddress(ByteCursor & from, AddressFamily family);

/// Reads a length in bits and as many bytes as it takes. Bits beyond the length are cleared; a
/// length beyond the family's width is Damage. That is how routes of IPv4 and IPv6 stand in every
/// message and record.
IpGenPrefix readPrefix(ByteCursor & from, AddressFamily family);

/// Counts the prefixes, each behind a path identifier where `addPath` says so, to the end; none of
/// a family that is not read. Looks at every prefix, so that a damaged one is found before any is
/// used.
U64 countPrefixes(ByteCursor from, AddressFamily family, bool addPath);

} // namespace Qcf::Agent
