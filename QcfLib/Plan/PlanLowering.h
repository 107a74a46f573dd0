#pragma once

#include "QcfLib/Plan/PlanCalls.h"
#include "QcfLib/Plan/PlanSetEdit.h"
#include "QcfLib/Plan/PlanTests.h"
#include "QcfLib/QcfEval.h"

#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

namespace Qcf::Eval {

/// Makes the steps of a function's nodes, each with the steps that come after it, so from the end
/// to the start.
///
/// A tree may share nodes, of which every place has steps of its own, and be deep: what would make
/// too many steps, or stands too deep, is evaluated as it stands.
class PlanLowering {
public:
    /// Steps are put into the list, which the plan keeps.
    PlanLowering(Function const & function, std::vector<std::unique_ptr<PlanStep const>> & steps);

    /// The first step of a block; `next` follows where no statement ends the run.
    PlanStep const * block(Block const & block, PlanStep const * next);

private:
    /// One level deeper for as long as it lives.
    class Level {
    public:
        explicit Level(PlanLowering & lowering) : lowering_(lowering) { ++lowering_.depth_; }
        Level(Level const &) = delete;
        Level & operator=(Level const &) = delete;
        ~Level() { --lowering_.depth_; }

    private:
        PlanLowering & lowering_;
    };

    /// A function whose body is lowered where it is called.
    struct Callee {
        std::vector<SignedMagnitude> arguments;
        PlanTargets returns; ///< where it returns to, by the value that it returns
        bool fits = true;    ///< false once some node of it needs a frame
    };

    template <typename Link, typename Next>
    std::size_t lengthOf(Link const * link, Next next);
    template <typename Link>
    std::size_t lengthOf(Link const * link);
    bool isTooDeep() const;
    bool affords(std::size_t parts);
    PlanStep const * statement(Expression const & node, PlanStep const * next);
    PlanStep const * ifChain(IfExpression const & head, PlanStep const * next);
    PlanStep const * clauses(std::span<IfExpression const * const> links, PlanStep const * next,
                             PlanStep const * otherwise);
    PlanStep const * termination(Expression const & operand, TerminationFlag flag);
    PlanStep const * call(FunctionCallExpression const & node, PlanTargets const & targets);
    std::optional<std::vector<SignedMagnitude>> argumentsOf(FunctionCallExpression const & node);
    std::optional<SignedMagnitude> constantOf(Int const & operand) const;
    PlanStep const * change(Expression const & node, PlanStep const * next);
    PlanStep const * assignment(IntAssign const & node, PlanStep const * next);
    template <typename Node>
    PlanStep const * arithmetic(Node const & node, IntArithmeticStep::Arithmetic operation,
                                PlanStep const * next);

    PlanStep const * condition(Expression const & node, PlanTargets const & targets);
    PlanStep const * logical(LogicalOperatorExpression const & node, PlanTargets const & targets);
    PlanStep const * intTest(Expression const & node, PlanTargets const & targets);
    template <typename Compare, typename Node>
    PlanStep const * comparison(Node const & node, PlanTargets const & targets);
    PlanStep const * setTest(Expression const & node, PlanTargets const & targets);
    PlanStep const * prefixTest(Expression const & node, PlanTargets const & targets);
    template <typename Set, typename Immediate, bool test(Set const *, Set const *), typename Node>
    PlanStep const * constantTest(Node const * node, PlanTargets const & targets);

    template <typename Step, typename... Arguments>
    PlanStep const * make(Arguments &&... arguments) {
        steps_.push_back(std::make_unique<Step const>(std::forward<Arguments>(arguments)...));
        return steps_.back().get();
    }

    // A node that is evaluated as it stands.
    PlanStep const * nodeStatement(Expression const & node, PlanStep const * next);
    PlanStep const * nodeTest(Expression const & node, PlanTargets const & targets);

    std::vector<std::unique_ptr<PlanStep const>> & steps_;
    std::size_t parts_;          ///< statements, conditions and operands that may still be lowered
    std::size_t roomForCallees_; ///< nodes of callees that may still be taken in
    std::size_t roomForConstants_; ///< constants that may still be put into tables of their own
    std::unordered_map<void const *, std::size_t> lengths_; ///< of chains, from a link on
    std::size_t depth_ = 0;
    Callee * callee_ = nullptr; ///< while its body is lowered
};

} // namespace Qcf::Eval
