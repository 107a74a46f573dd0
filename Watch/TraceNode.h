#pragma once

#include "Watch/Operands.h"

namespace Qcf::Watch {

/// One evaluation of a node, with those that took place inside it. A node that stands in several
/// places, or is reached by several calls, has one of these each time.
struct TraceNode {
    Eval::Expression const * node = nullptr;
    Eval::Function const * within = nullptr; ///< the function that was running
    TraceNode * parent = nullptr;            ///< null for the outermost function
    std::vector<TraceNode *> children = {};  ///< in the order of evaluation
    Eval::EvalResult result = {};
    bool thrown = false; ///< an exception left it: the result means nothing

    /// The values that it read; of a change as they were before it, of a call its arguments.
    std::vector<Operand> operands = {};
    /// What it did to its target; nothing for what changes nothing.
    std::optional<Change> change = {};
    /// What the named list that it asked says of the candidate; empty where it asked none.
    String listSays = {};
    /// Why the result is unknown, from wherever the reasons came; empty where it is not.
    std::vector<String> unknownBecause = {};
    /// Unknown results inside that it made something else of, with their reasons, such as an `and`
    /// that counts them as false. What does so is the node itself.
    std::vector<String> absorbed = {};

    /// The last of its children, whose result became its own; null where it has none, and for a
    /// block that came to its end.
    TraceNode const * decidingChild() const;
};

/// The deciding path from a node down: each step's result became that of the step before.
std::vector<TraceNode const *> decidingPath(TraceNode const & from);

} // namespace Qcf::Watch
