#include "Live/StationAddress.h"

#include "Platform/Routing/TextPieces.h"

namespace Qcf::Live {

IpGenAddr unmapped(IpGenAddr const & address) {
    constexpr U64 mapped = 0xffff;
    if (address.af() == AddressFamily::ipv6 && address.halfValue(0) == 0 &&
        address.halfValue(1) >> 32 == mapped) {
        return IpGenAddr::v4(static_cast<U32>(address.halfValue(1)));
    }
    return address;
}

bool StationAddress::isLocal() const {
    constexpr U32 loopback = 127;
    IpGenAddr const plain = unmapped(address);
    return plain.af() == AddressFamily::ipv4 ? plain.v4Value() >> 24 == loopback
                                             : plain.halfValue(0) == 0 && plain.halfValue(1) == 1;
}

String StationAddress::text() const {
    String const plain = address.toString();
    bool const isV6 = address.af() == AddressFamily::ipv6;
    return (isV6 ? '[' + plain + ']' : plain) + ':' + std::to_string(port);
}

std::optional<StationAddress> StationAddress::parse(std::string_view text) {
    constexpr U64 largestPort = 65535;
    auto const colon = text.rfind(':');
    if (colon == std::string_view::npos) {
        return {};
    }
    std::string_view host = text.substr(0, colon);
    bool const inBrackets = host.size() > 1 && host.front() == '[' && host.back() == ']';
    if (inBrackets) {
        host = host.substr(1, host.size() - 2);
    }
    auto const address = IpGenAddr::parse(host);
    auto const port = Routing::TextPieces::parseDecimal(text.substr(colon + 1), largestPort);
    bool const isV6 = address && address->af() == AddressFamily::ipv6;
    if (!address || address->af() == AddressFamily::none || !port || isV6 != inBrackets) {
        return {};
    }
    return StationAddress{*address, static_cast<U16>(*port)};
}

} // namespace Qcf::Live
