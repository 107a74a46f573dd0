#include "QcfLib/Plan/CountLayout.h"

#include "QcfLib/DecidedEvaluation.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/Plan.h"
#include "QcfLib/Plan/CounterStore.h"
#include "QcfLib/PlanEpoch.h"

#include <algorithm>

/// Adding up: what the counters of a plan say about each statement.
namespace Qcf::Eval {

/// The walk along the lines of one layout. Sums are signed: while other threads count, what is
/// taken off may be newer than what it is taken from.
class CountLayout::Sum {
public:
    Sum(StatementCounts & counts, std::vector<U64> const & sums) : counts_(counts), sums_(sums) {}

    void add(CountedBody const & body) {
        function_ = body.function;
        S64 const entered = at(body.entered);
        S64 const ended = line(body.statements, entered);
        auto & own = counts_.counts_[{function_, function_}];
        own.entries += entered;
        if (!body.isInlined) {
            own.verdicts += ended + decided(body.end);
        }
    }
    void add(ObservedNode const & node) {
        auto & count = counts_.counts_[{node.function, node.node}];
        count.entries += at(node.entered);
        count.verdicts += decided(node.counters);
    }

private:
    S64 at(U32 index) const { return static_cast<S64>(sums_[index]); }
    S64 decided(DeciderCounters const & counters) const {
        return at(counters.decided) - at(counters.discounted);
    }

    /// How often the end of a line was reached that was entered so often.
    S64 line(CountedStatements const & statements, S64 entered) {
        for (CountedStatement const & statement : statements) {
            entered = behind(statement, entered);
        }
        return entered;
    }
    S64 behind(CountedStatement const & statement, S64 entered) {
        StatementCounts::Count own{entered, 0};
        S64 behind = entered;
        if (statement.leaves) {
            own.verdicts = decided(statement.counters) + (statement.decidesApart ? 0 : entered);
            behind = 0;
        } else if (!statement.links.empty()) {
            return branch(statement, entered);
        } else {
            behind = line(statement.block, entered);
        }
        // The block of an `else` is no statement.
        if (statement.node != nullptr) {
            auto & count = counts_.counts_[{function_, statement.node}];
            count.entries += own.entries;
            count.verdicts += own.verdicts;
        }
        return statement.behind ? at(*statement.behind) : behind;
    }
    S64 branch(CountedStatement const & statement, S64 entered) {
        S64 behind = 0;
        for (CountedLink const & link : statement.links) {
            counts_.counts_[{function_, link.node}].entries += entered;
            S64 const taken = at(link.taken);
            behind += line(link.block, taken);
            entered = link.passed ? at(*link.passed) : entered - taken;
        }
        return behind + line(statement.otherwise, entered);
    }

    StatementCounts & counts_;
    std::vector<U64> const & sums_;
    Function const * function_ = nullptr;
};

CountLayout::~CountLayout() {
    if (isPublished_) {
        CounterStore::instance().layoutDel(*this);
    }
    CounterStore::instance().giveBack(taken_);
}

U32 CountLayout::take() {
    taken_.push_back(CounterStore::instance().take());
    end_ = std::max(end_, taken_.back() + 1);
    return taken_.back();
}

void CountLayout::publish() {
    CounterStore::instance().layoutIs(*this);
    isPublished_ = true;
}

void CountLayout::addTo(StatementCounts & counts, std::vector<U64> const & sums) const {
    Sum sum(counts, sums);
    for (CountedBody const & body : bodies) {
        sum.add(body);
    }
    for (ObservedNode const & node : observed) {
        sum.add(node);
    }
}

// A parent is met before its children, so that what it has for statements is known when they are.
std::vector<Expression const *> statementsOf(Function const & function) {
    std::vector<Expression const *> statements;
    std::unordered_set<AetNodeBase const *> wanted;
    std::unordered_set<AetNodeBase const *> listed;
    std::unordered_set<AetNodeBase const *> met;
    walkTree(*function.body(), [&](WalkedNode const & at) {
        if (is<Function>(at.node)) {
            return false;
        }
        if (auto const * const block = as<Block>(at.node)) {
            for (auto const * link = block->stmts().get(); link != nullptr;
                 link = link->next().get()) {
                wanted.insert(link->entry().get());
            }
        }
        auto const * const branch = as<IfExpression>(at.node);
        if (branch != nullptr && branch->elseBlock() && !is<Block>(*branch->elseBlock())) {
            wanted.insert(branch->elseBlock().get());
        }
        bool const leaves = is<ReturnExpression>(at.node) || is<ExitExpression>(at.node);
        if ((leaves || wanted.contains(&at.node)) && listed.insert(&at.node).second) {
            statements.push_back(static_cast<Expression const *>(&at.node));
        }
        return met.insert(&at.node).second;
    });
    return statements;
}

namespace {

/// The walk to the statements that leave a function.
class DeciderWalk {
public:
    DeciderWalk(Function const & function, std::function<void(Decider const &)> const & visit)
        : function_(function), visit_(visit) {}

    void line(CountedStatements const & statements) {
        for (CountedStatement const & statement : statements) {
            if (statement.leaves) {
                visit_({statement.counters.discounted, function_, *statement.node});
            }
            line(statement.block);
            for (CountedLink const & link : statement.links) {
                line(link.block);
            }
            line(statement.otherwise);
        }
    }

private:
    Function const & function_;
    std::function<void(Decider const &)> const & visit_;
};

} // namespace

void eachDecider(Function const & function, std::function<void(Decider const &)> const & visit) {
    CountLayout const * const layout = function.planFor(function).countLayout();
    if (layout == nullptr) {
        return;
    }
    for (CountedBody const & body : layout->bodies) {
        if (!body.isInlined) {
            visit({body.end.discounted, *body.function, *body.function});
        }
        DeciderWalk(*body.function, visit).line(body.statements);
    }
    for (ObservedNode const & node : layout->observed) {
        visit({node.counters.discounted, *node.function, *node.node});
    }
}

void StatementCounts::enabledIs(bool enabled) { PlanEpoch::countingIs(enabled); }
bool StatementCounts::enabled() { return PlanEpoch::counts(PlanEpoch::number()); }

StatementCounts StatementCounts::now() {
    StatementCounts counts;
    CounterStore::instance().withSums([&](auto const & layouts, auto const & sums) {
        for (CountLayout const * const layout : layouts) {
            layout->addTo(counts, sums);
        }
    });
    return counts;
}

std::vector<StatementCount> StatementCounts::of(Function const & function) const {
    std::vector<StatementCount> all;
    auto const add = [&](Expression const & node) {
        auto const found = counts_.find({&function, &node});
        Count const count = found == counts_.end() ? Count() : found->second;
        all.push_back({&node, static_cast<U64>(std::max<S64>(count.entries, 0)),
                       static_cast<U64>(std::max<S64>(count.verdicts, 0))});
    };
    add(function);
    for (Expression const * const node : statementsOf(function)) {
        add(*node);
    }
    return all;
}

} // namespace Qcf::Eval
