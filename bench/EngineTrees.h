#pragma once

#include "bench/EngineProgram.h"
#include "bench/Policies.h"

namespace Qcf::Bench {

/// The policy's tree, its constants computed, its lists bound.
EngineProgram engineProgram(Policy policy, PolicyData const & data);
/// The tree alone.
PtrConst<Eval::Function> engineFunction(Policy policy, PolicyData const & data);

} // namespace Qcf::Bench
