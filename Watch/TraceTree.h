#pragma once

#include "QcfLib/EvaluationObserver.h"
#include "Watch/Operands.h"

#include <deque>

namespace Qcf::Watch {

/// One evaluation of a node, with those that took place inside it. A node that stands in several
/// places, or is reached by several calls, has one of these each time.
struct TraceNode {
    Eval::Expression const * node = nullptr;
    Eval::Function const * within = nullptr; ///< the function that was running
    TraceNode const * parent = nullptr;      ///< null for the outermost function
    std::vector<TraceNode *> children = {};  ///< in the order of evaluation
    Eval::EvalResult result = {};
    bool thrown = false; ///< an exception left it: the result means nothing

    /// The values that it read; of a change as they were before it, of a call its arguments.
    std::vector<Operand> operands = {};
    /// Of a change the target before and after, one each for what it writes.
    std::vector<ChangedValue> changes = {};
    /// What the named list that it asked says of the candidate; empty where it asked none.
    String listSays = {};
    /// Why the result is unknown, from wherever the reasons came; empty where it is not.
    std::vector<String> unknownBecause = {};
    /// The construct around that made something else of an unknown result ("and"); else empty.
    String absorbedBy = {};

    /// The last of its children, whose result became its own; null where it has none, and for a
    /// block that came to its end.
    TraceNode const * decidingChild() const;
};

/// Builds the tree of an evaluation while it happens, with the values that its nodes read.
///
///     TraceTree tree;
///     context->evaluationObserverIs(&tree);
///     context->routeIs(route);
///     function->eval(context);
///     show(tree.root());
///     tree.clear();
///
/// The tree is that of the evaluation that began last. It points to the nodes of the function,
/// which must outlive it. One thread at a time.
class TraceTree final : public Eval::EvaluationObserver {
public:
    void entered(Eval::Expression const & node, Eval::EvalContext & context) override;
    void left(Eval::Expression const & node, Eval::EvalResult result,
              Eval::EvalContext & context) override;
    void thrown(Eval::Expression const & node, Eval::EvalContext & context) override;

    /// The outermost function; null before any evaluation.
    TraceNode const * root() const { return nodes_.empty() ? nullptr : &nodes_.front(); }
    /// Forgets the evaluation.
    void clear();

private:
    /// In the order in which they were entered; addresses stay.
    std::deque<TraceNode> nodes_;
    TraceNode * current_ = nullptr;
};

} // namespace Qcf::Watch
