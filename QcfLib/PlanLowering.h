#pragma once

#include "QcfLib/PlanSetEdit.h"
#include "QcfLib/PlanTests.h"
#include "QcfLib/QcfEval.h"

#include <map>
#include <memory>
#include <vector>

namespace Qcf::Eval {

/// What the conditions of one chain of `else if` share: integers that several of them read, and
/// indexes over the attributes that several of them test against constants.
class ChainSharing {
public:
    static constexpr U8 notShared = 0xff;
    /// A test that an index answers.
    struct Place {
        PlanIndex const * index;
        U8 slot;
        U8 test;
    };

    /// Looks the conditions over; shares nothing unless all of them only read.
    explicit ChainSharing(std::vector<Expression const *> const & conditions);

    bool any() const { return slotCount_ != 0; }
    /// The slot of an integer operand; `notShared` when it is read for itself.
    U8 slotOf(Int const & operand) const;
    /// Where a test is answered; null when it is in no index.
    Place const * placeOf(Expression const & test) const;
    /// How many of the conditions before `end`, at least one, are consecutive tests of one index.
    std::size_t caseBefore(std::vector<Expression const *> const & conditions,
                           std::size_t end) const;
    /// Moves the indexes to whoever keeps the steps. To be called once, at the end.
    void moveIndexes(std::vector<std::unique_ptr<PlanIndex const>> & keeper);

private:
    /// Operands are the same when they are one node, or one attribute.
    using Operand = void const *;
    template <typename Node>
    using Tests = std::map<Operand, std::vector<Node const *>>;

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

/// Makes the steps of a function's nodes, each with the steps that come after it, so from the end
/// to the start.
class PlanLowering {
public:
    /// Steps and indexes are put into the two lists, which the plan keeps.
    PlanLowering(std::vector<std::unique_ptr<PlanStep const>> & steps,
                 std::vector<std::unique_ptr<PlanIndex const>> & indexes)
        : steps_(steps), indexes_(indexes) {}

    /// The first step of a block; `next` follows where no statement ends the run.
    PlanStep const * block(Block const & block, PlanStep const * next);

private:
    PlanStep const * statement(Expression const & node, PlanStep const * next);
    PlanStep const * ifChain(IfExpression const & head, PlanStep const * next);
    PlanStep const * termination(Expression const & operand, TerminationFlag flag);
    PlanStep const * change(Expression const & node, PlanStep const * next);
    PlanStep const * assignment(IntAssign const & node, PlanStep const * next);
    template <typename Node>
    PlanStep const * arithmetic(Node const & node, IntArithmeticStep::Arithmetic arithmetic,
                                PlanStep const * next);

    PlanStep const * condition(Expression const & node, PlanTargets const & targets);
    PlanStep const * logical(LogicalOperatorExpression const & node, PlanTargets const & targets);
    PlanStep const * intTest(Expression const & node, PlanTargets const & targets);
    template <typename Compare, typename Node>
    PlanStep const * comparison(Node const & node, PlanTargets const & targets);
    template <template <typename> typename Step, typename... Arguments>
    PlanStep const * withOperand(Int const & operand, Arguments const &... arguments);
    PlanStep const * setTest(Expression const & node, PlanTargets const & targets);
    template <typename Set, typename Immediate, bool test(Set const *, Set const *), typename Node>
    PlanStep const * constantTest(Node const * node, PlanTargets const & targets);

    template <typename Step, typename... Arguments>
    PlanStep const * make(Arguments &&... arguments) {
        steps_.push_back(std::make_unique<Step const>(std::forward<Arguments>(arguments)...));
        return steps_.back().get();
    }

    std::vector<std::unique_ptr<PlanStep const>> & steps_;
    std::vector<std::unique_ptr<PlanIndex const>> & indexes_;
    ChainSharing const * sharing_ = nullptr; ///< while the conditions of a chain are lowered
};

} // namespace Qcf::Eval
