#pragma once

#include "QcfLib/QcfEval.h"

#include <span>

#include <boost/container/small_vector.hpp>

namespace Qcf::Watch {

/// Follows an evaluation to the `return` or `exit` that decides. To be told of each node that is
/// entered and left, as an observer is. Costs a comparison or two a node and allocates nothing.
///
///     void entered(node, ...) { deciding.entered(); }
///     void left(node, result, ...) { deciding.left(node, result); }
///     ... function->eval(context);
///     deciding.statement(); // null: the function's end was reached
///
/// A node's result is that of the node that was left last inside it: of a chain the operand that
/// ended it, of an `if` its branch. So those that were left since anything was entered are the
/// deciding path, from its end on.
class DecidingStatement {
public:
    void entered() { path_.clear(); }
    void left(Eval::Expression const & node, Eval::EvalResult result) {
        if (Eval::is<Eval::ReturnExpression>(node) || Eval::is<Eval::ExitExpression>(node)) {
            path_.push_back(&node);
        } else if (!result.terminates() &&
                   (Eval::is<Eval::Block>(node) || Eval::is<Eval::IfExpression>(node))) {
            // It came to its end: what was inside decides nothing.
            path_.clear();
        }
    }
    void thrown() { path_.clear(); }

    /// The innermost statement that decided; null for none.
    Eval::Expression const * statement() const { return path_.empty() ? nullptr : path_.front(); }
    /// All that did, the innermost first.
    std::span<Eval::Expression const * const> path() const { return {path_.data(), path_.size()}; }

private:
    boost::container::small_vector<Eval::Expression const *, 16> path_;
};

} // namespace Qcf::Watch
