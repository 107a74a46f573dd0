#pragma once

#include "QcfLib/Plan/DecisionTableBuilder.h"
#include "QcfLib/Plan/PlanBudget.h"
#include "QcfLib/Plan/PlanCounting.h"
#include "QcfLib/Plan/PlanSteps.h"

#include <algorithm>
#include <optional>
#include <span>
#include <vector>

namespace Qcf::Eval {

/// The links of a list, last first. Chains are singly linked and may be long, so that no recursion
/// turns them around.
template <typename Link>
std::vector<Link const *> fromLast(Link const * link) {
    std::vector<Link const *> links;
    for (; link != nullptr; link = link->next().get()) {
        links.push_back(link);
    }
    std::reverse(links.begin(), links.end());
    return links;
}

inline ExpressionList const * nextLink(ExpressionList const & link) { return link.next().get(); }

/// The driver of lowering: one object makes one plan, on one thread.
///
///     PlanLowering lowering(function, steps);
///     first = lowering.body();
///
/// Makes the steps of a function's nodes, each with the steps that come after it, so from the end
/// to the start. Each node says by which form it can be run (`Expression::lower`); here is where
/// the forms become steps. What no form fits, or no budget allows, is evaluated as it stands.
///
/// Nothing fails: a function of any shape has a plan, at worst one that evaluates its nodes.
/// Lowering takes time and memory in proportion to the function's nodes (PlanBudget.h).
class PlanLowering final : private ConditionLowering {
public:
    /// Steps are put into the list, which the plan keeps; with `counting` the plan counts.
    PlanLowering(Function const & function, PlanSteps & steps, PlanCounting * counting = nullptr);

    /// The first step of the function's body.
    PlanStep const * body();

private:
    // What a node can be in a place: each takes the forms that have a step there.
    class Form;
    class StatementForm;
    class ConditionForm;
    class TestForm;

    /// A function whose body is inlined where it is called. Calls in its body may be inlined
    /// likewise; the callee around it is then put aside.
    struct Callee {
        std::vector<SignedMagnitude> arguments;
        PlanTargets returns; ///< where it returns to, by the value that it returns
        Decided decided;     ///< which of the values decide for the caller, when it counts
        bool fits = true;    ///< false once some node of it needs a frame
    };

    /// Whether the budget has room for so many parts here. Asked before the parts are looked at. A
    /// node that it refuses is evaluated as a whole.
    bool affords(std::size_t parts);
    /// The value that an operand has whatever the route: see `Lowering::constantOf`.
    std::optional<SignedMagnitude> constantOf(Int const & operand) const;
    std::optional<SignedMagnitude> constantArgument(std::size_t index) const;
    std::optional<std::vector<SignedMagnitude>> argumentsOf(FunctionCallExpression const & node);
    std::optional<ConstantTest> constantTestOf(Expression const & node) override;

    /// What goes on to `next`, unless it leaves the function. `otherwise` is where a chain goes
    /// none of whose clauses holds. Those that may answer null have no steps for the node, which is
    /// evaluated.
    PlanStep const * statement(Expression const & node, PlanStep const * next);
    PlanStep const * statementStep(Expression const & node, PlanStep const * next);
    /// The statements of a block from the last to the first.
    PlanStep const * block(Block const & node, PlanStep const * next);
    PlanStep const * branch(IfExpression const & head, PlanStep const * next);
    PlanStep const * otherwise(Expression const * node, PlanStep const * next);
    /// `first` is the number of the first of these links in the whole chain.
    PlanStep const * clauses(std::span<IfExpression const * const> links, std::size_t first,
                             PlanStep const * next, PlanStep const * otherwise);
    PlanStep const * thenBlock(IfExpression const & link, std::size_t number,
                               PlanStep const * next);
    PlanStep const * leave(Expression const & node, Expression const & operand,
                           TerminationFlag how);
    PlanStep const * call(FunctionCallExpression const & node, PlanTargets const & targets);
    PlanStep const * inlined(FunctionCallExpression const & node, PlanTargets const & targets);
    PlanStep const * calleeBody(FunctionCallExpression const & node, PlanTargets const & targets);

    /// What goes on to one of the targets, by its value.
    PlanStep const * condition(Expression const & node, PlanTargets const & targets) override;
    /// The operands in their order, each of which goes where the whole goes once it decides.
    PlanStep const * chain(LogicalOperatorExpression const & node, PlanTargets const & targets);
    /// Operands of a chain that one step answers, in the order of the text; mostly one.
    struct Operands {
        std::vector<Expression const *> nodes;
        std::optional<ConstantTest> test; ///< of prefixes, which may join others
    };
    std::vector<Operands> operandsFromLast(LogicalOperatorExpression const & node, bool isOr);
    /// Takes one more in front; false where it does not belong to them.
    bool joins(Operands & operands, Operands const & one);
    PlanStep const * test(PlanSteps::Nodes nodes, ConstantTest const & test,
                          PlanTargets const & targets);
    template <typename Candidate>
    PlanStep const * listTest(Expression const & node, Candidate candidate, PrefixList const & list,
                              TriStateBoolValue withoutList, PlanTargets const & targets);
    /// Where a body goes that answers by a node.
    PlanTargets answerTargets() const;

    // A node that is evaluated as it stands. In a callee that is inlined such a node has the
    // caller's frame, so that one that reads arguments undoes the inlining.
    PlanStep const * nodeStatement(Expression const & node, PlanStep const * next);
    PlanStep const * nodeTest(Expression const & node, PlanTargets const & targets);
    void noteNode(Expression const & node);
    /// The step that a node which is evaluated as it stands has in a counting plan alone; or null.
    PlanStep const * countedNode(Expression const & node, PlanTargets const & targets);

    /// A step that stands for these nodes.
    template <typename Step, typename... Arguments>
    PlanStep const * make(PlanSteps::Nodes nodes, Arguments &&... arguments) {
        return steps_.add(std::make_unique<Step const>(std::forward<Arguments>(arguments)...),
                          nodes);
    }
    template <typename Step, typename... Arguments>
    PlanStep const * make(Expression const & node, Arguments &&... arguments) {
        Expression const * const nodes[] = {&node};
        return make<Step>(PlanSteps::Nodes(nodes), std::forward<Arguments>(arguments)...);
    }

    /// Outlives the object, as the list of steps does.
    Function const & function_;
    PlanSteps & steps_;
    /// Of this plan, inlined callees included.
    PlanBudget budget_;
    Callee * callee_ = nullptr; ///< while its body is inlined
    PlanCounting * counting_;   ///< null for a plan that does not count
};

} // namespace Qcf::Eval
