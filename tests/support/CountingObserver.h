#pragma once

#include "QcfLib/EvaluationObserver.h"
#include "QcfLib/QcfEval.h"

#include <map>
#include <vector>

namespace Qcf::Eval::test {

/// Counts by looking on what counting plans count: entries of statements, and what decided each
/// evaluation. The outermost node is to be a function.
class CountingObserver final : public EvaluationObserver {
public:
    struct Count {
        U64 entries = 0;
        U64 verdicts = 0;
        bool operator==(Count const &) const = default;
    };
    using Node = std::pair<Function const *, Expression const *>;
    std::map<Node, Count> counts;

    void entered(Expression const & node, EvalContext & /*context*/) override {
        auto const * const asFunction = as<Function>(node);
        Function const * const function =
            asFunction != nullptr ? asFunction : open_.back().function;
        bool const counted = asFunction != nullptr || stands(node);
        open_.push_back({&node, function, {}});
        if (counted) {
            ++counts[{function, &node}].entries;
        }
    }
    void left(Expression const & node, EvalResult result, EvalContext & /*context*/) override {
        std::vector<Node> path = std::move(open_.back().path);
        if (is<Block>(node) && !result.terminates()) {
            path.clear();
        }
        if (leaves(node)) {
            path.emplace_back(open_.back().function, &node);
        }
        open_.pop_back();
        if (!open_.empty()) {
            ++open_.back().children;
            open_.back().path = std::move(path);
            return;
        }
        auto const & function = static_cast<Function const &>(node);
        ++counts[path.empty() ? Node(&function, &function) : path.front()].verdicts;
    }
    void thrown(Expression const & /*node*/, EvalContext & /*context*/) override {
        open_.pop_back();
    }

private:
    struct Open {
        Expression const * node;
        Function const * function;
        std::vector<Node> path; ///< `return`s and `exit`s to the last child's result, inmost first
        U32 children = 0;       ///< that were left
    };
    static bool leaves(Expression const & node) {
        return is<ReturnExpression>(node) || is<ExitExpression>(node);
    }
    bool stands(Expression const & node) const {
        Open const & parent = open_.back();
        bool const isBranch = is<IfExpression>(*parent.node) && parent.children == 1;
        return leaves(node) || is<Block>(*parent.node) || (isBranch && !is<Block>(node));
    }

    std::vector<Open> open_;
};

} // namespace Qcf::Eval::test
