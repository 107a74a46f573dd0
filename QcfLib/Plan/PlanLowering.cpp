#include "QcfLib/Plan/PlanLowering.h"

#include "QcfLib/Plan/Inlining.h"
#include "QcfLib/Plan/OperatorSteps.h"
#include "QcfLib/Plan/SetChangeStep.h"

#include <algorithm>
#include <utility>

/// Lowering goes through a function's tree from its end to its start, so that the step that comes
/// next is always made already. A node is asked for its form in the place where it stands, as a
/// statement or as a condition, and what has no form there is evaluated by its own `eval`.
namespace Qcf::Eval {

namespace {

/// Operands of an `or` within others that are taken for one test; it may unfold into any number.
constexpr std::size_t mostOperands = 256;

/// Changes of one attribute that one step makes; a bound for what a single pass has to look at.
constexpr std::size_t changesOfStep = 16;

} // namespace

/// Takes the form that a node has in one place; what it makes of it stands in `step`.
class PlanLowering::Form : public Lowering {
public:
    Form(PlanLowering & ofPlan, Expression const & ofNode) : plan(ofPlan), node(ofNode) {}
    std::optional<SignedMagnitude> constantOf(Int const & operand) const override {
        return plan.constantOf(operand);
    }
    std::optional<SignedMagnitude> constantArgument(std::size_t index) const override {
        return plan.constantArgument(index);
    }

    PlanLowering & plan;
    Expression const & node;
    PlanStep const * step = nullptr; ///< null for a form that does not fit here
};

/// Changes and jumps. A condition in this place has no effect that a step could have, and is left
/// to its node.
class PlanLowering::StatementForm final : public Form {
public:
    StatementForm(PlanLowering & ofPlan, Expression const & ofNode, PlanStep const * next)
        : Form(ofPlan, ofNode), next_(next) {}

    void block(Block const & block) override {
        auto const lower = [&] { return plan.block(block, next_); };
        step = plan.counting_ == nullptr
                   ? lower()
                   : plan.counting_->line(plan.counting_->here().block, lower);
    }
    void branch(IfExpression const & head) override { step = plan.branch(head, next_); }
    void leave(Expression const & operand, TerminationFlag how) override {
        step = plan.leave(node, operand, how);
    }
    void call(FunctionCallExpression const & call) override {
        step = plan.call(call, {next_, next_, next_});
    }
    void assign(IntModifiable const & target, SignedMagnitude value) override {
        // An attribute without a place in the context's content has ways of its own to be written.
        if (target.source().stored != nullptr) {
            U64 const stored = valueWithin(rangeOf(target), value);
            step = plan.make<IntStoreStep>(node, target, stored, next_);
        }
    }
    void compute(IntModifiable const & target, SignedMagnitude operand,
                 IntArithmetic operation) override {
        if (target.source().stored != nullptr) {
            step = plan.make<IntArithmeticStep>(node, target, operand, operation, next_);
        }
    }
    // Integer sets of a block wait for the others there.
    void change(SetChange<U64SmallVector> const & change) override { changeSet(change); }
    void change(SetChange<CommunitySmallVector> const & change) override { changeSet(change); }
    void operatorChange(OperatorFunction function) override {
        plan.noteNode(node);
        step = plan.make<OperatorChange>(node, node, function, next_);
    }
    // A counting plan has to see what decided.
    void builtIn(OperatorFunction function) override {
        if (plan.counting_ == nullptr) {
            plan.noteNode(node);
            step = plan.make<OperatorTest>(node, node, function, plan.answerTargets());
        }
    }
    void originTest(U32 slot, U32 state) override {
        if (plan.counting_ == nullptr) {
            step = plan.make<OriginTest>(node, slot, state, plan.answerTargets());
        }
    }
    void agentBody(AgentOperation operation) override {
        if (plan.counting_ == nullptr) {
            step = plan.make<AgentBody>(node, operation, next_, plan.answerTargets());
        }
    }

private:
    template <typename Set>
    void changeSet(SetChange<Set> const & change) {
        if (change.target->source().stored != nullptr) {
            std::vector<SetChange<Set>> const changes{change};
            step = plan.make<SetChangeStep<Set>>(node, changes, next_);
        }
    }

    PlanStep const * next_;
};

/// Tests and what joins them. A change has no value to go by, and is left to its node.
class PlanLowering::ConditionForm final : public Form {
public:
    ConditionForm(PlanLowering & ofPlan, Expression const & ofNode, PlanTargets const & targets)
        : Form(ofPlan, ofNode), targets_(targets) {}

    void truth(TriStateBoolValue value) override { step = targets_.at(value); }
    void valueTest(TriStateBool const & value) override {
        plan.noteNode(node);
        step = plan.make<ValueTest>(node, value, targets_);
    }
    void test(ConstantTest const & test) override {
        Expression const * const nodes[] = {&node};
        step = plan.test(nodes, test, targets_);
    }
    void listTest(IpPrefix const & candidate, PrefixList const & list,
                  TriStateBoolValue withoutList) override {
        if (candidate.source() != nullptr) {
            step = plan.listTest(node, PlanPrefix(candidate), list, withoutList, targets_);
        }
    }
    void listTest(IpAddress const & candidate, PrefixList const & list,
                  TriStateBoolValue withoutList) override {
        step = plan.listTest(node, PlanHost(candidate), list, withoutList, targets_);
    }
    void operatorTest(OperatorFunction function) override {
        plan.noteNode(node);
        step = plan.make<OperatorTest>(node, node, function, targets_);
    }
    void negation(Expression const & operand) override {
        PlanBudget::Level const level(plan.budget_);
        if (plan.affords(1)) {
            // Negation costs no step: the operand's targets are swapped, and unknown goes where
            // false does.
            PlanCounting::Deciding const swapped(plan.counting_, [](Decided const & decided) {
                return Decided{decided[2], decided[2], decided[1]};
            });
            step = plan.condition(operand, {targets_.onTrue, targets_.onTrue, targets_.onFalse});
        }
    }
    void chain(LogicalOperatorExpression const & chain) override {
        step = plan.chain(chain, targets_);
    }
    void call(FunctionCallExpression const & call) override { step = plan.call(call, targets_); }

private:
    PlanTargets targets_;
};

/// Notes the test or the change that a node is, and makes nothing of it.
class PlanLowering::TestForm final : public Form {
public:
    TestForm(PlanLowering & ofPlan, Expression const & ofNode, std::size_t room = mostOperands)
        : Form(ofPlan, ofNode), room_(room) {}

    void test(ConstantTest const & test) override { constantTest = test; }
    // An `or` of prefixes around one is one test.
    void chain(LogicalOperatorExpression const & chain) override {
        if (!is<OrOperator>(*chain.operatorList()->entry())) {
            return;
        }
        std::optional<ConstantTest> all;
        for (auto const * link = chain.expressionList().get(); link != nullptr;
             link = link->next().get()) {
            TestForm part(plan, *link->entry(), room_);
            if (!part.takesOne() || !part.isAround(all)) {
                return;
            }
            room_ = part.room_;
            auto const & prefixes = part.constantTest->prefixes;
            if (all) {
                all->prefixes.insert(all->prefixes.end(), prefixes.begin(), prefixes.end());
            } else {
                all = std::move(part.constantTest);
            }
        }
        constantTest = std::move(all);
    }
    void change(SetChange<U64SmallVector> const & change) override {
        if (change.target->source().stored != nullptr) {
            intSetChange = change;
        }
    }

    std::optional<ConstantTest> constantTest;
    std::optional<SetChange<U64SmallVector>> intSetChange;

private:
    /// Asks the node; false where there are too many.
    bool takesOne() {
        if (room_ == 0) {
            return false;
        }
        --room_;
        node.lower(*this);
        return true;
    }
    /// Whether it asks for prefixes around the one that the others ask about.
    bool isAround(std::optional<ConstantTest> const & others) const {
        return constantTest && constantTest->kind == ConstantTest::Kind::prefixCovered &&
               (!others || identityOf(*others->operand) == identityOf(*constantTest->operand));
    }

    std::size_t room_;
};

PlanLowering::PlanLowering(Function const & function, PlanSteps & steps, PlanCounting * counting)
    : function_(function), steps_(steps), budget_(ownNodes(function)), counting_(counting) {}

// A body that does not leave ends unknown.
PlanStep const * PlanLowering::body() {
    if (counting_ == nullptr) {
        return block(*function_.body(), endOfRun({}));
    }
    return counting_->plan(counting_->line(counting_->ownStatements(), [&] {
        return block(*function_.body(), counting_->functionEnd());
    }));
}

// Whether so many parts of a node may be lowered here; if so, they count. Callees have a room of
// their own.
bool PlanLowering::affords(std::size_t parts) {
    return !budget_.isTooDeep() && (callee_ != nullptr || budget_.take(parts));
}

// An argument of an inlined callee is the constant that the call passes; any other argument is
// known only when the call is made.
std::optional<SignedMagnitude> PlanLowering::constantOf(Int const & operand) const {
    if (auto const * const immediate = as<IntImmediate>(operand)) {
        return SignedMagnitude{immediate->negative() && immediate->value() != 0,
                               immediate->value()};
    }
    if (auto const * const table = as<RoaTableImmediate>(operand)) {
        return SignedMagnitude{false, table->number()};
    }
    auto const * const variable = as<IntVariable>(operand);
    bool const known = callee_ != nullptr && variable != nullptr &&
                       variable->argVectorIndex() < callee_->arguments.size();
    return known ? std::optional(callee_->arguments[variable->argVectorIndex()]) : std::nullopt;
}

std::optional<SignedMagnitude> PlanLowering::constantArgument(std::size_t index) const {
    bool const isKnown = callee_ != nullptr && index < callee_->arguments.size();
    return isKnown ? std::optional(callee_->arguments[index]) : std::nullopt;
}

// Of a body that is not inlined it is what the function answers.
PlanTargets PlanLowering::answerTargets() const {
    auto const returned = [](TriStateBoolValue value) {
        return endOfRun(EvalResult(value, TerminationFlag::returnToCaller));
    };
    return callee_ != nullptr
               ? callee_->returns
               : PlanTargets{returned(QcfUnknown()), returned(QcfFalse()), returned(QcfTrue())};
}

std::optional<ConstantTest> PlanLowering::constantTestOf(Expression const & node) {
    TestForm form(*this, node);
    node.lower(form);
    return form.constantTest;
}

// Lowering goes on even if the callee fits no more: what it made is forgotten at the end.
void PlanLowering::noteNode(Expression const & node) {
    if (callee_ != nullptr) {
        callee_->fits = callee_->fits && !node.treeFacts().looksIntoFrame;
    }
}

PlanStep const * PlanLowering::nodeStatement(Expression const & node, PlanStep const * next) {
    noteNode(node);
    if (auto const * const step = countedNode(node, {next, next, next})) {
        return step;
    }
    return callee_ == nullptr ? make<NodeStatement>(node, node, next)
                              : make<CalleeStatement>(node, node, next, callee_->returns);
}

PlanStep const * PlanLowering::nodeTest(Expression const & node, PlanTargets const & targets) {
    noteNode(node);
    auto const * const step = countedNode(node, targets);
    return step != nullptr ? step : make<NodeTest>(node, node, targets);
}

PlanStep const * PlanLowering::countedNode(Expression const & node, PlanTargets const & targets) {
    if (counting_ == nullptr) {
        return nullptr;
    }
    return counting_->node(node, targets, callee_ != nullptr ? callee_->fits : counting_->fits());
}

PlanStep const * PlanLowering::statement(Expression const & node, PlanStep const * next) {
    if (counting_ == nullptr) {
        return statementStep(node, next);
    }
    return counting_->statement(
        node, next, [&](PlanStep const * behind) { return statementStep(node, behind); });
}

PlanStep const * PlanLowering::statementStep(Expression const & node, PlanStep const * next) {
    StatementForm form(*this, node, next);
    node.lower(form);
    return form.step != nullptr ? form.step : nodeStatement(node, next);
}

// Changes of one integer set that stand together are one step.
PlanStep const * PlanLowering::block(Block const & node, PlanStep const * next) {
    using Change = SetChange<U64SmallVector>;
    PlanBudget::Level const level(budget_);
    if (!affords(budget_.lengthOf(node.stmts().get(), nextLink))) {
        return nodeStatement(node, next);
    }
    std::vector<Change> changes; // last first
    auto const makeChanges = [&] {
        if (changes.empty()) {
            return;
        }
        std::reverse(changes.begin(), changes.end());
        std::vector<Expression const *> nodes;
        std::transform(changes.begin(), changes.end(), std::back_inserter(nodes),
                       [](Change const & change) { return change.node; });
        next = make<SetChangeStep<U64SmallVector>>(PlanSteps::Nodes(nodes), changes, next);
        changes.clear();
    };
    for (auto const * const link : fromLast(node.stmts().get())) {
        // The form is asked without making a step, to see whether the statement joins those behind
        // it.
        TestForm form(*this, *link->entry());
        link->entry()->lower(form);
        auto const & change = form.intSetChange;
        bool const joins = change && !changes.empty() && changes.size() < changesOfStep &&
                           &change->target->typeData() == &changes.front().target->typeData();
        // What stands between changes ends the run of them, for it may read the attribute.
        if (!joins) {
            makeChanges();
        }
        if (change) {
            changes.push_back(*change);
            if (counting_ != nullptr) {
                counting_->statement(*link->entry());
            }
        } else {
            next = statement(*link->entry(), next);
        }
    }
    makeChanges();
    return next;
}

PlanStep const * PlanLowering::condition(Expression const & node, PlanTargets const & targets) {
    ConditionForm form(*this, node, targets);
    node.lower(form);
    return form.step != nullptr ? form.step : nodeTest(node, targets);
}

template <typename Candidate>
PlanStep const * PlanLowering::listTest(Expression const & node, Candidate candidate,
                                        PrefixList const & list, TriStateBoolValue withoutList,
                                        PlanTargets const & targets) {
    if (auto const * const immediate = as<PrefixListImmediate>(list)) {
        return make<PrefixListTest<Candidate, PlanPrefixList>>(
            node, candidate, PlanPrefixList(*immediate), withoutList, targets);
    }
    noteNode(node);
    return make<PrefixListTest<Candidate, PlanListOfNode>>(node, candidate, PlanListOfNode(list),
                                                           withoutList, targets);
}

} // namespace Qcf::Eval
