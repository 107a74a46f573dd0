#include "QcfLib/Plan/Inlining.h"
#include "QcfLib/Plan/OperatorSteps.h"
#include "QcfLib/Plan/PlanLowering.h"

#include <utility>

/// What leaves, calls and branches, as lowering sees it: none of it has steps of its own, but for
/// the tables of branches. It says where other steps go on.
namespace Qcf::Eval {

namespace {

/// The `if` that stands in the else branch.
IfExpression const * elseIf(IfExpression const & node) {
    return node.elseBlock() ? as<IfExpression>(*node.elseBlock()) : nullptr;
}

} // namespace

// A callee that is inlined returns to where its call stands; an exit leaves everything.
PlanStep const * PlanLowering::leave(Expression const & node, Expression const & operand,
                                     TerminationFlag how) {
    bool const toCall = callee_ != nullptr && how == TerminationFlag::returnToCaller;
    if (counting_ != nullptr) {
        Decided const decided = toCall ? callee_->decided : decidedBy(how);
        auto const targets =
            counting_->leave(node, operand, decided, toCall ? callee_->returns : PlanTargets{});
        PlanCounting::Deciding const all(counting_, [&](Decided const &) { return decided; });
        auto const outside = counting_->enclosingIs(counting_->here().counters);
        PlanStep const * const step = condition(operand, targets);
        counting_->enclosingIs(outside);
        return step;
    }
    return condition(operand, toCall ? callee_->returns
                                     : PlanTargets{endOfRun(EvalResult(QcfUnknown(), how)),
                                                   endOfRun(EvalResult(QcfFalse(), how)),
                                                   endOfRun(EvalResult(QcfTrue(), how))});
}

// A counting plan has a call of its own kind.
PlanStep const * PlanLowering::call(FunctionCallExpression const & node,
                                    PlanTargets const & targets) {
    PlanStep const * const body = inlined(node, targets);
    if (body != nullptr || counting_ != nullptr) {
        return body;
    }
    noteNode(node);
    return make<CallStep>(node, node, targets);
}

// The callee's body in the call's place; null when it needs a frame.
PlanStep const * PlanLowering::inlined(FunctionCallExpression const & node,
                                       PlanTargets const & targets) {
    PlanBudget::Level const level(budget_);
    auto arguments = argumentsOf(node);
    auto const size =
        arguments ? sizeInlined(*node.calleePtr(), budget_.roomForCallee()) : std::nullopt;
    if (!size || budget_.isTooDeep()) {
        return nullptr;
    }
    // Whether some node of the callee needs a frame after all shows when it is lowered.
    std::size_t const stepsBefore = steps_.size();
    std::size_t const bodiesBefore = counting_ == nullptr ? 0 : counting_->bodies().size();
    // Taken even if the callee turns out not to fit, so that failed attempts are bounded as well.
    budget_.takeCallee(*size);
    Callee callee{std::move(*arguments), targets,
                  counting_ == nullptr ? Decided() : counting_->decided()};
    Callee * const caller = std::exchange(callee_, &callee);
    PlanStep const * const step = calleeBody(node, targets);
    callee_ = caller;
    if (!callee.fits) {
        steps_.shrinkTo(stepsBefore);
        if (counting_ != nullptr) {
            counting_->bodies().resize(bodiesBefore);
        }
        return nullptr;
    }
    return step;
}

PlanStep const * PlanLowering::calleeBody(FunctionCallExpression const & node,
                                          PlanTargets const & targets) {
    auto const lower = [&] { return block(*node.calleePtr()->body(), targets.onUnknown); };
    if (counting_ == nullptr) {
        return lower();
    }
    CountedBody body = counting_->inlined(node);
    PlanStep const * const step = counting_->line(body.statements, lower);
    U32 const entered = body.entered;
    counting_->bodies().push_back(std::move(body));
    return counting_->counted(node, entered, step);
}

std::optional<std::vector<SignedMagnitude>>
PlanLowering::argumentsOf(FunctionCallExpression const & node) {
    std::vector<SignedMagnitude> arguments;
    for (auto const * link = node.argListHead().get(); link != nullptr; link = link->next().get()) {
        StorageType const & entry = *link->entry();
        bool const isInt = entry.typeData().isKind(NodeKind::int_);
        auto const constant = isInt ? constantOf(static_cast<Int const &>(entry)) : std::nullopt;
        if (!constant) {
            return std::nullopt;
        }
        arguments.push_back(*constant);
    }
    return arguments;
}

// The last `else` first, then the clauses in bundles of what a decision table can hold.
PlanStep const * PlanLowering::branch(IfExpression const & head, PlanStep const * next) {
    PlanBudget::Level const level(budget_);
    // Each link counts twice, for its condition and its block.
    if (!affords(2 * budget_.lengthOf(&head, elseIf))) {
        return nodeStatement(head, next);
    }
    std::vector<IfExpression const *> links;
    for (IfExpression const * link = &head; link != nullptr; link = elseIf(*link)) {
        links.push_back(link);
    }
    // An `else` that is an `if` was taken as a link; this one is a block, or there is none.
    PlanStep const * step = otherwise(links.back()->elseBlock().get(), next);
    if (counting_ != nullptr) {
        for (IfExpression const * const link : links) {
            counting_->here().links.push_back({link});
        }
    }
    std::span<IfExpression const * const> rest = links;
    while (!rest.empty()) {
        std::size_t const count = std::min(rest.size(), maxClauses);
        step = clauses(rest.last(count), rest.size() - count, next, step);
        rest = rest.first(rest.size() - count);
    }
    return step;
}

// For counts the block of an `else` is no statement.
PlanStep const * PlanLowering::otherwise(Expression const * node, PlanStep const * next) {
    if (node == nullptr || counting_ == nullptr) {
        return node == nullptr ? next : statement(*node, next);
    }
    auto & noted = counting_->here().otherwise;
    PlanStep const * const step = counting_->line(noted, [&] { return statement(*node, next); });
    noted.front().node = is<Block>(*node) ? nullptr : node;
    return step;
}

PlanStep const * PlanLowering::thenBlock(IfExpression const & link, std::size_t number,
                                         PlanStep const * next) {
    auto const lower = [&] { return block(*link.thenBlock(), next); };
    if (counting_ == nullptr) {
        return lower();
    }
    CountedLink & noted = counting_->here().links[number];
    return counting_->taken(noted, counting_->line(noted.block, lower));
}

// One table if that pays, else the conditions one after the other.
PlanStep const * PlanLowering::clauses(std::span<IfExpression const * const> links,
                                       std::size_t first, PlanStep const * next,
                                       PlanStep const * otherwise) {
    std::vector<Expression const *> conditions;
    std::vector<PlanStep const *> targets;
    for (IfExpression const * const link : links) {
        conditions.push_back(link->condition().get());
        // Blocks are made whether or not a table comes of it: both ways need them as targets.
        targets.push_back(thenBlock(*link, first + targets.size(), next));
    }
    DecisionTableBuilder table(*this, conditions, budget_.roomForConstants);
    if (auto step = table.step(targets, otherwise)) {
        return steps_.add(std::move(step), conditions);
    }
    PlanStep const * step = otherwise;
    for (std::size_t i = links.size(); i-- > 0;) {
        if (counting_ != nullptr) {
            step = counting_->passed(counting_->here().links[first + i], *conditions[i], step);
        }
        step = condition(*conditions[i], {step, step, targets[i]});
    }
    return step;
}

} // namespace Qcf::Eval
