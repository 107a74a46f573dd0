#pragma once

#include "Platform/Routing/IpPrefix.h"

namespace Qcf::Questions {

/// The address with that bit turned, counted from 0 at its begin; it must have the bit.
IpGenAddr turned(IpGenAddr const & address, U8 bit);

/// Bits that two addresses of one family begin with in common.
U8 commonBits(IpGenAddr const & a, IpGenAddr const & b);

} // namespace Qcf::Questions
