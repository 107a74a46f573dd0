#pragma once

#include "QcfLib/QcfEval.h"

#include <optional>

namespace Qcf::Watch {

/// A value that a node read, as it was for this route.
struct Operand {
    Eval::AetNodeBase const * node; ///< the value node
    char const * type;              ///< "int", "as_path", "community_set", ...
    String value;                   ///< as policy text spells it
    bool constant = false;          ///< the same for all routes
    /// False where the route came without the attribute, and nobody has written it: the value is
    /// the attribute's default.
    bool given = true;
};

/// What a change did to its target.
struct Change {
    Eval::AetNodeBase const * target;
    String before;
    String after = {};
    bool given = true; ///< of `before`, as of an operand
    /// What was computed lay outside the attribute's range.
    bool clamped = false;

    bool toSelf = false; ///< may set the next hop to the agent's own address

    /// What integer arithmetic came to before it was forced into the range.
    struct Exact {
        bool isKnown = false; ///< of integers only
        bool negative = false;
        bool tooLarge = false; ///< for the type
        U64 value = 0;
    };
    Exact exact = {};

    /// Null where the target is no attribute.
    Eval::AttributeInfo const * attribute() const { return target->typeData().attribute; }
    /// Whether it had the value already.
    bool hadNoEffect() const { return before == after; }
};

/// The values that the node reads, by the node's own accessors, in the order of its fields; of a
/// call the arguments, of the body of a built-in function the attributes that it reads. What a
/// change writes to without reading it is left out. The context is at that node: its frame is the
/// one that the node sees.
std::vector<Operand> operandsOf(Eval::Expression const & node, Eval::EvalContext & context);

/// A change as it is about to happen: what it writes to, before. Nothing for other nodes.
std::optional<Change> changeBefore(Eval::Expression const & node, Eval::EvalContext & context);
/// Fills in what the target is afterwards.
void changeDone(Change & change, Eval::EvalContext & context);

} // namespace Qcf::Watch
