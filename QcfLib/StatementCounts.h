#pragma once

#include "QcfLib/QcfEval.h"

#include <map>
#include <vector>

namespace Qcf::Eval {

/// What became of one node: a statement, a `return` or `exit`, or the function itself.
struct StatementCount {
    Expression const * node; ///< of the function's tree, or the function
    /// How often it was entered; of a function, how often it was evaluated or called.
    U64 entries = 0;
    /// How many evaluations it decided.
    U64 verdicts = 0;
};

/// How often each statement was entered and how many evaluations it decided, counted by plans as
/// they run: for production, where nobody can look on.
///
///     StatementCounts::enabledIs(true);      // before the routes
///     ...                                    // evaluate, on any threads
///     auto const counts = StatementCounts::now();
///     for (StatementCount const & count : counts.of(*function)) { ... }
///
/// A statement is an entry of a block, or a branch of an `if` that is no block. What decides an
/// evaluation is the innermost `return` or `exit` on the way from the outermost function to what
/// yielded its result: through calls, and through `not`, `and`, `or` and `??` to the operand that
/// ended them. Where there is none, because the function's end was reached, it is the function. So
/// the verdicts of all functions together are as many as the evaluations.
///
/// Off at the start, and then no plan has a counting step. While on, plans count at places where
/// ways part, and what stands in a line behind one is worked out when counts are asked for. A node
/// that stands in several places of a function has one count for all of them. What a called
/// function counts is its own, wherever it is called.
///
/// Not counted: evaluations that walk the tree because they are logged, observed or traced, or
/// because plans are off. One that ends by an exception counts as if it had gone on to the end of
/// its line. A function of a rare shape (a `return`, `exit` or block in the place of a condition,
/// the body of a built-in function, one nested or shared beyond the bounds of plans) is counted by
/// walking it, at the speed of the walk.
///
/// Counts are kept for each context and last as long as the plan: until the function is let go of.
/// Memory: 8 bytes a counter and context, about two counters for a `return` and one for a branch or
/// an inlined call; a step of 24 to 40 bytes for each, and the table of places, once a plan.
class StatementCounts {
public:
    /// Process-wide. Functions get another plan at their next evaluation, and keep the one before
    /// as long as they live: not to be switched for every route. Evaluations under way may be
    /// counted in part.
    static void enabledIs(bool enabled);
    static bool enabled();

    /// What all contexts counted up to now, those that are gone included. From any thread. What
    /// evaluates meanwhile is not disturbed, and its routes under way may be counted in part.
    static StatementCounts now();

    /// The function's counts in the order of its text, each node once, the function first. Nodes
    /// that were never entered are among them. The function's tree must still be there.
    std::vector<StatementCount> of(Function const & function) const;

private:
    friend class CountLayout;

    struct Count {
        S64 entries = 0;
        S64 verdicts = 0;
    };
    std::map<std::pair<Function const *, Expression const *>, Count> counts_;
};

} // namespace Qcf::Eval
