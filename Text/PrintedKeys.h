#pragma once

#include "Text/FunctionContent.h"

#include <span>
#include <unordered_map>

namespace Qcf::Text {

/// The functions whose keys a text has to give, with them: keys that reading it would not derive.
using PrintedKeys = std::unordered_map<Eval::Function const *, U64>;

/// What `text`, in which those functions are printed without keys, lacks of them. A key can only be
/// larger than a derived one, since those behind it count on from it: smaller ones, as of functions
/// that share nodes, are not kept. Reads the text; of one that cannot be read nothing is answered.
PrintedKeys keysBeside(String const & text, std::span<FunctionContent const> contents);

} // namespace Qcf::Text
