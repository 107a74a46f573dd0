#pragma once

#include "bench/EngineProgram.h"
#include "bench/Runner.h"

namespace Qcf::Bench {

/// How the engine evaluates.
enum class EngineForm : U8 {
    plan,
    countingPlan,
    tree,
    watchedTree, ///< for an observer that does nothing
};

/// A runner of the program's function on the calling thread. The program must outlive it. Forms are
/// switched for the whole process as a run begins: threads that run at a time run the same form.
std::unique_ptr<Runner> engineRunner(EngineProgram const & program, EngineForm form);

} // namespace Qcf::Bench
