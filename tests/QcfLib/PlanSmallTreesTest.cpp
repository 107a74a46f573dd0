#include "QcfLib/Plan.h"
#include "tests/support/Trees.h"

#include <algorithm>
#include <tuple>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

#ifdef NDEBUG
constexpr std::size_t largestBody = 6;
#else
constexpr std::size_t largestBody = 4;
#endif

/// Answers one attribute, and sees whether it is asked and what is written.
class WatchingContext final : public EvalContext {
public:
    WatchingContext() : EvalContext(nullptr, nullptr, nullptr) {}

    TriStateBoolValue bestpathInput() const override {
        asked = true;
        return answer;
    }
    U64 medInput() const override { return 0; }
    void medIs(U64 value) override { written = value; }

    TriStateBoolValue answer = QcfUnknown();
    mutable bool asked = false;
    U64 written = 0;
};

/// Result, what was written back, changes in all, and whether the attribute was asked for.
using Outcome = std::tuple<EvalResult, U64, U64, bool>;

/// What the words of the language make of a tree.
class Naive {
public:
    explicit Naive(TriStateBoolValue answer) : answer_(answer) {}

    Outcome outcome(Function const & function) {
        EvalResult const result = call(function);
        return {result, result.isTrue() ? changes_ : 0, changes_, asked_};
    }

private:
    using Flag = TerminationFlag;

    EvalResult call(Function const & function) {
        EvalResult const result = eval(*function.body());
        return result.termination() == Flag::returnToCaller ? result.with(Flag::noTermination)
                                                            : result;
    }
    EvalResult eval(Expression const & node) {
        if (auto const * const n = dynamic_cast<Block const *>(&node)) {
            return block(*n);
        }
        if (auto const * const n = dynamic_cast<IfExpression const *>(&node)) {
            return branch(*n);
        }
        if (auto const * const n = dynamic_cast<LogicalOperatorExpression const *>(&node)) {
            return logical(*n);
        }
        if (auto const * const n = dynamic_cast<NotExpression const *>(&node)) {
            EvalResult const result = eval(*n->expr());
            return result.terminates() ? result : EvalResult::fromBool(!result.isTrue());
        }
        if (auto const * const n = dynamic_cast<ReturnExpression const *>(&node)) {
            return ended(*n->expr(), Flag::returnToCaller);
        }
        if (auto const * const n = dynamic_cast<ExitExpression const *>(&node)) {
            return ended(*n->expr(), Flag::exitToPoa);
        }
        if (auto const * const n = dynamic_cast<FunctionCallExpression const *>(&node)) {
            return call(*n->calleePtr());
        }
        if (auto const * const n = dynamic_cast<TriStateBoolExpression const *>(&node)) {
            return value(*n->expr());
        }
        ++changes_; // the one other leaf
        return EvalResult::fromBool(true);
    }
    EvalResult ended(Expression const & operand, Flag flag) {
        EvalResult const result = eval(operand);
        return result.terminates() ? result : result.with(flag);
    }
    EvalResult value(TriStateBool const & node) {
        auto const * const constant = dynamic_cast<TriStateBoolImmediate const *>(&node);
        asked_ = asked_ || constant == nullptr;
        return EvalResult(constant != nullptr ? constant->value() : answer_);
    }
    EvalResult block(Block const & node) {
        for (auto const * link = node.stmts().get(); link != nullptr; link = link->next().get()) {
            EvalResult const result = eval(*link->entry());
            if (result.terminates()) {
                return result;
            }
        }
        return {};
    }
    EvalResult branch(IfExpression const & node) {
        EvalResult const condition = eval(*node.condition());
        if (condition.terminates()) {
            return condition;
        }
        if (condition.isTrue()) {
            return eval(*node.thenBlock());
        }
        return node.elseBlock() ? eval(*node.elseBlock()) : condition;
    }
    EvalResult logical(LogicalOperatorExpression const & node) {
        String const op = node.operatorList()->entry()->toStrep();
        EvalResult result;
        for (auto const * link = node.expressionList().get(); link; link = link->next().get()) {
            result = eval(*link->entry());
            bool const decided = op == "and"  ? !result.isTrue()
                                 : op == "or" ? result.isTrue()
                                              : result.retVal() != QcfUnknown();
            if (result.terminates() || decided) {
                break;
            }
        }
        bool const cast = op != "??" && result.retVal() == QcfUnknown() && !result.terminates();
        return cast ? EvalResult::fromBool(false) : result;
    }

    TriStateBoolValue answer_;
    U64 changes_ = 0;
    bool asked_ = false;
};

/// All trees of control flow and logical operators by size: leaves and operators count one each,
/// blocks nothing. Nodes are shared among trees.
class AllTrees {
public:
    explicit AllTrees(std::size_t largest) {
        auto const tests = make<TriStateBoolExpression>(make<Attribute::Bestpath>());
        auto const changes = make<IntPlusEq>(make<Attribute::Med>(), number(1));
        operands_ = {{},
                     {always(QcfTrue()), always(QcfFalse()), always(QcfUnknown()), tests, changes,
                      call(function({returns(always(QcfFalse()))})), call(function({changes})),
                      call(function({make<ExitExpression>(always(QcfTrue()))}))}};
        statements_ = operands_;
        for (std::size_t size = 2; size < largest; ++size) {
            Expressions made;
            auto const keep = [&](PtrConst<Expression> node) { made.push_back(std::move(node)); };
            eachJoined(size - 1, keep);
            eachBranch(size - 1, operands_, keep);
            operands_.push_back(std::exchange(made, {}));
            eachStatement(size, keep);
            statements_.push_back(std::move(made));
        }
    }

    /// Bodies of one and of two statements.
    template <typename Visit>
    void eachBody(std::size_t size, Visit && visit) const {
        auto const alone = [&](PtrConst<Expression> const & only) { visit(block({only})); };
        eachStatement(size, alone);
        eachPair(size, statements_, visit);
    }

private:
    using BySize = std::vector<Expressions>;

    template <typename Visit>
    void eachStatement(std::size_t size, Visit && visit) const {
        if (size == 1) {
            std::for_each(statements_[1].begin(), statements_[1].end(), visit);
            return;
        }
        eachJoined(size - 1, visit);
        eachBranch(size - 1, statements_, visit);
        for (auto const & operand : operands_[size - 1]) {
            visit(returns(operand));
        }
    }
    template <typename Visit>
    void eachJoined(std::size_t size, Visit && visit) const {
        for (auto const & operand : operands_[size]) {
            visit(make<NotExpression>(operand));
            visit(make<ExitExpression>(operand));
        }
        for (char const * const op : {"and", "or", "??"}) {
            for (std::size_t const count : {2U, 3U}) {
                eachList(size, count, {},
                         [&](Expressions const & operands) { visit(logical(op, operands)); });
            }
        }
    }
    template <typename Visit>
    void eachList(std::size_t size, std::size_t count, Expressions const & before,
                  Visit && visit) const {
        if (count == 0 && size == 0) {
            visit(before);
        }
        for (std::size_t first = 1; count > 0 && first <= size; ++first) {
            for (auto const & operand : operands_[first]) {
                Expressions list = before;
                list.push_back(operand);
                eachList(size - first, count - 1, list, visit);
            }
        }
    }
    /// `if` with blocks of these statements, with and without `else` or `else if`.
    template <typename Visit>
    void eachBranch(std::size_t size, BySize const & statements, Visit && visit) const {
        for (std::size_t tested = 1; tested < size; ++tested) {
            std::size_t const rest = size - tested;
            for (auto const & condition : operands_[tested]) {
                auto const with = [&](PtrConst<Block> const & then) {
                    visit(make<IfExpression>(condition, then, nullptr));
                };
                for (auto const & only : statements[rest]) {
                    with(block({only}));
                }
                eachPair(rest, statements, with);
                for (std::size_t taken = 1; taken < rest; ++taken) {
                    for (auto const & then : statements[taken]) {
                        for (auto const & otherwise : statements[rest - taken]) {
                            bool const chains = dynamic_cast<IfExpression const *>(otherwise.get());
                            visit(make<IfExpression>(
                                condition, block({then}),
                                chains ? otherwise : PtrConst<Expression>(block({otherwise}))));
                        }
                    }
                }
            }
        }
    }
    template <typename Visit>
    static void eachPair(std::size_t size, BySize const & statements, Visit && visit) {
        for (std::size_t first = 1; first < size; ++first) {
            for (auto const & one : statements[first]) {
                for (auto const & two : statements[size - first]) {
                    visit(block({one, two}));
                }
            }
        }
    }

    BySize operands_;
    BySize statements_;
};

Outcome outcome(Function const & function, Ptr<WatchingContext> const & context, bool planned) {
    Plan::enabledIs(planned);
    context->reset();
    context->asked = false;
    context->written = 0;
    EvalResult const result = function.eval(context);
    U64 const written = std::exchange(context->written, 0);
    context->flushModifiedAttributes();
    Plan::enabledIs(true);
    return {result, written, context->written, context->asked};
}

} // namespace

// Plan, tree and the words of the language agree on all small functions.
TEST(Plans, AgreeOnAllSmallTreesOfControlFlow) {
    AllTrees const trees(largestBody);
    auto const context = makePtr<WatchingContext>();
    std::size_t count = 0;
    auto const check = [&](PtrConst<Block> const & body) {
        if (HasFailure()) {
            return;
        }
        auto const f = make<Function>("f", FunctionMetadata{}, Routing::Policy::RouteMapFeatures{},
                                      AccessibleAttributes{}, false, body);
        for (auto const answer : {QcfUnknown(), QcfFalse(), QcfTrue()}) {
            context->answer = answer;
            Outcome const expected = Naive(answer).outcome(*f);
            for (bool const planned : {false, true}) {
                if (outcome(*f, context, planned) != expected) {
                    auto const dump = makePtr<DumpContext>();
                    f->dumpState(PtrConst<DumpContext>(dump), 0);
                    ADD_FAILURE() << (planned ? "plan: " : "tree: ") << dump->text();
                }
            }
        }
        ++count;
    };
    for (std::size_t size = 1; size <= largestBody; ++size) {
        trees.eachBody(size, check);
    }
    RecordProperty("trees", std::to_string(count));
    EXPECT_GT(count, 5'000U);
}
