#include "QcfLib/Plan/PlanLowering.h"

#include "QcfLib/Plan/PlanChain.h"
#include "QcfLib/Plan/PlanNodes.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace Qcf::Eval {

namespace {

/// The links of a list, last first.
template <typename Link>
std::vector<Link const *> fromLast(Link const * link) {
    std::vector<Link const *> links;
    for (; link != nullptr; link = link->next().get()) {
        links.push_back(link);
    }
    std::reverse(links.begin(), links.end());
    return links;
}

TriStateBoolImmediate const * truthOf(Expression const & node) {
    auto const * const predicate = as<TriStateBoolExpression>(node);
    return predicate == nullptr ? nullptr : as<TriStateBoolImmediate>(*predicate->expr());
}

// Bounds of a plan, for trees that share much, call much, or are deep. Without sharing a tree has
// as many parts as nodes at most.
constexpr std::size_t smallestBudget = 64;
constexpr std::size_t partsPerNode = 4;
constexpr std::size_t largestCallee = 128;
constexpr std::size_t deepestLevel = 100;
constexpr std::size_t changesOfStep = 16;

} // namespace

PlanLowering::PlanLowering(Function const & function,
                           std::vector<std::unique_ptr<PlanStep const>> & steps)
    : steps_(steps),
      parts_(smallestBudget + partsPerNode * ownNodes(function)),
      roomForCallees_(parts_),
      roomForConstants_(parts_) {}

// Each link is walked once, however many places share it.
template <typename Link, typename Next>
std::size_t PlanLowering::lengthOf(Link const * link, Next next) {
    std::vector<Link const *> unknown;
    for (; link != nullptr && !lengths_.contains(link); link = next(*link)) {
        unknown.push_back(link);
    }
    std::size_t length = link == nullptr ? 0 : lengths_.at(link);
    while (!unknown.empty()) {
        lengths_.emplace(unknown.back(), ++length);
        unknown.pop_back();
    }
    return length;
}

template <typename Link>
std::size_t PlanLowering::lengthOf(Link const * link) {
    return lengthOf(link, [](Link const & at) { return at.next().get(); });
}

namespace {

/// The `if` that stands in the else branch.
IfExpression const * elseIf(IfExpression const & node) {
    return node.elseBlock() ? as<IfExpression>(*node.elseBlock()) : nullptr;
}

} // namespace

bool PlanLowering::isTooDeep() const { return depth_ > deepestLevel; }

// Whether so many parts of a node may be lowered here; if so, they count. Callees have a room of
// their own.
bool PlanLowering::affords(std::size_t parts) {
    if (isTooDeep() || (callee_ == nullptr && parts > parts_)) {
        return false;
    }
    parts_ -= callee_ == nullptr ? parts : 0;
    return true;
}

PlanStep const * PlanLowering::nodeStatement(Expression const & node, PlanStep const * next) {
    if (callee_ == nullptr) {
        return make<NodeStatement>(node, next);
    }
    callee_->fits = callee_->fits && !node.treeFacts().looksIntoFrame;
    return make<CalleeStatement>(node, next, callee_->returns);
}

PlanStep const * PlanLowering::nodeTest(Expression const & node, PlanTargets const & targets) {
    if (callee_ != nullptr) {
        callee_->fits = callee_->fits && !node.treeFacts().looksIntoFrame;
    }
    return make<NodeTest>(node, targets);
}

PlanStep const * PlanLowering::block(Block const & block, PlanStep const * next) {
    Level const level(*this);
    if (!affords(lengthOf(block.stmts().get()))) {
        return nodeStatement(block, next);
    }
    // Changes of one set attribute that stand together, last first.
    std::vector<SetChange<U64SmallVector>> changes;
    auto const makeChanges = [&] {
        if (!changes.empty()) {
            std::reverse(changes.begin(), changes.end());
            next = make<SetEditStep<U64SmallVector>>(changes, next);
            changes.clear();
        }
    };
    for (auto const * const link : fromLast(block.stmts().get())) {
        auto const change = setChangeOf<U64SmallVector>(*link->entry());
        bool const joins = change && changes.size() < changesOfStep && !changes.empty() &&
                           identity(*change->target) == identity(*changes.front().target);
        if (!joins) {
            makeChanges();
        }
        if (change) {
            changes.push_back(*change);
        } else {
            next = statement(*link->entry(), next);
        }
    }
    makeChanges();
    return next;
}

PlanStep const * PlanLowering::statement(Expression const & node, PlanStep const * next) {
    if (auto const * const n = as<Block>(node)) {
        return block(*n, next);
    }
    if (auto const * const n = as<IfExpression>(node)) {
        return ifChain(*n, next);
    }
    if (auto const * const n = as<ReturnExpression>(node)) {
        return termination(*n->expr(), TerminationFlag::returnToCaller);
    }
    if (auto const * const n = as<ExitExpression>(node)) {
        return termination(*n->expr(), TerminationFlag::exitToPoa);
    }
    if (auto const * const n = as<FunctionCallExpression>(node)) {
        if (PlanStep const * const step = call(*n, {next, next, next})) {
            return step;
        }
    }
    PlanStep const * const step = change(node, next);
    return step != nullptr ? step : nodeStatement(node, next);
}

PlanStep const * PlanLowering::termination(Expression const & operand, TerminationFlag flag) {
    bool const toCall = callee_ != nullptr && flag == TerminationFlag::returnToCaller;
    return condition(operand, toCall ? callee_->returns
                                     : PlanTargets{endOfRun(EvalResult(QcfUnknown(), flag)),
                                                   endOfRun(EvalResult(QcfFalse(), flag)),
                                                   endOfRun(EvalResult(QcfTrue(), flag))});
}

// The callee's body in the call's place; null when it needs a frame.
PlanStep const * PlanLowering::call(FunctionCallExpression const & node,
                                    PlanTargets const & targets) {
    Level const level(*this);
    auto arguments = argumentsOf(node);
    std::size_t const room = std::min(roomForCallees_, largestCallee);
    auto const size = arguments ? sizeInPlace(*node.calleePtr(), room) : std::nullopt;
    if (!size || isTooDeep()) {
        return nullptr;
    }
    std::size_t const stepsBefore = steps_.size();
    roomForCallees_ -= *size;
    Callee callee{std::move(*arguments), targets};
    Callee * const caller = std::exchange(callee_, &callee);
    PlanStep const * const step = block(*node.calleePtr()->body(), targets.onUnknown);
    callee_ = caller;
    if (!callee.fits) {
        steps_.resize(stepsBefore);
        return nullptr;
    }
    return step;
}

std::optional<std::vector<SignedMagnitude>>
PlanLowering::argumentsOf(FunctionCallExpression const & node) {
    std::vector<SignedMagnitude> arguments;
    for (auto const * link = node.argListHead().get(); link != nullptr; link = link->next().get()) {
        auto const * const operand = dynamic_cast<Int const *>(link->entry().get());
        auto const constant = operand == nullptr ? std::nullopt : constantOf(*operand);
        if (!constant) {
            return std::nullopt;
        }
        arguments.push_back(*constant);
    }
    return arguments;
}

std::optional<SignedMagnitude> PlanLowering::constantOf(Int const & operand) const {
    if (auto const * const immediate = as<IntImmediate>(operand)) {
        return SignedMagnitude{immediate->negative() && immediate->value() != 0,
                               immediate->value()};
    }
    auto const * const variable = as<IntVariable>(operand);
    bool const known = callee_ != nullptr && variable != nullptr &&
                       variable->argVectorIndex() < callee_->arguments.size();
    return known ? std::optional(callee_->arguments[variable->argVectorIndex()]) : std::nullopt;
}

PlanStep const * PlanLowering::ifChain(IfExpression const & head, PlanStep const * next) {
    Level const level(*this);
    if (!affords(2 * lengthOf(&head, elseIf))) {
        return nodeStatement(head, next);
    }
    std::vector<IfExpression const *> links;
    for (IfExpression const * link = &head; link != nullptr; link = elseIf(*link)) {
        links.push_back(link);
    }
    auto const & otherwise = links.back()->elseBlock();
    PlanStep const * step = otherwise ? statement(*otherwise, next) : next;
    std::span<IfExpression const * const> rest = links;
    while (!rest.empty()) {
        std::size_t const count = std::min(rest.size(), maxClauses);
        step = clauses(rest.last(count), next, step);
        rest = rest.first(rest.size() - count);
    }
    return step;
}

PlanStep const * PlanLowering::clauses(std::span<IfExpression const * const> links,
                                       PlanStep const * next, PlanStep const * otherwise) {
    std::vector<Expression const *> conditions;
    std::vector<PlanStep const *> targets;
    for (IfExpression const * const link : links) {
        conditions.push_back(link->condition().get());
        targets.push_back(block(*link->thenBlock(), next));
    }
    auto const lower = [this](Expression const & node, PlanTargets const & where) {
        return condition(node, where);
    };
    PlanChain chain(conditions, roomForConstants_);
    if (auto step = chain.step(lower, targets, otherwise)) {
        steps_.push_back(std::move(step));
        return steps_.back().get();
    }
    PlanStep const * step = otherwise;
    for (std::size_t i = links.size(); i-- > 0;) {
        step = condition(*conditions[i], {step, step, targets[i]});
    }
    return step;
}

PlanStep const * PlanLowering::assignment(IntAssign const & node, PlanStep const * next) {
    auto const constant = constantOf(*node.rhs());
    if (!constant || node.lhs()->source().stored == nullptr) {
        return nullptr;
    }
    U64 const value = assigned(rangeOf(*node.lhs()), *constant);
    return make<IntStoreStep>(node.lhs()->source(), value, next);
}

template <typename Node>
PlanStep const * PlanLowering::arithmetic(Node const & node,
                                          IntArithmeticStep::Arithmetic operation,
                                          PlanStep const * next) {
    auto const constant = constantOf(*node.rhs());
    if (!constant || node.lhs()->source().stored == nullptr) {
        return nullptr;
    }
    return make<IntArithmeticStep>(*node.lhs(), *constant, operation, next);
}

PlanStep const * PlanLowering::change(Expression const & node, PlanStep const * next) {
    if (auto const * const n = as<IntAssign>(node)) {
        return assignment(*n, next);
    }
    if (auto const * const n = as<IntPlusEq>(node)) {
        return arithmetic(*n, added, next);
    }
    if (auto const * const n = as<IntMinusEq>(node)) {
        return arithmetic(*n, subtracted, next);
    }
    if (auto const * const n = as<IntMultEq>(node)) {
        return arithmetic(*n, multiplied, next);
    }
    if (auto const change = setChangeOf<CommunitySmallVector>(node)) {
        return make<SetEditStep<CommunitySmallVector>>(std::vector{*change}, next);
    }
    return nullptr;
}

PlanStep const * PlanLowering::condition(Expression const & node, PlanTargets const & targets) {
    if (auto const * const constant = truthOf(node)) {
        return targets.at(constant->value());
    }
    if (auto const * const n = as<NotExpression>(node)) {
        Level const level(*this);
        return affords(1) ? condition(*n->expr(), {targets.onTrue, targets.onTrue, targets.onFalse})
                          : nodeTest(node, targets);
    }
    if (auto const * const n = as<LogicalOperatorExpression>(node)) {
        return logical(*n, targets);
    }
    if (auto const * const n = as<FunctionCallExpression>(node)) {
        if (PlanStep const * const step = call(*n, targets)) {
            return step;
        }
    }
    for (auto const lower :
         {&PlanLowering::intTest, &PlanLowering::setTest, &PlanLowering::prefixTest}) {
        if (PlanStep const * const step = (this->*lower)(node, targets)) {
            return step;
        }
    }
    return nodeTest(node, targets);
}

PlanStep const * PlanLowering::logical(LogicalOperatorExpression const & node,
                                       PlanTargets const & targets) {
    Level const level(*this);
    if (!affords(lengthOf(node.expressionList().get()))) {
        return nodeTest(node, targets);
    }
    LogicalOperator const & op = *node.operatorList()->entry();
    bool const isAnd = as<AndOperator>(op) != nullptr;
    bool const isOr = as<OrOperator>(op) != nullptr;
    // What follows the last operand, unless it decided: `and` and `or` have no unknown value.
    PlanStep const * const undecided = isAnd || isOr ? targets.onFalse : targets.onUnknown;
    PlanTargets last{undecided, targets.onFalse, targets.onTrue};
    PlanStep const * next = undecided;
    for (auto const * const link : fromLast(node.expressionList().get())) {
        next = condition(*link->entry(), last);
        last = {isAnd ? targets.onFalse : next, isOr ? next : targets.onFalse,
                isAnd ? next : targets.onTrue};
    }
    return next;
}

template <typename Compare, typename Node>
PlanStep const * PlanLowering::comparison(Node const & node, PlanTargets const & targets) {
    auto const constant = constantOf(*node.rhs());
    // Against a negative constant the answer does not depend on the left side, which is still read.
    if (!constant || constant->strictlyNegative()) {
        return nullptr;
    }
    return make<IntTest<Compare>>(PlanInt(*node.lhs()), constant->magnitude, targets);
}

PlanStep const * PlanLowering::intTest(Expression const & node, PlanTargets const & targets) {
    if (auto const * const n = as<IntIs>(node)) {
        return comparison<std::equal_to<U64>>(*n, targets);
    }
    if (auto const * const n = as<IntLessThan>(node)) {
        return comparison<std::less<U64>>(*n, targets);
    }
    if (auto const * const n = as<IntLessThanEq>(node)) {
        return comparison<std::less_equal<U64>>(*n, targets);
    }
    if (auto const * const n = as<IntGreaterThan>(node)) {
        return comparison<std::greater<U64>>(*n, targets);
    }
    if (auto const * const n = as<IntGreaterThanEq>(node)) {
        return comparison<std::greater_equal<U64>>(*n, targets);
    }
    if (auto const * const n = as<IntInImmediateSet>(node)) {
        auto const * const set = constantSet<IntSetImmediate>(*n->rhs());
        return set == nullptr ? nullptr : make<IntInSetTest>(PlanInt(*n->lhs()), *set, targets);
    }
    return nullptr;
}

template <typename Set, typename Immediate, bool test(Set const *, Set const *), typename Node>
PlanStep const * PlanLowering::constantTest(Node const * node, PlanTargets const & targets) {
    auto const * const set = node == nullptr ? nullptr : constantSet<Immediate>(*node->rhs());
    return set == nullptr ? nullptr
                          : make<SetTest<Set, test>>(PlanSet<Set>(*node->lhs()), set, targets);
}

PlanStep const * PlanLowering::setTest(Expression const & node, PlanTargets const & targets) {
    using Ints = U64SmallVector;
    using Communities = CommunitySmallVector;
    if (auto const * const step = constantTest<Ints, IntSetImmediate, setHasAny<Ints>>(
            as<IntSetHasAnyImmediate>(node), targets)) {
        return step;
    }
    return constantTest<Communities, CommunitySetImmediate, setHasAny<Communities>>(
        as<CommunitySetHasAnyImmediate>(node), targets);
}

PlanStep const * PlanLowering::prefixTest(Expression const & node, PlanTargets const & targets) {
    if (auto const * const n = as<IpPrefixMatchPrefixList>(node)) {
        auto const * const list = as<PrefixListImmediate>(*n->rhs());
        bool const known = list != nullptr && n->lhs()->source() != nullptr;
        return known ? make<PrefixListTest<PlanPrefix>>(*n, *list, targets) : nullptr;
    }
    if (auto const * const n = as<IpAddressMatchPrefixList>(node)) {
        auto const * const list = as<PrefixListImmediate>(*n->rhs());
        return list != nullptr ? make<PrefixListTest<PlanHost>>(*n, *list, targets) : nullptr;
    }
    return nullptr;
}

} // namespace Qcf::Eval
