#include "Questions/AddressBits.h"

#include <algorithm>
#include <bit>

namespace Qcf::Questions {

U8 differingBits(IpGenAddr const & a, IpGenAddr const & b) {
    return static_cast<U8>(std::popcount(a.halfValue(0) ^ b.halfValue(0)) +
                           std::popcount(a.halfValue(1) ^ b.halfValue(1)));
}

IpGenAddr turned(IpGenAddr const & address, U8 bit) {
    if (address.af() == AddressFamily::ipv4) {
        return IpGenAddr::v4(address.v4Value() ^ (U32{1} << (31 - bit)));
    }
    std::array<U8, 16> octets{};
    std::copy_n(address.bytes(), octets.size(), octets.begin());
    octets[bit / 8] = static_cast<U8>(octets[bit / 8] ^ (0x80U >> (bit % 8)));
    return IpGenAddr::v6(octets);
}

} // namespace Qcf::Questions
