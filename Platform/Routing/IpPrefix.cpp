#include "Platform/Routing/IpPrefix.h"

#include "Platform/Framework/Hash.h"
#include "Platform/Routing/TextPieces.h"

#include <ostream>

IpGenAddr IpGenPrefix::maskV6(IpGenAddr const & addr, U8 length) {
    std::array<U8, 16> octets;
    for (U32 i = 0; i < octets.size(); ++i) {
        // How many leading bits of this octet belong to the prefix.
        U32 const kept = length >= 8 * (i + 1) ? 8 : length > 8 * i ? length - 8 * i : 0;
        octets[i] = static_cast<U8>(addr.bytes()[i] & (0xff00U >> kept));
    }
    return IpGenAddr::v6(octets);
}

U32 IpGenPrefix::hash(U32 seed) const {
    Hash hash(addr_.hash(seed));
    hash.hashMix(length_);
    return hash.result();
}

void IpGenPrefix::appendText(String & out) const {
    if (af() == AddressFamily::none) {
        return;
    }
    addr_.appendText(out);
    out.push_back('/');
    Routing::TextPieces::appendDecimal(out, length_);
}

String IpGenPrefix::toString() const {
    String text;
    appendText(text);
    return text;
}

std::optional<IpGenPrefix> IpGenPrefix::parse(std::string_view text, HostBits hostBits) {
    if (text.empty()) {
        return IpGenPrefix();
    }
    std::size_t const slash = text.find('/');
    // An address alone is no prefix, and a length alone would be one of no address.
    if (slash == std::string_view::npos || slash == 0) {
        return std::nullopt;
    }
    auto const addr = IpGenAddr::parse(text.substr(0, slash));
    std::string_view const lengthText = text.substr(slash + 1);
    // One text for each length: "08" is refused.
    if (!addr || (lengthText.size() > 1 && lengthText.front() == '0')) {
        return std::nullopt;
    }
    auto const length = Routing::TextPieces::parseDecimal(lengthText, addressWidth(addr->af()));
    if (!length) {
        return std::nullopt;
    }
    IpGenPrefix const prefix(*addr, static_cast<U8>(*length));
    // The constructor cleared what stood beyond the length: a difference tells of it.
    if (hostBits == HostBits::refuse && prefix.addr() != *addr) {
        return std::nullopt;
    }
    return prefix;
}

std::ostream & operator<<(std::ostream & out, IpGenPrefix const & prefix) {
    return out << prefix.toString();
}
