#pragma once

#include "QcfLib/PlanSteps.h"
#include "QcfLib/QcfEval.h"

#include <map>
#include <memory>

namespace Qcf::Eval {

/// What the conditions of one chain of `else if` share: integers that several of them read, and
/// indexes over the attributes that several of them test against constants.
class ChainSharing {
public:
    using Step = std::unique_ptr<PlanStep const>;

    /// Looks the conditions over; shares nothing unless all of them only read.
    explicit ChainSharing(std::vector<Expression const *> const & conditions);

    bool any() const { return slotCount_ != 0; }
    /// The slot of an integer operand; PlanInt::notShared when it is read for itself.
    U8 slotOf(Int const & operand) const;
    /// The step that answers a test from an index; null when the test is in none.
    Step indexed(Expression const & test) const;
    /// Moves the indexes to whoever keeps the steps. To be called once, at the end.
    void moveIndexes(std::vector<std::unique_ptr<PlanIndex const>> & keeper);

private:
    /// Operands are the same when they are one node, or one attribute.
    using Operand = void const *;
    template <typename Node>
    using Tests = std::map<Operand, std::vector<Node const *>>;
    struct Place {
        PlanIndex const * index;
        U8 slot;
        U8 test;
    };

    void collect(Expression const & condition);
    template <typename Index, typename Node>
    void index(Tests<Node> const & tests);
    void shareReads();

    std::map<Operand, std::size_t> reads_;
    Tests<IntInImmediateSet> intTests_;
    Tests<IntSetHasAnyImmediate> intSetTests_;
    Tests<CommunitySetHasAnyImmediate> communitySetTests_;

    std::map<Operand, U8> slots_;
    std::map<Expression const *, Place> places_;
    std::vector<std::unique_ptr<PlanIndex>> indexes_;
    U8 slotCount_ = 0;
};

/// Makes the steps of a function's nodes. A node that it does not know becomes a NodeStep.
class PlanLowering {
public:
    /// Steps and indexes are put into the two lists, which the plan keeps.
    PlanLowering(std::vector<std::unique_ptr<PlanStep const>> & steps,
                 std::vector<std::unique_ptr<PlanIndex const>> & indexes)
        : steps_(steps), indexes_(indexes) {}

    StepList statements(Block const & block);
    PlanStep const * expression(Expression const & node);

private:
    PlanStep const * block(Block const & block);
    PlanStep const * ifChain(IfExpression const & head);
    PlanStep const * logical(LogicalOperatorExpression const & node);
    PlanStep const * termination(Expression const & operand, TerminationFlag flag);
    PlanStep const * comparison(Expression const & node);
    PlanStep const * setTest(Expression const & node);
    PlanStep const * change(Expression const & node);
    PlanStep const * assignment(IntAssign const & node);
    template <typename Node>
    PlanStep const * arithmetic(Node const & node, IntArithmeticStep::Arithmetic arithmetic);
    template <typename Set, typename Immediate, typename Node>
    PlanStep const * setEdit(Node const & node, typename SetEditStep<Set, Node>::Edit edit,
                             bool adds);
    template <typename Compare, typename Node>
    PlanStep const * intComparison(Node const & node);
    template <typename Set, typename Immediate, typename Node>
    PlanStep const * constantSetTest(Node const & node, typename SetTestStep<Set>::Test test);
    PlanStep const * keep(std::unique_ptr<PlanStep const> step);
    template <typename Step, typename... Arguments>
    PlanStep const * make(Arguments &&... arguments) {
        return keep(std::make_unique<Step const>(std::forward<Arguments>(arguments)...));
    }

    std::vector<std::unique_ptr<PlanStep const>> & steps_;
    std::vector<std::unique_ptr<PlanIndex const>> & indexes_;
    ChainSharing const * sharing_ = nullptr; ///< while the conditions of a chain are lowered
};

} // namespace Qcf::Eval
