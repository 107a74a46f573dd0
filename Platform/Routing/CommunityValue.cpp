#include "Platform/Routing/CommunityValue.h"

#include "Platform/Framework/Hash.h"
#include "Platform/Routing/CommunityText.h"

#include <ostream>

namespace Acl {

U32 CommunityValue::hash(U32 seed) const {
    Hash hash(seed);
    // By the two words that comparison uses, so that equal values hash alike.
    hash.hashMix(value());
    hash.hashMix(type());
    return hash.result();
}

std::ostream & operator<<(std::ostream & out, CommunityValue const & community) {
    return out << communityValueText(community);
}

} // namespace Acl
