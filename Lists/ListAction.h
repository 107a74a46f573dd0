#pragma once

#include "Platform/Framework/Types.h"

namespace Qcf::Lists {

/// What an entry of a named list says of that which it matches. Lists are tried in the order of
/// their entries and the first match decides: `permit` makes the answer of the list true, `deny`
/// makes it false, and later entries are not looked at. Where no entry matches, a list denies.
enum class ListAction : U8 { deny, permit };

} // namespace Qcf::Lists
