#pragma once

#include "QcfLib/EvaluationObserver.h"
#include "Watch/TraceNode.h"

#include <deque>

namespace Qcf::Watch {

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
