#include "Agent/Mrt/MrtWriter.h"

#include "Lists/ByteSource.h"
#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <limits>
#include <ostream>
#include <utility>

/// Writes the one form that keeps most of a route: TABLE_DUMP_V2 with AS numbers of four bytes. A
/// route that does not fit is refused before anything of it is written.
namespace Qcf::Agent {

namespace {

/// Appends the low `size` bytes of a number, the highest first.
void put(String & to, U64 value, U32 size) {
    for (U32 shift = 8 * size; shift > 0; shift -= 8) {
        to.push_back(static_cast<char>(value >> (shift - 8)));
    }
}

void putAddress(String & to, IpGenAddr const & addr) {
    to.append(reinterpret_cast<char const *>(addr.bytes()), addressWidth(addr.af()) / 8U);
}

void putPrefix(String & to, IpGenPrefix const & prefix) {
    put(to, prefix.len(), 1);
    to.append(reinterpret_cast<char const *>(prefix.addr().bytes()), (prefix.len() + 7U) / 8U);
}

[[noreturn]] void refuse(Route const & route, char const * problem) {
    throw Lists::FileError("route " + route.ipPrefix.toString() + ": " + problem);
}

/// Writes the path attributes of one route.
class AttributeWriter {
public:
    AttributeWriter(String & to, Route const & route) : to_(to), route_(route) { to_.clear(); }

    // What has its default value is left out: a reader puts it there by itself.
    void writeAll() {
        // BGP has no code for other values, and a reader would take them for damage.
        if (route_.origin <= 2) {
            putHead(Mrt::transitive, Mrt::origin, 1);
            put(to_, route_.origin, 1);
        }
        putPath();
        putNextHop();
        putNumber(Mrt::optional, Mrt::med, route_.med, 0);
        putNumber(Mrt::transitive, Mrt::localPref, route_.localPref, 100);
        putSet(Mrt::communities, route_.community, 4, [this](U64 value) { put(to_, value, 4); });
        putSet(Mrt::extCommunities, route_.extCommunity, 8,
               [this](Acl::CommunityValue const & value) { put(to_, value.value(), 8); });
        putSet(Mrt::largeCommunities, route_.largeCommunity, 12,
               [this](Acl::CommunityValue const & value) {
                   put(to_, value.value(), 8);
                   put(to_, value.type(), 4);
               });
        putAigp();
        checkLength(to_.size());
    }

private:
    void checkLength(std::size_t length) const {
        if (length > std::numeric_limits<U16>::max()) {
            refuse(route_, "its attributes are longer than MRT can hold");
        }
    }

    void putHead(U8 flags, U8 code, std::size_t length) {
        checkLength(length);
        // A length of two bytes only where one does not do.
        bool const extended = length > std::numeric_limits<U8>::max();
        put(to_, flags | (extended ? Mrt::extendedLength : 0), 1);
        put(to_, code, 1);
        put(to_, length, extended ? 2 : 1);
    }

    void putNumber(U8 flags, U8 code, U64 value, U64 defaultValue) {
        if (value == defaultValue) {
            return;
        }
        if (value > std::numeric_limits<U32>::max()) {
            refuse(route_, "a number is larger than MRT can hold");
        }
        putHead(flags, code, 4);
        put(to_, value, 4);
    }

    void putPath() {
        // Written even when it is empty: an AS_PATH is mandatory (RFC 4271 5).
        auto const & path = route_.asPath.asns();
        putHead(Mrt::transitive, Mrt::asPath, 2 * path.segments().size() + 4 * path.asns().size());
        for (auto const & segment : path) {
            put(to_, U8(segment.type), 1);
            put(to_, segment.asns.size(), 1);
            for (U32 const asn : segment.asns) {
                put(to_, asn, 4);
            }
        }
    }

    void putNextHop() {
        if (route_.nextHop.af() == AddressFamily::ipv4) {
            putHead(Mrt::transitive, Mrt::nextHop, 4);
            putAddress(to_, route_.nextHop);
        } else if (route_.nextHop.af() == AddressFamily::ipv6) {
            // The reduced form of tables (RFC 6396 4.3.4): a length and the address, without family
            // and NLRI.
            putHead(Mrt::optional, Mrt::mpReach, 17);
            put(to_, 16, 1);
            putAddress(to_, route_.nextHop);
        }
    }

    template <class Set, class PutElement>
    void putSet(U8 code, Set const & set, std::size_t size, PutElement putElement) {
        if (!set.empty()) {
            putHead(Mrt::optional | Mrt::transitive, code, size * set.size());
            std::for_each(set.begin(), set.end(), putElement);
        }
    }

    void putAigp() {
        // One TLV of type 1, whose length counts its own head of three bytes (RFC 7311 3).
        constexpr U32 tlvLength = 11;
        if (route_.aigpMetric != 0) {
            putHead(Mrt::optional, Mrt::aigp, tlvLength);
            put(to_, 1, 1);
            put(to_, tlvLength, 2);
            put(to_, route_.aigpMetric, 8);
        }
    }

    String & to_;
    Route const & route_;
};

} // namespace

MrtWriter::MrtWriter(std::ostream & out, std::vector<MrtPeer> peers, U32 time)
    : out_(out), peers_(std::move(peers)), time_(time) {
    QCF_ASSERT(peers_.size() <= std::numeric_limits<U16>::max());
    writePeers();
}

void MrtWriter::writePeers() {
    String body;
    put(body, 0, 4); // the collector's identifier
    put(body, 0, 2); // no view name
    put(body, peers_.size(), 2);
    for (MrtPeer const & peer : peers_) {
        bool const v6 = peer.address.af() == AddressFamily::ipv6;
        put(body, Mrt::as4Peer | (v6 ? Mrt::ipv6Peer : 0), 1);
        put(body, 0, 4); // the peer's identifier
        // The format has no peers without an address: 0.0.0.0 stands for none.
        putAddress(body,
                   peer.address.af() == AddressFamily::none ? IpGenAddr::v4(0) : peer.address);
        put(body, peer.as, 4);
    }
    writeRecord(Mrt::peerIndexTable, body);
}

U16 MrtWriter::peerIndex(Route const & route) const {
    auto const peer = std::ranges::find_if(peers_, [&route](MrtPeer const & candidate) {
        return candidate.as == route.sourceSessionRemoteAs &&
               candidate.address == route.sourceSessionRemoteIpAddress;
    });
    QCF_ASSERT_TEXT(peer != peers_.end(), "the session of the route must be one of the peers");
    return static_cast<U16>(peer - peers_.begin());
}

void MrtWriter::add(Route const & route) {
    if (route.ipPrefix.af() == AddressFamily::none) {
        refuse(route, "has no prefix");
    }
    // Whatever can be refused comes before the first change.
    AttributeWriter(attributes_, route).writeAll();
    U16 const index = peerIndex(route);
    // The number of entries has 16 bits; those that do not fit start another record of the prefix.
    if (route.ipPrefix != prefix_ || entryCount_ == std::numeric_limits<U16>::max()) {
        finish();
        prefix_ = route.ipPrefix;
    }
    put(entries_, index, 2);
    put(entries_, time_, 4);
    put(entries_, attributes_.size(), 2);
    entries_ += attributes_;
    ++entryCount_;
}

void MrtWriter::finish() {
    if (entryCount_ == 0) {
        return;
    }
    String body;
    put(body, sequence_++, 4);
    putPrefix(body, prefix_);
    put(body, entryCount_, 2);
    body += entries_;
    writeRecord(prefix_.af() == AddressFamily::ipv4 ? Mrt::ribIpv4Unicast : Mrt::ribIpv6Unicast,
                body);
    entries_.clear();
    entryCount_ = 0;
}

void MrtWriter::writeRecord(U16 subtype, String const & body) {
    String header;
    put(header, time_, 4);
    put(header, Mrt::tableDumpV2, 2);
    put(header, subtype, 2);
    put(header, body.size(), 4);
    out_.write(header.data(), static_cast<std::streamsize>(header.size()));
    out_.write(body.data(), static_cast<std::streamsize>(body.size()));
}

} // namespace Qcf::Agent
