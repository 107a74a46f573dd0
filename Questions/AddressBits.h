#pragma once

#include "Platform/Routing/IpPrefix.h"

namespace Qcf::Questions {

/// The address with that bit turned, counted from 0 at its begin; it must have the bit.
IpGenAddr turned(IpGenAddr const & address, U8 bit);

/// How many bits of two addresses of one family differ.
U8 differingBits(IpGenAddr const & a, IpGenAddr const & b);

} // namespace Qcf::Questions
