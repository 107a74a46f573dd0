#pragma once

#include "Agent/Evaluation/ParallelEvaluation.h"

#include <exception>

namespace Qcf::Questions {

/// Evaluates a table. Where `brokenOff` is given, what broke the table off is put there and not
/// thrown: what was evaluated before counts.
inline void evaluateUntilBroken(Agent::RouteReader & reader, Agent::TableRun const & run,
                                std::exception_ptr * brokenOff) {
    try {
        evaluateTable(reader, run);
    } catch (...) {
        if (brokenOff == nullptr) {
            throw;
        }
        *brokenOff = std::current_exception();
    }
}

} // namespace Qcf::Questions
