#include "Live/AttributeBytes.h"

namespace Qcf::Live {

namespace {

using namespace Agent::Mrt; // NOLINT(google-build-using-namespace): codes of attributes

/// Length and bytes of the next hop, behind the family in front of it.
std::span<U8 const> nextHopOf(std::span<U8 const> reach) {
    constexpr std::size_t familySize = 3;
    Agent::ByteCursor value(reach, "MP_REACH_NLRI attribute");
    value.skip(familySize);
    std::size_t const length = value.u8();
    value.skip(length);
    return reach.subspan(familySize, 1 + length);
}

} // namespace

void appendAttribute(std::vector<U8> & to, U8 code, std::span<U8 const> value) {
    // Flags are no part of what an attribute says.
    bool const isLong = value.size() > 255;
    to.push_back(isLong ? U8{optional | transitive | extendedLength} : U8{optional | transitive});
    to.push_back(code);
    if (isLong) {
        to.push_back(static_cast<U8>(value.size() >> 8));
    }
    to.push_back(static_cast<U8>(value.size() & 0xff));
    to.insert(to.end(), value.begin(), value.end());
}

void KeptAttributes::assign(std::span<U8 const> message, PrefixPlace place) {
    bytes.clear();
    path = {};
    hasLocalPref = false;
    bool const ofAttribute = place == PrefixPlace::attribute;
    eachAttribute(message, [&](U8 code, std::span<U8 const> value) {
        hasLocalPref = hasLocalPref || code == localPref;
        path = code == asPath ? value : path;
        bool const isDropped =
            code == mpUnreach || code == (ofAttribute ? U8{nextHop} : U8{mpReach});
        if (!isDropped) {
            appendAttribute(bytes, code, code == mpReach ? nextHopOf(value) : value);
        }
    });
}

} // namespace Qcf::Live
