#pragma once

#include "Agent/ListBinding.h"
#include "QcfLib/QcfEval.h"

#include <span>

namespace Qcf::Agent {

/// The places of functions that refer to lists, function by function, each node once; what called
/// functions refer to stands with those. Places read `DOCUMENT: function "NAME"`. First what nodes
/// refer to, then, with their slots, the names of a function's metadata that none of its nodes has.
std::vector<ListUse> listUses(std::span<PtrConst<Eval::Function> const> functions,
                              String const & document);

} // namespace Qcf::Agent
