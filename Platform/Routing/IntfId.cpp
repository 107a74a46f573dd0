#include "Platform/Routing/IntfId.h"

#include "Platform/Framework/Hash.h"

#include <ostream>

U32 IntfId::hash(U32 seed) const {
    Hash hash(seed);
    hash.hashMix(name_);
    return hash.result();
}

std::optional<IntfId> IntfId::parse(std::string_view text) {
    // A NUL would end the name for whoever reads it as a C string.
    if (text.find('\0') != std::string_view::npos) {
        return std::nullopt;
    }
    return IntfId(String(text));
}

std::ostream & operator<<(std::ostream & out, IntfId const & intf) { return out << intf.name(); }
