#pragma once

#include "QcfLib/StatementCounts.h"

#include <functional>

namespace Qcf::Eval {

/// What an evaluation came to, and what decided it: the number of a decider.
struct DecidedEvaluation {
    static constexpr U32 unknown = ~U32{0};

    EvalResult result;
    U32 decider = unknown;
};

/// Evaluates as `Function::eval` does, by the plan that counts, and says what decided. While
/// StatementCounts are off, or the evaluation is watched, it is not known.
///
///     StatementCounts::enabledIs(true);
///     DecidedEvaluation const evaluated = evalDecided(*function, context);
///     eachDecider(*function, [&](Decider const & decider) {
///         if (decider.number == evaluated.decider) { ... decider.node ... }
///     });
///
/// It allocates nothing once the context has seen the function.
DecidedEvaluation evalDecided(Function const & function, Ptr<EvalContextBase> const & context);

/// What may decide an evaluation: a `return` or `exit`, or the end of a function.
struct Decider {
    U32 number; ///< of this plan: when functions get other plans, these have numbers of their own
    Function const & within;
    Expression const & node; ///< the function itself for its end
};

/// Calls `visit` for all that the present plan of a function has; what it calls without inlining it
/// has deciders of its own. A node may have several numbers. Builds the plan where there is none.
void eachDecider(Function const & function, std::function<void(Decider const &)> const & visit);

} // namespace Qcf::Eval
