#pragma once

#include "Lists/ListBinding.h"
#include "QcfLib/QcfEval.h"

#include <functional>

namespace Qcf::Lists {

/// Tells the place of a node that the function `within` reaches without a call, as messages name
/// it.
using PlaceOf =
    std::function<String(Eval::AetNodeBase const & node, Eval::Function const & within)>;

/// The lists that evaluating the function refers to, functions that it calls included: each name
/// once, with the first node that has it.
std::vector<ListUse> reachedLists(Eval::Function const & function, PlaceOf const & placeOf);

} // namespace Qcf::Lists
