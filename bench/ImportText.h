#pragma once

#include "bench/EngineProgram.h"
#include "bench/Policies.h"

namespace Qcf::Bench {

/// P5 as a policy text, the way people write such policies; the others are built by hand.
String importText(ImportData const & data);

/// The same, ready for the engine.
EngineProgram importProgram(PolicyData const & data);
/// The tree alone, which does not depend on the ROAs.
PtrConst<Eval::Function> importFunction(PolicyData const & data);

} // namespace Qcf::Bench
