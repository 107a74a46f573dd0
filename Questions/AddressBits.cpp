#include "Questions/AddressBits.h"

#include <algorithm>
#include <bit>

namespace Qcf::Questions {

U8 commonBits(IpGenAddr const & a, IpGenAddr const & b) {
    U8 const width = addressWidth(a.af());
    for (U8 byte = 0; byte < width / 8; ++byte) {
        if (auto const differing = static_cast<U8>(a.bytes()[byte] ^ b.bytes()[byte])) {
            return static_cast<U8>(8 * byte + std::countl_zero(differing));
        }
    }
    return width;
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
