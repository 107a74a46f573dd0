#include "Platform/Routing/IpAddr.h"

#include "Platform/Framework/Hash.h"
#include "Platform/Routing/TextPieces.h"

#include <algorithm>
#include <ostream>

#include <arpa/inet.h>

/// Addresses as text and back. Writing is done here, for the exact form of RFC 5952 and without an
/// allocation; reading is left to the system.
namespace {

using Routing::TextPieces::appendDecimal;

constexpr U32 groupCount = 8;

/// A run of IPv6 groups that are zero.
struct ZeroRun {
    U32 start = groupCount;
    U32 length = 0;
};

U32 group(U8 const * bytes, std::size_t index) {
    return (U32{bytes[2 * index]} << 8) | bytes[2 * index + 1];
}

/// The first of the longest runs of zero groups; a single group is no run worth shortening.
ZeroRun longestZeroRun(U8 const * bytes) {
    ZeroRun best;
    for (U32 i = 0; i < groupCount; ++i) {
        U32 end = i;
        while (end < groupCount && group(bytes, end) == 0) {
            ++end;
        }
        // Greater and not equal: of runs of one length the first is shortened (RFC 5952 4.2.3).
        if (end - i > std::max(best.length, 1U)) {
            best = {i, end - i};
        }
        i = end;
    }
    return best;
}

void appendDottedQuad(String & out, U8 const * octets) {
    for (U32 i = 0; i < 4; ++i) {
        if (i != 0) {
            out.push_back('.');
        }
        appendDecimal(out, octets[i]);
    }
}

// Leading zeros of a group are left out (RFC 5952 4.1).
void appendHexGroup(String & out, U32 value) {
    U32 const digits = value > 0xfff ? 4 : value > 0xff ? 3 : value > 0xf ? 2 : 1;
    Routing::TextPieces::appendHex(out, value, digits);
}

// ::ffff:0:0/96 (RFC 4291 2.5.5.2), whose last part reads better as a dotted quad (RFC 5952 5).
bool isV4Mapped(U8 const * bytes) {
    return std::all_of(bytes, bytes + 10, [](U8 octet) { return octet == 0; }) &&
           bytes[10] == 0xff && bytes[11] == 0xff;
}

void appendV6(String & out, U8 const * bytes) {
    if (isV4Mapped(bytes)) {
        out += "::ffff:";
        appendDottedQuad(out, bytes + 12);
        return;
    }
    ZeroRun const run = longestZeroRun(bytes);
    for (U32 i = 0; i < groupCount; ++i) {
        if (i == run.start) {
            out += "::";
            i += run.length - 1;
            continue;
        }
        // Behind the shortened run its second colon stands already.
        if (i != 0 && i != run.start + run.length) {
            out.push_back(':');
        }
        appendHexGroup(out, group(bytes, i));
    }
}

} // namespace

U32 IpGenAddr::hash(U32 seed) const {
    Hash hash(seed);
    // The family first: 0.0.0.0, :: and no address are three values.
    hash.hashMix(static_cast<U8>(family_));
    if (family_ == AddressFamily::ipv4) {
        hash.hashMix(v4Value());
    } else if (family_ == AddressFamily::ipv6) {
        hash.hashMix(halfValue(0));
        hash.hashMix(halfValue(1));
    }
    return hash.result();
}

void IpGenAddr::appendText(String & out) const {
    if (family_ == AddressFamily::ipv4) {
        appendDottedQuad(out, bytes());
    } else if (family_ == AddressFamily::ipv6) {
        appendV6(out, bytes());
    }
}

String IpGenAddr::toString() const {
    String text;
    appendText(text);
    return text;
}

std::optional<IpGenAddr> IpGenAddr::parse(std::string_view text) {
    // No address has a text of its own, so that what was written is read again.
    if (text.empty()) {
        return IpGenAddr();
    }
    // inet_pton wants an end mark, and would take one inside the text for the end.
    std::array<char, INET6_ADDRSTRLEN> terminated;
    if (text.size() >= terminated.size() || text.find('\0') != std::string_view::npos) {
        return std::nullopt;
    }
    *std::copy(text.begin(), text.end(), terminated.begin()) = '\0';
    // A colon stands in every IPv6 address and in no IPv4 one.
    bool const isV6 = text.find(':') != std::string_view::npos;
    std::array<U8, 16> octets{};
    if (inet_pton(isV6 ? AF_INET6 : AF_INET, terminated.data(), octets.data()) != 1) {
        return std::nullopt;
    }
    IpGenAddr addr;
    addr.bytes_ = octets;
    addr.family_ = isV6 ? AddressFamily::ipv6 : AddressFamily::ipv4;
    return addr;
}

std::ostream & operator<<(std::ostream & out, IpGenAddr const & addr) {
    return out << addr.toString();
}
