#include "Documents/Analysis.h"

#include "Documents/Actions.h"
#include "Documents/ConstantAnswer.h"
#include "Documents/Flow.h"
#include "Platform/Render/Utf8.h"
#include "QcfLib/NodeWalk.h"

#include <unordered_set>

/// What is remarked on is decided here; whether it is certain, by the flow and by the ranges of
/// values.
namespace Qcf::Documents {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// Visits the nodes of a function once each, in the order of the text, called functions too but not
/// what is in them. A callee is looked through as a function of its own: what is in it would be
/// told once for each caller.
template <typename Visit>
void eachNode(Function const & function, Visit const & visit) {
    auto const enter = [&](WalkedNode const & at) {
        visit(at.node);
        return &at.node == &function || !is<Function>(at.node);
    };
    walkNodes(function, enter, [](AetNodeBase const &) {});
}

/// Looks through one function after the other. How evaluation may leave nodes is kept over all of
/// them, since they share nodes and callees.
class Analysis {
public:
    explicit Analysis(std::vector<Remark> & remarks) : remarks_(remarks) {}

    void function(Function const & function, bool outermost) {
        function_ = &function;
        statements_.clear();
        eachNode(function, [this](AetNodeBase const & node) { this->node(node); });
        // Of a called function its callers decide what an answer, or none, means.
        if (!outermost) {
            return;
        }
        // Such a function refuses before its body is begun, so that how the body ends is no matter.
        if (function.argumentsExpected()) {
            add(Remark::Kind::expectsArguments, function,
                "nothing calls the function, which expects arguments: it answers false");
        } else if (flow_.of(*function.body()).completes) {
            add(Remark::Kind::endsWithoutReturn, function, "the function can end without return");
        }
    }

private:
    void node(AetNodeBase const & node) {
        if (auto const * const block = as<Block>(node)) {
            statements(*block);
        } else if (node.typeData().isKind(NodeKind::expression)) {
            comparison(static_cast<Expression const &>(node));
        }
        if (String const text = constantsOutOfRange(node); !text.empty()) {
            add(Remark::Kind::outOfRange, node, "the constant " + text);
        }
    }

    /// Of the statements that are never reached the first is told. What stands behind it follows
    /// from the same fault.
    void statements(Block const & block) {
        bool reached = true;
        for (auto const * link = block.stmts().get(); link != nullptr; link = link->next().get()) {
            statement(link->entry().get());
            if (reached && !flow_.of(*link->entry()).completes && link->next()) {
                add(Remark::Kind::neverReached, *link->next()->entry(),
                    "the statement is never reached, the one before it always leaves");
                reached = false;
            }
        }
    }

    /// A statement's answer is dropped, and so is that of what stands in place of an else block.
    void statement(Expression const * node) {
        while (node != nullptr && statements_.insert(node).second) {
            if (auto const * const call = as<FunctionCallExpression>(*node)) {
                unusedResult(*call);
            } else if (node->treeFacts().onlyReads) {
                add(Remark::Kind::bareTest, *node,
                    "the answer of the test is not used, and nothing is changed");
            }
            auto const * const branch = as<IfExpression>(*node);
            node = branch != nullptr ? branch->elseBlock().get() : nullptr;
        }
    }

    void unusedResult(FunctionCallExpression const & call) {
        if (!actions_.acts(*call.calleePtr())) {
            add(Remark::Kind::unusedResult, call,
                "the result of the call is not used, and \"" +
                    oneLine(call.calleePtr()->funcName(), longestText) +
                    "\" neither changes anything nor exits");
        }
    }

    void comparison(Expression const & node) {
        auto const answer = constantAnswer(node);
        // Constants and negations have answers as well, but are no comparisons: nothing is wrong
        // with them.
        String const values = answer ? comparedValues(node) : String();
        if (!values.empty()) {
            add(Remark::Kind::constantAnswer, node,
                "the comparison is " + String(*answer ? "always" : "never") +
                    " true: " + oneLine(values, longestText));
        }
    }

    /// A literal set may have thousands of elements.
    static constexpr std::size_t longestText = 300;

    void add(Remark::Kind kind, AetNodeBase const & node, String text) {
        remarks_.push_back({kind, function_, &node, std::move(text)});
    }

    std::vector<Remark> & remarks_;
    FlowAnalysis flow_;
    ActionAnalysis actions_;
    /// Those of the function that were looked at.
    std::unordered_set<Expression const *> statements_;
    Function const * function_ = nullptr;
};

} // namespace

char const * remarkName(Remark::Kind kind) {
    switch (kind) {
    case Remark::Kind::endsWithoutReturn:
        return "endsWithoutReturn";
    case Remark::Kind::neverReached:
        return "neverReached";
    case Remark::Kind::constantAnswer:
        return "constantAnswer";
    case Remark::Kind::outOfRange:
        return "outOfRange";
    case Remark::Kind::expectsArguments:
        return "expectsArguments";
    case Remark::Kind::unusedResult:
        return "unusedResult";
    case Remark::Kind::bareTest:
        return "bareTest";
    }
    return "";
}

// A walk meets the function itself, too, which is no call: functions never call themselves.
std::vector<bool> outermostOf(std::span<PtrConst<Function> const> functions) {
    std::unordered_set<AetNodeBase const *> called;
    for (auto const & function : functions) {
        eachNode(*function, [&](AetNodeBase const & node) {
            if (&node != function.get()) {
                called.insert(&node);
            }
        });
    }
    std::vector<bool> outermost;
    for (auto const & function : functions) {
        outermost.push_back(!called.contains(function.get()));
    }
    return outermost;
}

std::vector<Remark> analyse(std::span<PtrConst<Function> const> functions) {
    std::vector<Remark> remarks;
    Analysis analysis(remarks);
    auto const outermost = outermostOf(functions);
    for (std::size_t i = 0; i < functions.size(); ++i) {
        analysis.function(*functions[i], outermost[i]);
    }
    return remarks;
}

} // namespace Qcf::Documents
