#include "Agent/Mrt/MrtFormat.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <span>

/// The tables of what is known of MRT, and what all kinds of records have in common: addresses and
/// prefixes. What a record says is decoded elsewhere.
namespace Qcf::Agent {

namespace Mrt {

namespace {

// Names of subtypes by their number (RFC 6396; those with ADDPATH: RFC 8050). They are for reports,
// and decide which headers a search for a lost frame trusts.
constexpr char const * bgpNames[] = {"NULL", "UPDATE", "PREF_UPDATE", "STATE_CHANGE",
                                     "SYNC", "OPEN",   "NOTIFY",      "KEEPALIVE"};
constexpr char const * tableDumpNames[] = {nullptr, "AFI_IPv4", "AFI_IPv6"};
constexpr char const * tableDumpV2Names[] = {nullptr,
                                             "PEER_INDEX_TABLE",
                                             "RIB_IPV4_UNICAST",
                                             "RIB_IPV4_MULTICAST",
                                             "RIB_IPV6_UNICAST",
                                             "RIB_IPV6_MULTICAST",
                                             "RIB_GENERIC",
                                             "GEO_PEER_TABLE",
                                             "RIB_IPV4_UNICAST_ADDPATH",
                                             "RIB_IPV4_MULTICAST_ADDPATH",
                                             "RIB_IPV6_UNICAST_ADDPATH",
                                             "RIB_IPV6_MULTICAST_ADDPATH",
                                             "RIB_GENERIC_ADDPATH"};
constexpr char const * bgp4mpNames[] = {"STATE_CHANGE",
                                        "MESSAGE",
                                        "ENTRY",
                                        "SNAPSHOT",
                                        "MESSAGE_AS4",
                                        "STATE_CHANGE_AS4",
                                        "MESSAGE_LOCAL",
                                        "MESSAGE_AS4_LOCAL",
                                        "MESSAGE_ADDPATH",
                                        "MESSAGE_AS4_ADDPATH",
                                        "MESSAGE_LOCAL_ADDPATH",
                                        "MESSAGE_AS4_LOCAL_ADDPATH"};

/// A type with the names of its subtypes; those without a name are not defined.
struct TypeRow {
    U16 type;
    char const * name;
    std::span<char const * const> subtypes;
};

// A type without names for its subtypes can be passed over by its length, but a search for a lost
// frame never stops at it.
constexpr TypeRow typeRows[] = {
    {bgp, "BGP", bgpNames},
    {ospfv2, "OSPFv2", {}},
    {tableDump, "TABLE_DUMP", tableDumpNames},
    {tableDumpV2, "TABLE_DUMP_V2", tableDumpV2Names},
    {bgp4mp, "BGP4MP", bgp4mpNames},
    {bgp4mpEt, "BGP4MP_ET", bgp4mpNames},
    {isis, "ISIS", {}},
    {isisEt, "ISIS_ET", {}},
    {ospfv3, "OSPFv3", {}},
    {ospfv3Et, "OSPFv3_ET", {}},
};

TypeRow const * findType(U16 type) {
    auto const row = std::ranges::find(typeRows, type, &TypeRow::type);
    return row == std::end(typeRows) ? nullptr : &*row;
}

char const * subtypeName(TypeRow const & row, U16 subtype) {
    return subtype < row.subtypes.size() ? row.subtypes[subtype] : nullptr;
}

} // namespace

bool isPlausible(Header const & header) {
    return header.length <= maxRecordLength && findType(header.type) != nullptr;
}

bool isWellKnown(Header const & header) {
    TypeRow const * const row = findType(header.type);
    return row != nullptr && header.length <= maxRecordLength &&
           subtypeName(*row, header.subtype) != nullptr;
}

// Numbers stand in where there is no name, so that reports tell records apart.
String recordName(U16 type, U16 subtype) {
    TypeRow const * const row = findType(type);
    if (row == nullptr) {
        return "type " + std::to_string(type) + "/" + std::to_string(subtype);
    }
    char const * const name = subtypeName(*row, subtype);
    return String(row->name) + "/" + (name != nullptr ? String(name) : std::to_string(subtype));
}

} // namespace Mrt

IpGenAddr readAddress(ByteCursor & from, AddressFamily family) {
    if (family == AddressFamily::ipv4) {
        return IpGenAddr::v4(from.u32());
    }
    if (family == AddressFamily::ipv6) {
        std::array<U8, 16> octets;
        std::memcpy(octets.data(), from.advance(octets.size()), octets.size());
        return IpGenAddr::v6(octets);
    }
    // No bytes are taken for a family that is not read.
    return {};
}

IpGenPrefix readPrefix(ByteCursor & from, AddressFamily family) {
    U8 const bits = from.u8();
    if (bits > addressWidth(family)) {
        throw Damage("prefix", "is longer than an address");
    }
    std::size_t const size = (bits + 7U) / 8U;
    if (family == AddressFamily::ipv4 && from.left() >= 4) {
        // Bytes behind the prefix do no harm: the bits beyond its length are cleared.
        U32 const value = loadU32(from.data());
        from.skip(size);
        return {IpGenAddr::v4(value), bits};
    }
    // IPv6, or the end of a record, where a load of four bytes would leave it.
    U8 const * const bytes = from.advance(size);
    std::array<U8, 16> octets{};
    std::memcpy(octets.data(), bytes, size);
    if (family == AddressFamily::ipv4) {
        return {IpGenAddr::v4(loadU32(octets.data())), bits};
    }
    return {IpGenAddr::v6(octets), bits};
}

U64 countPrefixes(ByteCursor from, AddressFamily family, bool addPath) {
    U64 count = 0;
    // How prefixes of other families are written nobody here knows.
    if (family == AddressFamily::none) {
        return count;
    }
    for (; !from.atEnd(); ++count) {
        if (addPath) {
            // The path identifier (RFC 7911).
            from.skip(4);
        }
        readPrefix(from, family);
    }
    return count;
}

} // namespace Qcf::Agent
