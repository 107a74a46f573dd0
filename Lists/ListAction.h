#pragma once

#include "Platform/Framework/Types.h"

namespace Qcf::Lists {

/// What an entry of a named list says of that which it matches.
enum class ListAction : U8 { deny, permit };

} // namespace Qcf::Lists
