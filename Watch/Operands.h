#pragma once

#include "QcfLib/QcfEval.h"

namespace Qcf::Watch {

struct TraceNode;

/// A value that a node read, as it was for this route.
struct Operand {
    Eval::AetNodeBase const * node; ///< the value node
    char const * type;              ///< "int", "community set", ...
    String value;                   ///< as policy text spells it
    bool constant = false;          ///< written in the policy
    /// Whether the route carried it, or the function wrote it; true for what is no attribute.
    bool given = true;
};

/// What a change did to one of its targets.
struct ChangedValue {
    Eval::AttributeInfo const * attribute; ///< null where the target is none
    String before;
    String after;
    /// The value that was computed lay outside the attribute's range.
    bool clamped = false;
    /// It had the value already.
    bool hadNoEffect() const { return before == after; }
};

/// The values that the node reads, by the node's own accessors, in the order of its fields; of the
/// body of a built-in function the attributes that it reads. `context` is at that node: its frame
/// is the one that the node sees.
std::vector<Operand> operandsOf(Eval::Expression const & node, Eval::EvalContext & context);

/// The targets of a change with their present values as `before`; none for what changes nothing.
std::vector<ChangedValue> targetsOf(Eval::Expression const & node, Eval::EvalContext & context);
/// Fills in what the targets are after the change. `operands` are those from before it.
void finishTargets(Eval::Expression const & node, Eval::EvalContext & context,
                   std::vector<ChangedValue> & targets);

} // namespace Qcf::Watch
