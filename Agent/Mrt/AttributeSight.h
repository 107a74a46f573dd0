#pragma once

#include "Platform/Framework/Types.h"

#include <span>

namespace Qcf::Agent {

/// Whether the path attributes of a table's entry (AS numbers of four bytes, MP_REACH_NLRI perhaps
/// reduced to the next hop) can be decoded, as far as a glance tells: their lengths, the types of
/// path segments, the value of ORIGIN.
///
/// True is certain: `PathAttributes` finds no damage in them. False is no verdict: they have
/// damage, or something that a glance does not cover and few entries have.
bool areWholeAtSight(std::span<U8 const> attributes);

} // namespace Qcf::Agent
