#include "Watch/ProfileRows.h"

#include <unordered_map>
#include <unordered_set>

namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// Goes over functions and puts down their lines. Trees are as deep as evaluation recurses.
class RowMaker {
public:
    RowMaker(NodeNumbers const & numbers, Profile const & profile)
        : numbers_(numbers), profile_(profile) {}

    void add(Function const & function) {
        within_ = &function;
        row(ProfileRow::Kind::function, function, 0, function);
        statement(*function.body(), 0);
    }
    /// All of them, once all functions were added.
    std::vector<ProfileRow> take() {
        std::unordered_map<U32, U32> places;
        for (U32 const number : asked_) {
            ++places[number];
        }
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            rows_[i].isShared = places[asked_[i]] > 1;
        }
        return std::move(rows_);
    }

private:
    // Blocks are no lines of their own.
    void statement(Expression const & node, U32 depth) {
        if (auto const * const block = as<Block>(node)) {
            for (auto const * link = block->stmts().get(); link != nullptr;
                 link = link->next().get()) {
                statement(*link->entry(), depth + 1);
            }
            return;
        }
        if (auto const * const branch = as<IfExpression>(node)) {
            row(ProfileRow::Kind::statement, node, depth, *branch->condition());
            operands(*branch->condition(), depth + 1);
            statement(*branch->thenBlock(), depth);
            if (branch->elseBlock()) {
                statement(*branch->elseBlock(), depth);
            }
            return;
        }
        row(ProfileRow::Kind::statement, node, depth, node);
        below(node, depth + 1);
    }

    /// What a statement has below it that can be asked.
    void below(Expression const & node, U32 depth) {
        if (auto const * const leave = as<ReturnExpression>(node)) {
            operands(*leave->expr(), depth);
        } else if (auto const * const exit = as<ExitExpression>(node)) {
            operands(*exit->expr(), depth);
        } else {
            operands(node, depth);
        }
    }

    // A single condition is told by the line that it stands in.
    void operands(Expression const & node, U32 depth) {
        if (auto const * const negation = as<NotExpression>(node)) {
            operands(*negation->expr(), depth);
            return;
        }
        auto const * const chain = as<LogicalOperatorExpression>(node);
        for (auto const * link = chain == nullptr ? nullptr : chain->expressionList().get();
             link != nullptr; link = link->next().get()) {
            row(ProfileRow::Kind::operand, *link->entry(), depth, *link->entry());
            below(*link->entry(), depth + 1);
        }
    }

    void row(ProfileRow::Kind kind, Expression const & node, U32 depth, Expression const & asked) {
        U32 const number = numbers_.of(node);
        rows_.push_back({kind, depth, &node, within_, profile_.nodes[numbers_.of(asked)],
                         profile_.nodes[number].entered, profile_.decided[number],
                         profile_.selfTime.empty() ? 0 : profile_.selfTime[number]});
        rows_.back().isRepeated = !own_.insert(number).second;
        asked_.push_back(numbers_.of(asked));
    }

    NodeNumbers const & numbers_;
    Profile const & profile_;
    Function const * within_ = nullptr;
    std::vector<ProfileRow> rows_;
    /// Numbers of nodes that have a row.
    std::unordered_set<U32> own_;
    /// By row, the number of the node whose answers it tells.
    std::vector<U32> asked_;
};

} // namespace

bool ProfileRow::isAsked() const {
    bool const leaves = is<ReturnExpression>(*node) || is<ExitExpression>(*node);
    return is<IfExpression>(*node) || leaves || kind != Kind::statement;
}

std::vector<ProfileRow> profileRows(NodeNumbers const & numbers, Profile const & profile) {
    RowMaker maker(numbers, profile);
    for (Function const * const function : numbers.functions()) {
        maker.add(*function);
    }
    return maker.take();
}

} // namespace Qcf::Watch
