#include "tests/support/RandomDocument.h"

#include "tests/Documents/DocumentTools.h"
#include "tests/Documents/JsonMutator.h"
#include "tests/support/Mutator.h"
#include "tests/support/RecordingContext.h"

#include <set>
#include <sstream>

#include <gtest/gtest.h>

namespace Qcf::Documents::test {

using namespace Eval;
using Eval::test::RecordingContext;
using Qcf::test::RandomDocument;

namespace {

/// Everything that makes a program: what equal ones agree in, keys too.
void expectEqual(Program const & a, Program const & b) {
    ASSERT_EQ(a.nodes.size(), b.nodes.size());
    EXPECT_EQ(keysOf(a), keysOf(b));
    std::map<U64, PtrConst<AetNodeBase>> others;
    for (auto const & node : b.nodes) {
        others[node->aetNodeKey()] = node;
    }
    for (auto const & node : a.nodes) {
        // Calls compare by the identity of their callee and so tell two programs apart: they are
        // left to the written forms.
        bool const isValue = dynamic_cast<StorageType const *>(node.get()) != nullptr;
        EXPECT_TRUE(!isValue || node->compare(others[node->aetNodeKey()])) << node->aetNodeKey();
    }
    EXPECT_EQ(a.slots, b.slots);
    EXPECT_EQ(written(a), written(b));
}

void expectChildrenFirst(Program const & program) {
    std::set<AetNodeBase const *> seen;
    for (auto const & node : program.nodes) {
        node->typeData().visitChildren(*node, [&](FieldInfo const &, AetNodeBase const * child) {
            EXPECT_TRUE(child == nullptr || seen.contains(child));
        });
        EXPECT_TRUE(seen.insert(node.get()).second);
    }
}

/// Walks a tree by the rules of logging, evaluating operators and calls through the engine, and
/// notes each key when its result would be logged.
class ExpectedLog {
public:
    explicit ExpectedLog(Ptr<EvalContextBase> const & context) : context_(context) {}

    EvalResult statement(Expression const & node) {
        EvalResult const result = inner(node);
        note(node.aetNodeKey());
        return result;
    }

    /// Keys as they stand in a log: a record for the node that was logged last is dropped.
    String text() const { return text_; }

private:
    void note(U64 key) {
        if (key != last_) {
            text_ += (text_.empty() ? "" : " ") + std::to_string(key);
        }
        last_ = key;
    }

    EvalResult inner(Expression const & node) {
        if (auto const * block = dynamic_cast<Block const *>(&node)) {
            return statements(block->stmts().get());
        }
        if (auto const * branch = dynamic_cast<IfExpression const *>(&node)) {
            return conditional(*branch);
        }
        if (auto const * chain = dynamic_cast<LogicalOperatorExpression const *>(&node)) {
            return logical(*chain);
        }
        if (auto const * inverted = dynamic_cast<NotExpression const *>(&node)) {
            EvalResult const result = statement(*inverted->expr());
            return result.terminates() ? result : EvalResult::fromBool(!result.isTrue());
        }
        if (auto const * returned = dynamic_cast<ReturnExpression const *>(&node)) {
            return ended(*returned->expr(), node, TerminationFlag::returnToCaller);
        }
        if (auto const * exited = dynamic_cast<ExitExpression const *>(&node)) {
            return ended(*exited->expr(), node, TerminationFlag::exitToPoa);
        }
        return node.eval(context_);
    }

    EvalResult ended(Expression const & operand, Expression const & node, TerminationFlag flag) {
        EvalResult const result = statement(operand);
        note(node.aetNodeKey());
        return result.terminates() ? result : result.with(flag);
    }

    EvalResult statements(ExpressionList const * link) {
        for (; link != nullptr; link = link->next().get()) {
            EvalResult const result = statement(*link->entry());
            if (result.terminates()) {
                return result;
            }
        }
        return {};
    }

    EvalResult conditional(IfExpression const & node) {
        EvalResult const condition = statement(*node.condition());
        EvalResult result = condition;
        if (condition.terminates()) {
            return result;
        }
        if (condition.isTrue()) {
            result = statement(*node.thenBlock());
        } else if (node.elseBlock()) {
            result = statement(*node.elseBlock());
        }
        note(node.aetNodeKey());
        return result;
    }

    EvalResult logical(LogicalOperatorExpression const & node) {
        auto const * op = node.operatorList().get();
        auto const & kind = *op->entry();
        EvalResult result;
        U32 position = 1;
        for (auto const * link = node.expressionList().get(); link != nullptr;
             link = link->next().get(), ++position) {
            if (position >= 3) {
                note(op->entry()->aetNodeKey());
                op = op->next() ? op->next().get() : op;
            }
            result = statement(*link->entry());
            if (result.terminates()) {
                if (position >= 2) {
                    note(op->entry()->aetNodeKey());
                }
                return result;
            }
            if (kind.shouldShortCircuit(result)) {
                break;
            }
        }
        note(op->entry()->aetNodeKey());
        return kind.maybeCastUnknownToFalse(result);
    }

    Ptr<EvalContextBase> context_;
    String text_;
    U64 last_ = 0;
};

Ptr<RecordingContext> contextOf(U32 variant) {
    auto context = makePtr<RecordingContext>();
    context->matchAnswer = variant % 2 == 0;
    context->outbound = variant % 3 == 0;
    context->med = variant % 5 * 50;
    context->community = {1, 4259840001};
    context->ipPrefix = *IpGenPrefix::parse("10.0.0.0/8");
    return context;
}

String loggedKeys(Debug::EvaluationLog const * record) {
    String text;
    for (; record != nullptr; record = record->nextLog().get()) {
        text += (text.empty() ? "" : " ") + std::to_string(record->aetNodeKey());
    }
    return text;
}

} // namespace

TEST(RandomDocuments, OfEveryClassReadBackToEqualNodes) {
    for (U32 seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        auto const program = read(RandomDocument(seed).everyClass());
        std::set<NodeClass const *> classes;
        for (auto const & node : program.nodes) {
            classes.insert(&node->typeData());
        }
        EXPECT_EQ(classes.size(), nodeClasses().size());
        expectChildrenFirst(program);
        expectEqual(program, read(written(program)));
    }
}

TEST(RandomDocuments, OfFunctionsReadBackAndCanBeUsed) {
    for (U32 seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        RandomDocument::Options const options{.references = seed % 2 == 1, .calls = seed % 4 < 2};
        auto const program = read(RandomDocument(seed, options).functions(1 + seed % 6));
        expectChildrenFirst(program);
        expectEqual(program, read(written(program)));
        auto const & main = *program.find("main");
        EXPECT_EQ(program.faultOf(main).eval, "");
        main.eval(contextOf(seed));
        for (auto const & function : program.functions) {
            EXPECT_TRUE(function->verifySanity(function->metadata()));
            auto const dump = makePtr<DumpContext>();
            function->dumpState(PtrConst<DumpContext>(dump), 0);
        }
    }
}

TEST(RandomDocuments, KeysRiseAsEvaluationLogs) {
    for (U32 seed = 0; seed < 500; ++seed) {
        SCOPED_TRACE(seed);
        auto const program = read(RandomDocument(seed).functions(3));
        auto const & main = *program.find("main");
        auto const context = contextOf(seed);
        context->shouldLogEvalIs(true);
        main.eval(context);
        auto const silent = contextOf(seed);
        ExpectedLog expected(silent);
        expected.statement(*main.body());
        EXPECT_EQ(loggedKeys(context->evaluationLog().get()),
                  expected.text() + " " + std::to_string(main.aetNodeKey()));
    }
}

// Damage gives an error line or another program, never a crash; what still reads can be used.
TEST(RandomDocuments, MutatedOnesAreReadOrRefused) {
    constexpr U32 rounds = 16'000;
    U32 good = 0;
    std::vector<String> seeds;
    for (U32 seed = 0; seed < 24; ++seed) {
        RandomDocument random(seed, {.references = true, .depth = 2});
        String text = seed % 8 == 0 ? random.everyClass() : random.functions(2);
        std::erase(text, '\n');
        seeds.push_back(text);
        seeds.push_back(written(read(text)));
    }
    Mutator bytes(1);
    JsonMutator values(1);
    for (U32 round = 0; round < rounds; ++round) {
        try {
            String const & seed = seeds[round % seeds.size()];
            auto const program =
                read(round % 4 == 0 ? bytes.mutate(seed, seeds) : values.mutate(seed));
            ++good;
            for (std::size_t i = 0; i < program.functions.size(); ++i) {
                auto const & function = *program.functions[i];
                function.verifySanity(function.metadata());
                if (program.faults[i].eval.empty()) {
                    function.eval(contextOf(round));
                }
                if (program.faults[i].dump.empty()) {
                    function.dumpState(PtrConst<DumpContext>(makePtr<DumpContext>()), 0);
                }
            }
        } catch (DocumentError const & error) {
            ASSERT_TRUE(String(error.what()).starts_with("f.json:"));
            ASSERT_EQ(String(error.what()).find('\n'), String::npos) << error.what();
        }
    }
    // Of about one in twenty the types still fit: enough to evaluate many odd trees.
    EXPECT_GT(good, rounds / 50);
    EXPECT_LT(good, rounds);
}

} // namespace Qcf::Documents::test
