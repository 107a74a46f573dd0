#include "Agent/Mrt/PathAttributes.h"

#include "Agent/Mrt/AttributeSight.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>

/// Decodes path attributes in one pass. The pass comes twice, as a template so that neither pays
/// for the other: one fills a route, one only sees whether that could be done. Both throw in the
/// same cases, or a record that was checked could fail half handed out.
namespace Qcf::Agent {

namespace {

using Routing::Bgp::Asn;
using Routing::Bgp::AsnVector;
using Routing::Bgp::SegmentType;

// Literals, so that a hostile file cannot make texts.
constexpr auto attributeNames = [] {
    std::array<char const *, 33> names{};
    names.fill("attribute");
    names[Mrt::origin] = "ORIGIN attribute";
    names[Mrt::asPath] = "AS_PATH attribute";
    names[Mrt::nextHop] = "NEXT_HOP attribute";
    names[Mrt::med] = "MULTI_EXIT_DISC attribute";
    names[Mrt::localPref] = "LOCAL_PREF attribute";
    names[Mrt::aggregator] = "AGGREGATOR attribute";
    names[Mrt::communities] = "COMMUNITIES attribute";
    names[Mrt::mpReach] = "MP_REACH_NLRI attribute";
    names[Mrt::mpUnreach] = "MP_UNREACH_NLRI attribute";
    names[Mrt::extCommunities] = "EXTENDED COMMUNITIES attribute";
    names[Mrt::as4Path] = "AS4_PATH attribute";
    names[Mrt::aigp] = "AIGP attribute";
    names[Mrt::largeCommunities] = "LARGE_COMMUNITY attribute";
    return names;
}();

char const * attributeName(U8 code) {
    return code < attributeNames.size() ? attributeNames[code] : "attribute";
}

/// Refuses a value that is not made of whole elements of `size` bytes; answers their number.
std::size_t elements(ByteCursor const & value, std::size_t size) {
    if (value.left() % size != 0) {
        throw Damage(value.subject(), "has a wrong length");
    }
    return value.left() / size;
}

/// Refuses a value of another length than `size`.
ByteCursor & exactly(ByteCursor & value, std::size_t size) {
    if (value.left() != size) {
        throw Damage(value.subject(), "has a wrong length");
    }
    return value;
}

U32 readU32(ByteCursor value) { return exactly(value, 4).u32(); }

U8 readOrigin(ByteCursor value) {
    U8 const origin = exactly(value, 1).u8();
    if (origin > 2) {
        throw Damage(value.subject(), "has an unknown value");
    }
    return origin;
}

/// Takes the segments of a path, whose AS numbers have `width` bytes, with `take(type, count, at)`.
template <std::size_t width, class Take>
void readSegments(std::span<U8 const> bytes, char const * subject, Take take) {
    ByteCursor value(bytes, subject);
    while (!value.atEnd()) {
        U8 const type = value.u8();
        if (type < U8(SegmentType::set) || type > U8(SegmentType::confedSet)) {
            throw Damage(value.subject(), "has a segment of unknown type");
        }
        U8 const count = value.u8();
        U8 const * const from = value.advance(count * width);
        // An empty segment is no damage, and no part of the path.
        if (count != 0) {
            take(SegmentType(type), count, from);
        }
    }
}

/// For `readSegments`: writes them to a path.
template <std::size_t width>
auto appendTo(AsnVector & path) {
    return [&path](SegmentType type, U8 count, U8 const * from) {
        for (Asn & asn : path.appendForWriting(type, count)) {
            asn = width == 4 ? loadU32(from) : loadU16(from);
            from += width;
        }
    };
}

/// For `readSegments`: passes over them.
constexpr auto passOver = [](SegmentType, U8, U8 const *) {};

/// Fills a set of a route from elements of `size` bytes, or only looks at their number. Most
/// speakers send them in order.
template <bool fill, class Set, class Load>
void readSet(ByteCursor value, std::size_t size, Set & set, Load load) {
    std::size_t const count = elements(value, size);
    if (!fill) {
        return;
    }
    U8 const * const from = value.data();
    // Not zeroed first: every element is written below.
    set.resize(count, boost::container::default_init);
    bool ascending = true;
    for (std::size_t i = 0; i < count; ++i) {
        auto const element = load(from + size * i);
        ascending = ascending && (i == 0 || set[i - 1] < element);
        set[i] = element;
    }
    // Sets of a route are ascending without duplicates, whatever was sent.
    if (!ascending) {
        std::sort(set.begin(), set.end());
        set.erase(std::unique(set.begin(), set.end()), set.end());
    }
}

/// The metric of the first AIGP TLV (type 1); TLVs of other types are passed over.
U64 readAigp(ByteCursor value) {
    while (!value.atEnd()) {
        U8 const type = value.u8();
        std::size_t const length = value.u16();
        // The length of a TLV counts its head.
        constexpr std::size_t headLength = 3;
        if (length < headLength) {
            throw Damage(value.subject(), "has a part of a wrong length");
        }
        ByteCursor part = value.take(length - headLength, value.subject());
        if (type == 1) {
            return std::min(exactly(part, 8).u64(), std::numeric_limits<U64>::max() - 1);
        }
    }
    return 0;
}

/// A next hop by its length, of the two addresses of an IPv6 next hop the global one. Some writers
/// put IPv6 addresses into NEXT_HOP too, so both attributes are read alike.
IpGenAddr readNextHop(ByteCursor value) {
    switch (value.left()) {
    case 0:
        return {};
    case 4:
        return readAddress(value, AddressFamily::ipv4);
    case 16:
    case 32:
        return readAddress(value, AddressFamily::ipv6);
    default:
        throw Damage(value.subject(), "has a wrong length");
    }
}

} // namespace

namespace {

/// Which attribute of a route each code is.
struct CarriedCode {
    U8 code;
    std::size_t index;
};
constexpr CarriedCode carriedCodes[] = {
    {Mrt::origin, routeIndexOf<&CommonAttributes::origin>()},
    {Mrt::asPath, routeIndexOf<&CommonAttributes::asPath>()},
    {Mrt::nextHop, routeIndexOf<&CommonAttributes::nextHop>()},
    {Mrt::med, routeIndexOf<&CommonAttributes::med>()},
    {Mrt::localPref, routeIndexOf<&CommonAttributes::localPref>()},
    {Mrt::communities, routeIndexOf<&CommonAttributes::community>()},
    {Mrt::extCommunities, routeIndexOf<&CommonAttributes::extCommunity>()},
    {Mrt::largeCommunities, routeIndexOf<&CommonAttributes::largeCommunity>()},
    {Mrt::aigp, routeIndexOf<&CommonAttributes::aigpMetric>()},
};

} // namespace

void PathAttributes::decode(std::span<U8 const> bytes, AttributeForm form, Route & route) {
    walk<Aim::route>(bytes, form, route);
    // A path of four-byte numbers stands in the route already.
    if (!form.as4) {
        finishPath(route);
    }
    for (CarriedCode const & carried : carriedCodes) {
        if (has(carried.code)) {
            route.carriedIs(carried.index);
        }
    }
}

void PathAttributes::check(std::span<U8 const> bytes, AttributeForm form) {
    if (form.as4 && form.rib && areWholeAtSight(bytes)) {
        return;
    }
    // What is read on the way has to go somewhere; nobody looks at it.
    walk<Aim::check>(bytes, form, checked_);
}

template <PathAttributes::Aim aim>
void PathAttributes::walk(std::span<U8 const> bytes, AttributeForm form, Route & route) {
    ByteCursor from(bytes, "path attributes");
    seen_ = 0;
    reach_ = {};
    unreach_ = {};
    while (!from.atEnd()) {
        // The shortest head; an extended length has one byte more.
        U8 const * const head = from.advance(3); // flags, code, length
        U8 const code = head[1];
        std::size_t length = head[2];
        if ((head[0] & Mrt::extendedLength) != 0) {
            length = length << 8 | from.u8();
        }
        if (from.left() < length) {
            throw Damage(attributeName(code), "is longer than what is left");
        }
        std::span<U8 const> const value = from.bytes(length);
        // Of attributes that come twice the first counts (RFC 7606 3 g has it so for most of
        // them). From 64 on no code is read, so that the bits of one word are enough.
        if (code < 64) {
            if (has(code)) {
                continue;
            }
            seen_ |= U64{1} << code;
        }
        readOne<aim>(code, value, form, route);
    }
}

template <PathAttributes::Aim aim>
void PathAttributes::readPath(std::span<U8 const> bytes, AttributeForm form, Route & route) {
    char const * const name = attributeName(Mrt::asPath);
    if constexpr (aim == Aim::check) {
        form.as4 ? readSegments<4>(bytes, name, passOver) : readSegments<2>(bytes, name, passOver);
    } else if (form.as4) {
        route.asPath.asnsWrittenBy(
            [&](AsnVector & path) { readSegments<4>(bytes, name, appendTo<4>(path)); });
    } else {
        // Kept aside: AS4_PATH may come later, and only the two together are the path.
        path_.clear();
        readSegments<2>(bytes, name, appendTo<2>(path_));
    }
}

/// The attributes of nearly every route; inside the loop above they cost no call.
template <PathAttributes::Aim aim>
inline void PathAttributes::readOne(U8 code, std::span<U8 const> bytes, AttributeForm form,
                                    Route & route) {
    auto const value = [&] { return ByteCursor(bytes, attributeName(code)); };
    switch (code) {
    case Mrt::origin:
        route.origin = readOrigin(value());
        break;
    case Mrt::asPath:
        readPath<aim>(bytes, form, route);
        break;
    case Mrt::nextHop:
        route.nextHop = readNextHop(value());
        break;
    case Mrt::med:
        route.med = readU32(value());
        break;
    case Mrt::localPref:
        route.localPref = readU32(value());
        break;
    case Mrt::communities:
        readSet<aim == Aim::route>(value(), 4, route.community,
                                   [](U8 const * at) { return U64{loadU32(at)}; });
        break;
    case Mrt::mpReach:
        readReach(bytes, form.rib);
        break;
    default:
        readRare<aim>(code, bytes, route);
        break;
    }
}

template <PathAttributes::Aim aim>
void PathAttributes::readRare(U8 code, std::span<U8 const> bytes, Route & route) {
    ByteCursor value(bytes, attributeName(code));
    switch (code) {
    case Mrt::aggregator:
        // Wanted only beside an AS_PATH of two-byte numbers, see finishPath.
        aggregatorAs_ = value.left() == 6 ? value.u16() : 0;
        break;
    case Mrt::extCommunities:
        readSet<aim == Aim::route>(value, 8, route.extCommunity, [](U8 const * at) {
            return Acl::CommunityValue(loadU64(at), 0);
        });
        break;
    case Mrt::largeCommunities:
        readSet<aim == Aim::route>(value, 12, route.largeCommunity, [](U8 const * at) {
            return Acl::CommunityValue(loadU64(at), loadU32(at + 8));
        });
        break;
    case Mrt::mpUnreach:
        readUnreach(value);
        break;
    case Mrt::as4Path:
        // Read in either form: its damage counts even where the path does without it.
        as4Path_.clear();
        readSegments<4>(bytes, attributeName(code), appendTo<4>(as4Path_));
        break;
    case Mrt::aigp:
        route.aigpMetric = readAigp(value);
        break;
    default:
        break;
    }
}

void PathAttributes::readReach(std::span<U8 const> bytes, bool rib) {
    ByteCursor value(bytes, attributeName(Mrt::mpReach));
    // The reduced form starts with the length of the next hop, the full one with the high byte of
    // an address family, which is 0.
    constexpr std::size_t fullFormMin = 4;
    bool const reduced = rib && (value.left() < fullFormMin || *value.data() != 0);
    reach_.present = true;
    if (!reduced) {
        reach_.family.afi = value.u16();
        reach_.family.safi = value.u8();
    }
    std::size_t const hopLength = value.u8();
    ByteCursor const hop = value.take(hopLength, "next hop of MP_REACH_NLRI");
    // Next hops of other families have lengths of their own.
    if (reduced || reach_.family.routeFamily() != AddressFamily::none) {
        reach_.nextHop = readNextHop(hop);
    }
    // In a table the record has the prefix: nothing behind the next hop is of interest.
    if (!rib) {
        value.skip(1); // reserved
        reach_.nlri = value;
    }
}

void PathAttributes::readUnreach(ByteCursor value) {
    unreach_.present = true;
    unreach_.family.afi = value.u16();
    unreach_.family.safi = value.u8();
    unreach_.nlri = value;
}

/// An AGGREGATOR that a four-byte speaker did not write beside its AS4_AGGREGATOR tells that the
/// route was aggregated by a two-byte speaker since, which made AS4_PATH stale (RFC 6793 4.2.3).
void PathAttributes::finishPath(Route & route) {
    bool const stale =
        has(Mrt::aggregator) && has(Mrt::as4Aggregator) && aggregatorAs_ != Mrt::asTrans;
    // The route keeps the empty path that it was cleared to.
    if (!has(Mrt::asPath)) {
        return;
    }
    if (stale || !has(Mrt::as4Path)) {
        route.asPath.asnsIs(path_);
    } else {
        mergeAs4Path(path_, as4Path_, merged_);
        route.asPath.asnsIs(merged_);
    }
}

} // namespace Qcf::Agent
