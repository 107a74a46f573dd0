#include "Platform/Routing/EthAddr.h"

#include "Platform/Framework/Hash.h"
#include "Platform/Routing/TextPieces.h"

#include <ostream>

U32 EthAddr::hash(U32 seed) const {
    Hash hash(seed);
    // Octet by octet, so that the order of bytes of the machine has no say.
    for (U8 const octet : octets_) {
        hash.hashMix(octet);
    }
    return hash.result();
}

String EthAddr::toString() const {
    String text;
    Routing::TextPieces::appendOctets(text, octets_);
    return text;
}

std::optional<EthAddr> EthAddr::parse(std::string_view text) {
    EthAddr addr;
    if (!Routing::TextPieces::parseOctets(text, addr.octets_)) {
        return std::nullopt;
    }
    return addr;
}

std::ostream & operator<<(std::ostream & out, EthAddr const & addr) {
    return out << addr.toString();
}
