#pragma once

#include "QcfLib/EvaluationObserver.h"
#include "Watch/NodePlaces.h"

namespace Qcf::Watch {

/// A `return` or `exit` that gave the verdict, or handed on one that it was given.
struct DecidingStatement {
    Eval::Expression const * node = nullptr; ///< null where a function's end was reached
    Eval::Function const * within = nullptr; ///< the function in which it stands
};

/// Finds the deciding statements of evaluations and nothing else, for whole tables: it keeps a few
/// words a node that is open, reads no values, and allocates nothing once it has seen the deepest
/// evaluation.
///
///     Deciding deciding;
///     context->evaluationObserverIs(&deciding);
///     function->eval(context);
///     places.of(*deciding.statement().node, ...); // null where the end was reached
///
/// The statement is the innermost on the deciding path: in `return helper()` that of the helper. It
/// is that of the evaluation that began last. One thread at a time.
class Deciding final : public Eval::EvaluationObserver {
public:
    void entered(Eval::Expression const & node, Eval::EvalContext & context) override;
    void left(Eval::Expression const & node, Eval::EvalResult result,
              Eval::EvalContext & context) override;
    void thrown(Eval::Expression const & node, Eval::EvalContext & context) override;

    /// The innermost deciding statement.
    DecidingStatement statement() const {
        return path_.empty() ? DecidingStatement() : path_.front();
    }
    /// All of them, the innermost first: each but the first hands on the result of the one before.
    std::vector<DecidingStatement> const & path() const { return path_; }
    /// The reason of the innermost that has one; empty for none.
    String reason(NodePlaces const & places) const;
    /// Forgets the evaluation; the next one does so by itself.
    void clear();

private:
    static constexpr U32 none = ~U32{0};
    /// A statement and the one whose result it hands on.
    struct Link {
        DecidingStatement statement;
        U32 inner;
    };
    /// A node that is open, with what decided about the part of it that was evaluated last.
    struct Open {
        Eval::Function const * within;
        U32 last = none; ///< in links_
    };

    void finish(U32 outermost);

    std::vector<Open> open_;
    std::vector<Link> links_;
    std::vector<DecidingStatement> path_;
};

} // namespace Qcf::Watch
