#pragma once

#include "QcfLib/EvalResult.h"

namespace Qcf::Eval {

class EvalContext;
class Expression;

/// Sees an evaluation as it happens: each node before it is evaluated and right after, with its
/// result. What explains, counts or profiles evaluations is such an observer.
///
///     class Printer final : public EvaluationObserver {
///     public:
///         void entered(Expression const & node, EvalContext &) override {
///             out << String(2 * depth++, ' ') << node.typeData().name << '\n';
///         }
///         void left(Expression const &, EvalResult, EvalContext &) override { --depth; }
///         void thrown(Expression const &, EvalContext &) override { --depth; }
///     };
///     context->evaluationObserverIs(&printer);   // until it is given another, or null
///     function->eval(context);
///
/// What is seen: the function, its body, each statement of a block, condition and branch of an
/// `if`, operand of `and`, `or`, `??`, `not`, `return` and `exit`; of a call the function that is
/// called, inside the call. So `entered` and `left` nest as the nodes do, calls included, and each
/// `entered` is followed by one `left` or `thrown` of the same node. Values that operators compare
/// or change are no expressions and are not seen; nor are nodes that the evaluation passes over. A
/// node that stands in several places is told wherever it is evaluated. A function that is refused
/// because it expects arguments is entered and left, without its body.
///
/// Values: in `left` of a test and in `entered` of a change an observer may read the node's own
/// operands through the context. Reading has no effect but calls of the agent's accessors, which
/// answer alike within a route, so that these are the values that the node used; in `left` of a
/// change its target reads as what was written. An observer must not change the context, reset it,
/// or evaluate with it. In `entered` of a call and in `left` of it the caller's frame is current,
/// in between the callee's.
///
/// An evaluation with an observer walks the tree, and never runs a plan. Results, write-backs and
/// the log are the same as without. The write-back comes after the outermost function was left, so
/// that `left` still finds what the function wrote.
///
/// Belongs to whoever made it, and must outlive its use. Called on the evaluating thread; one
/// object for several contexts has to see to its own safety.
class EvaluationObserver {
public:
    EvaluationObserver() = default;
    EvaluationObserver(EvaluationObserver const &) = delete;
    EvaluationObserver & operator=(EvaluationObserver const &) = delete;
    virtual ~EvaluationObserver() = default;

    /// Before the node is evaluated.
    /// An exception ends the evaluation as one of an accessor does: the nodes around are told
    /// `thrown`, this one is not.
    virtual void entered(Expression const & node, EvalContext & context) = 0;
    /// Right after it was evaluated, and logged if a log is wanted. The result is what the node
    /// answers: an `if` that of its branch, a function what its caller gets.
    /// Exceptions as above.
    virtual void left(Expression const & node, EvalResult result, EvalContext & context) = 0;
    /// Instead of `left`, when an exception leaves the node: from the inside out, and then the
    /// exception goes on. Must not throw itself.
    virtual void thrown(Expression const & node, EvalContext & context) = 0;
};

} // namespace Qcf::Eval
