#include "tests/support/Trees.h"

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

/// A tree as the naive evaluator sees it: an operand with a result, or a chain of such.
struct Tree {
    String op; ///< empty for an operand
    EvalResult result;
    std::vector<Tree> parts;
    Ptr<Scripted> operand;
    PtrConst<Expression> node;
    std::vector<U64> operators; ///< keys of a chain's operator nodes

    void build() {
        if (op.empty()) {
            operand = make<Scripted>(result);
            node = operand;
            return;
        }
        Expressions nodes;
        for (Tree & part : parts) {
            part.build();
            nodes.push_back(part.node);
        }
        auto const chain = logical(op.c_str(), nodes);
        auto const & expression = static_cast<LogicalOperatorExpression const &>(*chain);
        for (auto const * link = expression.operatorList().get(); link; link = link->next().get()) {
            operators.push_back(link->entry()->aetNodeKey());
        }
        node = chain;
    }
};

struct LogLine {
    U64 key;
    EvalResult result;
};

/// What evaluation must yield, log and touch, worked out from the words of the language alone.
class Naive {
public:
    std::vector<LogLine> log;
    std::vector<Tree const *> touched;

    EvalResult eval(Tree const & tree) {
        if (tree.op.empty()) {
            touched.push_back(&tree);
            return tree.result;
        }
        EvalResult last;
        std::size_t seen = 0;
        for (; seen < tree.parts.size(); ++seen) {
            if (seen >= 2) {
                log.push_back({tree.operators[seen - 2], last});
            }
            last = eval(tree.parts[seen]);
            log.push_back({tree.parts[seen].node->aetNodeKey(), last});
            if (last.termination() == TerminationFlag::exitToPoa) {
                if (seen >= 1) {
                    log.push_back({tree.operators[seen - 1], last});
                }
                return last;
            }
            if (decides(tree.op, last.retVal())) {
                ++seen;
                break;
            }
        }
        if (tree.op != "??" && last.retVal() == QcfUnknown()) {
            last = EvalResult::fromBool(false);
        }
        log.push_back({tree.operators[seen < 2 ? 0 : seen - 2], last});
        return last;
    }

    /// The log as a frame keeps it: only rising keys.
    String logText() const {
        String text;
        U64 newest = 0;
        for (LogLine const & line : log) {
            if (line.key > newest) {
                newest = line.key;
                text += (text.empty() ? "" : " ") + std::to_string(line.key) + ":" +
                        test::textOf(line.result);
            }
        }
        return text;
    }

private:
    static bool decides(String const & op, TriStateBoolValue value) {
        return op == "and"  ? value != QcfTrue()
               : op == "or" ? value == QcfTrue()
                            : value != QcfUnknown();
    }
};

class Checker {
public:
    void check(Tree tree) {
        tree.build();
        Naive naive;
        EvalResult const expected = naive.eval(tree);
        String const log = naive.logText();
        std::size_t round = 0;
        // A fresh context, then one that served the trees before; without and with a log.
        for (auto const & context : {fresh(), used_}) {
            for (bool const logging : {false, true}) {
                context->reset();
                context->shouldLogEvalIs(logging);
                ASSERT_EQ(tree.node->eval(context), expected);
                ASSERT_EQ(test::logText(context->evaluationLog().get()), logging ? log : "");
                ++round;
            }
        }
        // The same inside a function, which may take another way when nothing is logged.
        auto const outermost = function({returns(tree.node)});
        bool const exits = expected.terminates();
        for (auto const & context : {fresh(), used_}) {
            context->reset();
            ASSERT_EQ(outermost->eval(context),
                      EvalResult(expected.retVal(), exits ? TerminationFlag::exitToPoa
                                                          : TerminationFlag::noTermination));
            ++round;
        }
        std::size_t evaluations = 0;
        count(tree, evaluations);
        ASSERT_EQ(evaluations, naive.touched.size() * round);
        ++trees;
    }

    std::size_t trees = 0;

private:
    static Ptr<EvalContext> fresh() { return makePtr<EvalContext>(nullptr, nullptr, nullptr); }
    static void count(Tree const & tree, std::size_t & evaluations) {
        evaluations += tree.operand ? tree.operand->evaluations : 0;
        for (Tree const & part : tree.parts) {
            count(part, evaluations);
        }
    }

    Ptr<EvalContext> used_ = fresh();
};

EvalResult const results[] = {EvalResult(QcfUnknown()),
                              EvalResult(QcfFalse()),
                              EvalResult(QcfTrue()),
                              EvalResult(QcfUnknown(), TerminationFlag::exitToPoa),
                              EvalResult(QcfFalse(), TerminationFlag::exitToPoa),
                              EvalResult(QcfTrue(), TerminationFlag::exitToPoa)};
char const * const operators[] = {"and", "or", "??"};

Tree operand(EvalResult const & result) { return {"", result, {}, nullptr, nullptr, {}}; }

/// Calls `visit` for every list of `count` operands.
template <typename Visit>
void eachOperands(std::size_t count, Visit && visit) {
    std::size_t total = 1;
    for (std::size_t i = 0; i < count; ++i) {
        total *= std::size(results);
    }
    for (std::size_t code = 0; code < total; ++code) {
        std::vector<Tree> parts;
        for (std::size_t i = 0, rest = code; i < count; ++i, rest /= std::size(results)) {
            parts.push_back(operand(results[rest % std::size(results)]));
        }
        visit(std::move(parts));
    }
}

} // namespace

TEST(LogicalOperators, ChainsAgreeWithANaiveEvaluator) {
    Checker checker;
    for (char const * const op : operators) {
        for (std::size_t count = 0; count <= 4; ++count) {
            eachOperands(count, [&](std::vector<Tree> parts) {
                checker.check({op, {}, std::move(parts), nullptr, nullptr, {}});
            });
        }
    }
    EXPECT_EQ(checker.trees, 3U * (1 + 6 + 36 + 216 + 1296));
}

TEST(LogicalOperators, NestedChainsAgreeWithANaiveEvaluator) {
    Checker checker;
    for (char const * const outer : operators) {
        for (char const * const inner : operators) {
            eachOperands(4, [&](std::vector<Tree> parts) {
                // x OUTER (x INNER x) OUTER x
                Tree const nested{inner, {}, {parts[1], parts[2]}, nullptr, nullptr, {}};
                checker.check({outer, {}, {parts[0], nested, parts[3]}, nullptr, nullptr, {}});
            });
        }
    }
    EXPECT_EQ(checker.trees, 9U * 1296);
}

TEST(LogicalOperators, AreWhatTheirClassSays) {
    struct Case {
        Ptr<LogicalOperator> op;
        char const * text;
        bool stops[3]; ///< on unknown, false, true
        TriStateBoolValue unknownBecomes;
    };
    Case const cases[] = {
        {make<AndOperator>(), "and", {true, true, false}, QcfFalse()},
        {make<OrOperator>(), "or", {false, false, true}, QcfFalse()},
        {make<SequentialOperator>(), "??", {false, true, true}, QcfUnknown()},
    };
    for (Case const & c : cases) {
        EXPECT_EQ(c.op->toStrep(), c.text);
        for (std::size_t value = 0; value < 3; ++value) {
            EvalResult const result(static_cast<TriStateBoolValue>(value));
            EXPECT_EQ(c.op->shouldShortCircuit(result), c.stops[value]) << c.text << value;
            auto const cast = c.op->maybeCastUnknownToFalse(result);
            EXPECT_EQ(cast.retVal(), value == 0 ? c.unknownBecomes : result.retVal()) << c.text;
        }
        EvalResult const exits(QcfTrue(), TerminationFlag::exitToPoa);
        EXPECT_EQ(c.op->maybeCastUnknownToFalse(exits), exits);
    }
}

TEST(LogicalOperatorsDeathTest, ReturnHasNoPlaceInAnOperand) {
    auto const context = makePtr<EvalContext>(nullptr, nullptr, nullptr);
    auto const chain =
        logical("and", {always(QcfTrue()), scripted(QcfTrue(), TerminationFlag::returnToCaller)});
    EXPECT_DEATH(chain->eval(context), "assertion failed: false \\(");
}
