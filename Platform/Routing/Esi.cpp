#include "Platform/Routing/Esi.h"

#include "Platform/Framework/Hash.h"
#include "Platform/Routing/TextPieces.h"

#include <ostream>

namespace Evpn {

U32 Esid::hash(U32 seed) const {
    Hash hash(seed);
    // Ten octets make no whole word; they are mixed one by one, on every machine alike.
    for (U8 const octet : octets_) {
        hash.hashMix(octet);
    }
    return hash.result();
}

String Esid::toString() const {
    String text;
    Routing::TextPieces::appendOctets(text, octets_);
    return text;
}

std::optional<Esid> Esid::parse(std::string_view text) {
    Esid esid;
    if (!Routing::TextPieces::parseOctets(text, esid.octets_)) {
        return std::nullopt;
    }
    return esid;
}

std::ostream & operator<<(std::ostream & out, Esid const & esid) { return out << esid.toString(); }

} // namespace Evpn
