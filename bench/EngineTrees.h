#pragma once

#include "QcfLib/ExternalMatchers.h"
#include "QcfLib/QcfEval.h"
#include "bench/Policies.h"

namespace Qcf::Bench {

/// A policy as the engine takes it.
struct EngineProgram {
    PtrConst<Eval::Function> function;
    /// The prefix lists that it names.
    PtrConst<ExternalMatchersBase> matchers;
};

/// The policy's tree, its constants computed, its lists bound.
EngineProgram engineProgram(Policy policy, PolicyData const & data);
/// The tree alone.
PtrConst<Eval::Function> engineFunction(Policy policy, PolicyData const & data);

} // namespace Qcf::Bench
