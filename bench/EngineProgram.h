#pragma once

#include "QcfLib/ExternalMatchers.h"
#include "QcfLib/QcfEval.h"

namespace Qcf::Bench {

/// A policy as the engine takes it.
struct EngineProgram {
    PtrConst<Eval::Function> function;
    /// The lists that it names.
    PtrConst<ExternalMatchersBase> matchers;
    /// Whether it names others than prefix lists, which an agent's whole context answers.
    bool asksAgent = false;
};

} // namespace Qcf::Bench
