#include "QcfLib/Plan/PlanCounting.h"

#include "QcfLib/NodeWalk.h"

/// Where a counting plan counts, and what it leaves to be worked out.
namespace Qcf::Eval {

namespace {

bool isOf(AetNodeBase const & node, auto const &... classes) {
    return ((&node.typeData() == &classes) || ...);
}

/// One that somebody made for a purpose of his own may end whatever it wants.
bool isKnown(AetNodeBase const & node) {
    auto const all = nodeClasses();
    return &node.typeData() >= all.data() && &node.typeData() < all.data() + all.size();
}

/// Whether evaluating a node as it stands ends nothing, and enters nothing that is counted.
bool isPlain(Expression const & node) {
    bool plain = true;
    std::unordered_set<AetNodeBase const *> met;
    walkTree(node, [&](WalkedNode const & at) {
        plain = plain && isKnown(at.node) && !at.node.typeData().facts.returns &&
                !isOf(at.node, nodeClassOf<FunctionCallExpression>(), nodeClassOf<Block>(),
                      nodeClassOf<IfExpression>(), nodeClassOf<ExitExpression>(),
                      nodeClassOf<Function>());
        return plain && met.insert(&at.node).second;
    });
    return plain;
}

bool callsAny(Expression const & node) {
    bool calls = false;
    std::unordered_set<AetNodeBase const *> met;
    walkTree(node, [&](WalkedNode const & at) {
        calls = calls || is<FunctionCallExpression>(at.node);
        return !calls && met.insert(&at.node).second;
    });
    return calls;
}

} // namespace

Decided decidedBy(TerminationFlag how) {
    return {EvalResult(QcfUnknown(), how), EvalResult(QcfFalse(), how), EvalResult(QcfTrue(), how)};
}

PlanCounting::PlanCounting(Function const & function, CountLayout & layout, PlanSteps & steps)
    : function_(function), layout_(layout), steps_(steps) {
    ended_ = enclosing_ = layout.takeDecider();
    layout.bodies.push_back({&function, layout.take(), {}, false, ended_});
}

PlanStep const * PlanCounting::plan(PlanStep const * first) {
    return fits_ ? first : observedPlan();
}

PlanStep const * PlanCounting::entry(PlanStep const * first) {
    Expression const * const nodes[] = {&function_};
    auto step = std::make_unique<EnterStep const>(layout_.end(), layout_.entered(), first);
    return steps_.add(std::move(step), PlanSteps::Nodes(nodes));
}

PlanStep const * PlanCounting::observedPlan() {
    steps_.shrinkTo(0);
    layout_.bodies.clear();
    std::unordered_set<AetNodeBase const *> met;
    walkTree(function_, [&](WalkedNode const & at) {
        bool const isNew = met.insert(&at.node).second;
        if (auto const * const function = as<Function>(at.node); isNew && function != nullptr) {
            auto const note = [&](Expression const & node) {
                layout_.observed.push_back(
                    {function, &node, layout_.take(), layout_.takeDecider()});
            };
            note(*function);
            for (Expression const * const node : statementsOf(*function)) {
                note(*node);
            }
        }
        return isNew;
    });
    ObservedBody::Ends byStatement;
    ObservedBody::Ends byNone;
    for (U8 flag = 0; flag < 3; ++flag) {
        for (U8 value = 0; value < 3; ++value) {
            EvalResult const result(static_cast<TriStateBoolValue>(value),
                                    static_cast<TerminationFlag>(flag));
            byStatement[flag][value] = end(result, CountedEnd::By::call, {});
            byNone[flag][value] =
                end(result, CountedEnd::By::functionEnd, layout_.observed.front().counters);
        }
    }
    Expression const * const nodes[] = {&function_};
    return steps_.add(std::make_unique<ObservedBody const>(function_, layout_, byStatement, byNone),
                      PlanSteps::Nodes(nodes));
}

PlanStep const * PlanCounting::end(EvalResult result, CountedEnd::By by,
                                   DeciderCounters const & counters) {
    Expression const * const nodes[] = {&function_};
    return steps_.add(std::make_unique<CountedEnd const>(result, by, counters.discounted),
                      PlanSteps::Nodes(nodes));
}

PlanStep const * PlanCounting::counted(Expression const & node, U32 counter,
                                       PlanStep const * next) {
    Expression const * const nodes[] = {&node};
    auto step =
        next->isEnd()
            ? std::unique_ptr<PlanStep const>(std::make_unique<CountAtEndStep const>(counter, next))
            : std::make_unique<CountStep const>(counter, next);
    return steps_.add(std::move(step), PlanSteps::Nodes(nodes));
}

PlanStep const * PlanCounting::taken(CountedLink & link, PlanStep const * block) {
    link.taken = layout_.take();
    return counted(*link.node, link.taken, block);
}

PlanStep const * PlanCounting::passed(CountedLink & link, Expression const & condition,
                                      PlanStep const * next) {
    if (!mayExit(condition)) {
        return next;
    }
    link.passed = layout_.take();
    return counted(*link.node, *link.passed, next);
}

PlanTargets PlanCounting::leave(Expression const & node, Expression const & operand,
                                Decided const & decided, PlanTargets const & others) {
    CountedStatement & here = *here_;
    here.leaves = true;
    here.counters = layout_.takeDecider();
    bool const all = decided[0] && decided[1] && decided[2];
    here.decidesApart = !all || callsAny(operand);
    ByValue<PlanStep const *> ways{others.onUnknown, others.onFalse, others.onTrue};
    for (std::size_t value = 0; value < ways.size(); ++value) {
        if (decided[value]) {
            ways[value] = end(*decided[value], CountedEnd::By::statement, here.counters);
            if (here.decidesApart) {
                ways[value] = counted(node, here.counters.decided, ways[value]);
            }
        }
    }
    return {ways[0], ways[1], ways[2]};
}

PlanStep const * PlanCounting::node(Expression const & node, PlanTargets const & targets,
                                    bool & fits) {
    if (auto const * const call = as<FunctionCallExpression>(node)) {
        return callStep(*call, targets);
    }
    fits = fits && isPlain(node);
    return nullptr;
}

PlanStep const * PlanCounting::callStep(FunctionCallExpression const & call,
                                        PlanTargets const & targets) {
    CountedCall::Ways ways{targets, {}, {}, {}, enclosing_.decided};
    bool const isEnd = enclosing_.decided == ended_.decided;
    auto const by = isEnd ? CountedEnd::By::functionEnd : CountedEnd::By::statement;
    for (U8 value = 0; value < 3; ++value) {
        EvalResult const exit(static_cast<TriStateBoolValue>(value), TerminationFlag::exitToPoa);
        ways.exits[value] = end(exit, CountedEnd::By::call, {});
        ways.exitsAnyhow[value] = end(exit, by, enclosing_);
        ways.handsOn[value] =
            decided_[value] ? end(*decided_[value], CountedEnd::By::call, {}) : nullptr;
    }
    Expression const * const nodes[] = {&call};
    return steps_.add(std::make_unique<CountedCall const>(call, ways), PlanSteps::Nodes(nodes));
}

CountedBody PlanCounting::inlined(FunctionCallExpression const & call) {
    return {call.calleePtr().get(), layout_.take(), {}, true, {}};
}

// What a `return` ends is a call's callee, and seen at the call.
bool PlanCounting::mayExit(Expression const & node) {
    auto const [known, isNew] = mayExit_.try_emplace(&node, false);
    if (isNew) {
        bool may = false;
        std::unordered_set<AetNodeBase const *> met;
        walkTree(node, [&](WalkedNode const & at) {
            bool const ends = at.node.typeData().facts.returns && !is<ReturnExpression>(at.node);
            may = may || ends || is<ExitExpression>(at.node) || !isKnown(at.node);
            return !may && met.insert(&at.node).second;
        });
        mayExit_[&node] = may;
        return may;
    }
    return known->second;
}

} // namespace Qcf::Eval
