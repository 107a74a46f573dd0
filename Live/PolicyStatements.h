#pragma once

#include "QcfLib/DecidedEvaluation.h"

#include <map>
#include <vector>

namespace Qcf::Live {

/// The statements of a policy that may decide about a route, numbered: each `return` and `exit` of
/// a function and of those that it calls, and the end of each, in the order of the text. Numbers
/// begin with 1.
///
/// Immutable; any number of threads asks it.
class PolicyStatements {
public:
    /// A node in its function; a function in itself stands for its end.
    struct Statement {
        Eval::Expression const * node;
        Eval::Function const * within;

        bool isEnd() const { return node == within; }
        auto operator<=>(Statement const &) const = default;
    };

    /// Builds the plans of all functions. What is beyond RouteOutcome::mostStatements has no
    /// number.
    explicit PolicyStatements(PtrConst<Eval::Function> const & function);

    std::size_t size() const { return statements_.size(); }
    /// The one of a number from 1 to `size()`.
    Statement const & at(U16 number) const { return statements_[number - 1U]; }
    /// Numbers by deciders, as the plans have them now; 0 where nothing is known.
    std::vector<U16> numbersByDecider() const;

private:
    PtrConst<Eval::Function> function_;
    std::vector<Eval::Function const *> functions_;
    std::vector<Statement> statements_;
    std::map<Statement, U16> numbers_;
};

} // namespace Qcf::Live
