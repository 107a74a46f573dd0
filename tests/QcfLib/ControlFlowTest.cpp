#include "tests/support/RecordingContext.h"
#include "tests/support/Trees.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

constexpr auto goesOn = TerminationFlag::noTermination;
constexpr auto returning = TerminationFlag::returnToCaller;
constexpr auto exiting = TerminationFlag::exitToPoa;

Ptr<EvalContext> bareContext() { return makePtr<EvalContext>(nullptr, nullptr, nullptr); }

EvalResult evalBare(Expression const & node) { return node.eval(bareContext()); }

PtrConst<Expression> ifElse(PtrConst<Expression> condition, Expressions const & thenStatements,
                            PtrConst<Expression> otherwise = nullptr) {
    auto then = block(thenStatements);
    return make<IfExpression>(std::move(condition), std::move(then), std::move(otherwise));
}

PtrConst<Expression> negation(PtrConst<Expression> operand) {
    return make<NotExpression>(std::move(operand));
}
PtrConst<Expression> exits(PtrConst<Expression> operand) {
    return make<ExitExpression>(std::move(operand));
}

/// Evaluates with a log and gives result and log with keys counted from `first`.
String evalLogged(Expression const & node, U64 first) {
    auto const context = bareContext();
    context->shouldLogEvalIs(true);
    String const result = textOf(node.eval(context));
    String text = result + " |";
    auto const head = context->evaluationLog();
    for (auto const * record = head.get(); record != nullptr; record = record->nextLog().get()) {
        text += " " + std::to_string(record->aetNodeKey() - first) + ":" + textOf(record->result());
    }
    return text;
}

} // namespace

TEST(EvalResult, TextsAndConversions) {
    EXPECT_EQ(textOf(EvalResult()), "unknown");
    EXPECT_EQ(textOf(EvalResult::fromBool(true)), "true");
    EXPECT_EQ(textOf(EvalResult::fromBoolWithReturn(false)), "false/returnToCaller");
    EXPECT_STREQ(toString(goesOn), "noTermination");
    EXPECT_EQ(tristateToEvalResult({1, 0}), EvalResult());
    EXPECT_EQ(tristateToEvalResult({0, 1}), EvalResult::fromBool(false));
    EXPECT_EQ(tristateToEvalResult({1, 7}), EvalResult::fromBool(true));
    static_assert(sizeof(EvalResult) == 2);
}

TEST(EvalResultDeathTest, NumbersOutsideHaveNoText) {
    EXPECT_DEATH(toString(static_cast<TriStateBoolValue>(3)),
                 "assertion failed: invalid TriStateBoolValue \\(");
    EXPECT_DEATH(toString(static_cast<TerminationFlag>(3)),
                 "assertion failed: invalid TriStateBoolValue \\(");
}

// One statement or operand of every result through every node of control flow.
TEST(ControlFlow, ResultsThroughEveryNode) {
    struct Case {
        EvalResult operand;
        char const * block;
        char const * negated;
        char const * returned;
        char const * exited;
        char const * ifWithoutElse; ///< as the condition, a true branch that returns false
        char const * function;
    };
    Case const cases[] = {
        {EvalResult(QcfUnknown()), "unknown", "true", "unknown/returnToCaller", "unknown/exitToPoa",
         "unknown", "unknown"},
        {EvalResult(QcfFalse()), "unknown", "true", "false/returnToCaller", "false/exitToPoa",
         "false", "unknown"},
        {EvalResult(QcfTrue()), "unknown", "false", "true/returnToCaller", "true/exitToPoa",
         "false/returnToCaller", "unknown"},
        {EvalResult(QcfUnknown(), exiting), "unknown/exitToPoa", "unknown/exitToPoa",
         "unknown/exitToPoa", "unknown/exitToPoa", "unknown/exitToPoa", "unknown/exitToPoa"},
        {EvalResult(QcfFalse(), exiting), "false/exitToPoa", "false/exitToPoa", "false/exitToPoa",
         "false/exitToPoa", "false/exitToPoa", "false/exitToPoa"},
        {EvalResult(QcfTrue(), exiting), "true/exitToPoa", "true/exitToPoa", "true/exitToPoa",
         "true/exitToPoa", "true/exitToPoa", "true/exitToPoa"},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(textOf(c.operand));
        auto const x = make<Scripted>(c.operand);
        EXPECT_EQ(textOf(evalBare(*block({x}))), c.block);
        EXPECT_EQ(textOf(evalBare(*negation(x))), c.negated);
        EXPECT_EQ(textOf(evalBare(*returns(x))), c.returned);
        EXPECT_EQ(textOf(evalBare(*exits(x))), c.exited);
        EXPECT_EQ(textOf(evalBare(*ifElse(x, {returns(always(QcfFalse()))}))), c.ifWithoutElse);
        EXPECT_EQ(textOf(evalBare(*function({x}))), c.function);
        EXPECT_EQ(x->evaluations, 6U);
    }
}

TEST(ControlFlow, AStatementThatTerminatesIsTheLast) {
    for (auto const flag : {goesOn, returning, exiting}) {
        auto const first = scripted(QcfFalse(), flag);
        auto const second = scripted(QcfTrue(), returning);
        bool const stops = flag != goesOn;
        EXPECT_EQ(evalBare(*block({first, second})),
                  stops ? EvalResult(QcfFalse(), flag) : EvalResult(QcfTrue(), returning));
        EXPECT_EQ(second->evaluations, stops ? 0U : 1U);
    }
    EXPECT_EQ(evalBare(*make<Block>(nullptr)), EvalResult());
}

TEST(ControlFlow, UnknownTakesTheElsePath) {
    for (auto const condition : {QcfUnknown(), QcfFalse(), QcfTrue()}) {
        auto const then = scripted(QcfTrue());
        auto const other = scripted(QcfFalse(), returning);
        auto const r = evalBare(*ifElse(always(condition), {then}, block({other})));
        bool const taken = condition == QcfTrue();
        EXPECT_EQ(then->evaluations, taken ? 1U : 0U);
        EXPECT_EQ(other->evaluations, taken ? 0U : 1U);
        // A block that runs to its end yields unknown, whatever its statements do.
        EXPECT_EQ(textOf(r), taken ? "unknown" : "false/returnToCaller");
    }
}

TEST(ControlFlowDeathTest, ReturnHasNoPlaceInAnOperand) {
    auto const x = scripted(QcfTrue(), returning);
    PtrConst<Expression> const nodes[] = {negation(x), returns(x), exits(x),
                                          ifElse(x, {accepts()})};
    for (auto const & node : nodes) {
        EXPECT_DEATH(evalBare(*node), "assertion failed: false \\(") << node->typeData().name;
    }
}

// Keys are relative to the tree's first node. The log drops what does not rise.
TEST(ControlFlow, LogsInOrder) {
    struct Case {
        PtrConst<Expression> node;
        U64 before; ///< the key before the tree's first
        char const * expected;
    };
    std::vector<Case> cases;
    auto const add = [&](auto build, char const * expected) {
        U64 const before = nextKey();
        cases.push_back({build(), before, expected});
    };
    // operand 1; return 2
    add([] { return returns(scripted(QcfTrue())); }, "true/returnToCaller | 1:true 2:true");
    add([] { return exits(scripted(QcfFalse())); }, "false/exitToPoa | 1:false 2:false");
    // not logs its operand alone
    add([] { return negation(scripted(QcfUnknown())); }, "true | 1:unknown");
    // operand 1, not 2, return 3
    add([] { return returns(negation(scripted(QcfTrue()))); },
        "false/returnToCaller | 1:true 2:false 3:false");
    // condition 1; statement 2, link 3, block 4; else statement 5, link 6, block 7; if 8
    add(
        [] {
            auto condition = scripted(QcfTrue());
            auto then = block({scripted(QcfFalse())});
            auto other = block({scripted(QcfTrue())});
            return PtrConst<Expression>(make<IfExpression>(condition, then, other));
        },
        "unknown | 1:true 2:false 4:unknown 8:true");
    add(
        [] {
            auto condition = scripted(QcfUnknown());
            auto then = block({scripted(QcfFalse())});
            auto other = block({scripted(QcfTrue(), returning)});
            return PtrConst<Expression>(make<IfExpression>(condition, then, other));
        },
        "true/returnToCaller | 1:unknown 5:true/returnToCaller 7:true/returnToCaller 8:unknown");
    // an exit in the condition: nothing more is logged
    add(
        [] {
            auto condition = scripted(QcfTrue(), exiting);
            auto then = block({scripted(QcfFalse())});
            return PtrConst<Expression>(make<IfExpression>(condition, then, nullptr));
        },
        "true/exitToPoa | 1:true/exitToPoa");
    // operand 1, return 2, link 3, block 4, function 5: logged before the flag is cleared
    add([] { return PtrConst<Expression>(function({returns(scripted(QcfTrue()))})); },
        "true | 1:true 2:true 4:true/returnToCaller 5:true/returnToCaller");
    // a function that expects arguments, called by nobody: logs itself alone
    add([] { return PtrConst<Expression>(function({scripted(QcfTrue())}, true)); },
        "false/returnToCaller | 4:false/returnToCaller");
    for (Case const & c : cases) {
        EXPECT_EQ(evalLogged(*c.node, c.before), c.expected);
    }
}

TEST(ControlFlow, ReturnLogsItsFlagInTheBlockAbove) {
    U64 const before = nextKey();
    auto const f = function({returns(scripted(QcfFalse()))});
    EXPECT_EQ(evalLogged(*f, before),
              "false | 1:false 2:false 4:false/returnToCaller 5:false/returnToCaller");
}

TEST(Functions, OnlyAnAcceptingOutermostOneWritesBack) {
    auto const context = makePtr<RecordingContext>();
    auto const setsMed = make<IntAssign>(make<Attribute::Med>(), number(5));
    auto const with = [&](PtrConst<Expression> end) { return function({setsMed, std::move(end)}); };
    auto const callee = with(accepts());
    struct Case {
        PtrConst<Function> function;
        char const * result;
        char const * calls;
    } const cases[] = {
        {with(accepts()), "true", "medIs 5"},
        {with(exits(always(QcfTrue()))), "true/exitToPoa", "medIs 5"},
        {with(returns(always(QcfFalse()))), "false", ""},
        {with(returns(always(QcfUnknown()))), "unknown", ""},
        {function({setsMed}), "unknown", ""},
        {function({call(callee)}), "unknown", ""},
        {function({call(callee), accepts()}), "true", "medIs 5"},
        {function({returns(call(callee))}), "true", "medIs 5"},
        {function({returns(call(with(exits(always(QcfTrue())))))}), "true/exitToPoa", "medIs 5"},
        {function({call(with(exits(always(QcfFalse())))), accepts()}), "false/exitToPoa", ""},
        {function({setsMed, accepts()}, true), "false/returnToCaller", ""},
        {function({}), "unknown", ""},
    };
    for (auto const & c : cases) {
        context->reset();
        EXPECT_EQ(textOf(c.function->eval(context)), c.result);
        EXPECT_EQ(context->takeCalls(), c.calls);
    }
}
