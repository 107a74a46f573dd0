#pragma once

#include "Watch/Profile.h"

namespace Qcf::Watch {

/// A line of a profile: a function, a statement, or an operand of a condition.
struct ProfileRow {
    enum class Kind : U8 { function, statement, operand };

    Kind kind = Kind::statement;
    U32 depth = 0; ///< of nested statements and operands, from 0 on
    Eval::Expression const * node = nullptr;
    Eval::Function const * within = nullptr;
    /// Of an `if` those of its condition, else of the node.
    NodeCounts answers = {};
    U64 entered = 0;
    VerdictCounts decided = {};
    U64 selfTime = 0;

    /// Whether the node, or the condition that it asks, stands in several places: a document may
    /// have it shared. Then the counts are those of all places together.
    bool isShared = false;
    /// Whether an earlier row is of the same node.
    bool isRepeated = false;

    /// Verdicts that it decided.
    U64 verdicts() const { return decided[0] + decided[1] + decided[2]; }
    /// Whether true, false and unknown are answers of interest: of a change they are not.
    bool isAsked() const;
};

/// All lines, function by function, in the order of the text. A chain of conditions has its
/// operands below it.
std::vector<ProfileRow> profileRows(NodeNumbers const & numbers, Profile const & profile);

} // namespace Qcf::Watch
