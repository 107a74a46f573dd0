#include "Documents/Program.h"
#include "Watch/Profile.h"
#include "tests/support/ListContext.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/RandomRoute.h"

#include <map>

#include <gtest/gtest.h>

namespace Qcf::Watch {
namespace {

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

/// Evaluates control flow by itself, as the language defines it, and counts; only what compares or
/// changes is left to the engine.
class Walker {
public:
    explicit Walker(Ptr<EvalContextBase> context) : context_(std::move(context)) {}

    EvalResult function(Function const & function) {
        return counted(function, run(*function.body()).returned(), 1);
    }
    std::map<U64, NodeCounts> counts;

private:
    EvalResult counted(Expression const & node, EvalResult result, U64 entered) {
        NodeCounts & into = counts[node.aetNodeKey()];
        into.entered += entered;
        bool const exits = result.termination() == TerminationFlag::exitToPoa;
        into.exits += exits ? 1 : 0;
        into.isTrue += !exits && result.retVal() == QcfTrue() ? 1 : 0;
        into.isFalse += !exits && result.retVal() == QcfFalse() ? 1 : 0;
        into.isUnknown += !exits && result.retVal() == QcfUnknown() ? 1 : 0;
        return result;
    }

    EvalResult run(Expression const & node) { return counted(node, answer(node), 1); }

    EvalResult answer(Expression const & node) {
        if (auto const * const block = as<Block>(node)) {
            return ofBlock(*block);
        }
        if (auto const * const branch = as<IfExpression>(node)) {
            EvalResult const condition = run(*branch->condition());
            if (condition.terminates()) {
                return condition;
            }
            if (condition.isTrue()) {
                return run(*branch->thenBlock());
            }
            return branch->elseBlock() ? run(*branch->elseBlock()) : condition;
        }
        if (auto const * const negation = as<NotExpression>(node)) {
            EvalResult const result = run(*negation->expr());
            return result.terminates() ? result : EvalResult::fromBool(!result.isTrue());
        }
        if (auto const * const chain = as<LogicalOperatorExpression>(node)) {
            return ofChain(*chain);
        }
        if (auto const * const leave = as<ReturnExpression>(node)) {
            return left(run(*leave->expr()), TerminationFlag::returnToCaller);
        }
        if (auto const * const leave = as<ExitExpression>(node)) {
            return left(run(*leave->expr()), TerminationFlag::exitToPoa);
        }
        auto const * const call = as<FunctionCallExpression>(node);
        return call != nullptr ? ofCall(*call) : node.eval(context_);
    }

    static EvalResult left(EvalResult result, TerminationFlag flag) {
        return result.terminates() ? result : result.with(flag);
    }

    EvalResult ofBlock(Block const & block) {
        for (auto const * link = block.stmts().get(); link != nullptr; link = link->next().get()) {
            EvalResult const result = run(*link->entry());
            if (result.terminates()) {
                return result;
            }
        }
        return {};
    }

    EvalResult ofChain(LogicalOperatorExpression const & chain) {
        LogicalOperator const & op = *chain.operatorList()->entry();
        EvalResult result;
        for (auto const * link = chain.expressionList().get(); link != nullptr;
             link = link->next().get()) {
            result = run(*link->entry());
            if (result.terminates()) {
                return result;
            }
            if (op.shouldShortCircuit(result)) {
                break;
            }
        }
        return op.maybeCastUnknownToFalse(result);
    }

    EvalResult ofCall(FunctionCallExpression const & call) {
        StackFrameData_ frame;
        for (auto const * link = call.argListHead().get(); link != nullptr;
             link = link->next().get()) {
            link->pushFuncArgToStack(context_, &frame);
        }
        EvalContext & context = evalContext(context_);
        StackFrameData_ * const caller = context.stackFrameDataRawPtr();
        context.stackFrameDataIs(&frame);
        context.functionCallDepthInc(1);
        EvalResult const result = function(*call.calleePtr());
        context.functionCallDepthDec(1);
        context.stackFrameDataIs(caller);
        return result;
    }

    Ptr<EvalContextBase> context_;
};

constexpr U32 documents = 400;
constexpr U32 routes = 6;

Documents::Program randomProgram(U32 seed) {
    Qcf::test::RandomDocument::Options const options{
        .references = seed % 4 == 3, .calls = seed % 3 != 2, .depth = 1 + seed % 4};
    return Documents::readProgram(Qcf::test::RandomDocument(seed, options).functions(1 + seed % 3),
                                  "f.json");
}

/// Evaluates the function for random routes before the observer's eyes.
void evaluate(Function const & function, U32 seed, U32 from, U32 to,
              EvaluationObserver & observer) {
    auto const context = makePtr<ListContext>();
    context->evaluationObserverIs(&observer);
    for (U32 i = from; i < to; ++i) {
        RandomRoute((U64{seed} << 8) + i).fill(*context);
        context->reset();
        function.eval(context);
    }
}

String textOf(NodeCounts const & counts) {
    return std::to_string(counts.entered) + ": " + std::to_string(counts.isTrue) + ' ' +
           std::to_string(counts.isFalse) + ' ' + std::to_string(counts.isUnknown) + ' ' +
           std::to_string(counts.exits);
}

} // namespace

// What is counted is what the language says is evaluated: every node as often, with these results.
TEST(NodeCounts, AreThoseOfAnEvaluationOfItsOwn) {
    U64 counted = 0;
    for (U32 seed = 0; seed < documents; ++seed) {
        auto const program = randomProgram(seed);
        auto const & function = program.functions.back();
        NodeNumbers const numbers(std::span(&function, 1));
        NodeCounter counter(numbers);
        evaluate(*function, seed, 0, routes, counter);
        auto const context = makePtr<ListContext>();
        Walker walker{Ptr<EvalContextBase>(context)};
        for (U32 i = 0; i < routes; ++i) {
            RandomRoute((U64{seed} << 8) + i).fill(*context);
            context->reset();
            walker.function(*function);
        }
        for (NodeNumbers::Node const & each : numbers.nodes()) {
            NodeCounts const & counts = counter.counts()[numbers.of(*each.node)];
            NodeCounts const & wanted = walker.counts[each.node->aetNodeKey()];
            ASSERT_EQ(textOf(counts), textOf(wanted))
                << "seed " << seed << ", " << referenceText(*each.node);
            counted += counts.entered;
        }
    }
    EXPECT_GT(counted, U64{documents} * routes * 4);
}

// Every verdict is counted once, with the statement that it came from; counts of two halves add up
// to those of the whole, stacks included.
TEST(Profiles, DecideEachVerdictOnceAndAddUp) {
    U64 decidedInCallees = 0;
    for (U32 seed = 0; seed < documents; ++seed) {
        auto const program = randomProgram(seed);
        auto const & function = program.functions.back();
        NodeNumbers const numbers(std::span(&function, 1));
        NodeCounter counter(numbers);
        Profiler whole(numbers, {.stacks = true});
        Profiler first(numbers, {.stacks = true});
        Profiler second(numbers, {.stacks = true});
        evaluate(*function, seed, 0, routes, counter);
        evaluate(*function, seed, 0, routes, whole);
        evaluate(*function, seed, 0, routes / 2, first);
        evaluate(*function, seed, routes / 2, routes, second);
        Profile sum;
        sum.add(second.profile());
        sum.add(first.profile());
        Profile const & profile = whole.profile();
        ASSERT_EQ(profile.nodes, counter.counts()) << "seed " << seed;
        ASSERT_EQ(sum.nodes, profile.nodes) << "seed " << seed;
        ASSERT_EQ(sum.decided, profile.decided) << "seed " << seed;
        ASSERT_EQ(sum.atEnd, profile.atEnd) << "seed " << seed;
        ASSERT_EQ(profile.routes(), routes);
        VerdictCounts verdicts = profile.atEnd;
        for (std::size_t number = 0; number < numbers.size(); ++number) {
            for (std::size_t i = 0; i < verdicts.size(); ++i) {
                verdicts[i] += profile.decided[number][i];
            }
            bool const isCallee = numbers.nodes()[number].within != function.get();
            decidedInCallees += isCallee ? profile.decided[number][1] : 0;
        }
        ASSERT_EQ(verdicts, profile.verdicts) << "seed " << seed;
        std::map<std::vector<U32>, U64> stacks;
        std::vector<U64> entered(numbers.size());
        profile.stacks.each([&](std::span<U32 const> path, U64 count, U64) {
            stacks[{path.begin(), path.end()}] = count;
            entered[path.back()] += count;
        });
        sum.stacks.each([&](std::span<U32 const> path, U64 count, U64) {
            EXPECT_EQ((stacks[{path.begin(), path.end()}]), count) << "seed " << seed;
        });
        for (std::size_t number = 0; number < numbers.size(); ++number) {
            ASSERT_EQ(entered[number], profile.nodes[number].entered) << "seed " << seed;
        }
    }
    EXPECT_GT(decidedInCallees, 0U);
}

// Keys of documents may lie anywhere.
TEST(NodeNumbers, AreDenseWhateverTheKeysAre) {
    for (char const * const key : {"7", "70000", "18446744073709551000"}) {
        String const text =
            String(R"({"qcf": "aet/1", "functions": [{"name": "g", "body": {"class": "Block",
              "stmts": [{"class": "ReturnExpression", "key": )") +
            key + R"(, "expr": true}]}}, {"name": "f", "body": {"class": "Block", "stmts": [
              {"class": "ReturnExpression", "expr":
               {"class": "FunctionCallExpression", "calleeName": "g"}}]}}]})";
        auto const program = Documents::readProgram(text, "f.json");
        auto const & function = program.functions.back();
        NodeNumbers const numbers(std::span(&function, 1));
        ASSERT_EQ(numbers.functions().size(), 2U) << key;
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            EXPECT_EQ(numbers.of(*numbers.nodes()[i].node), i) << key;
        }
    }
}

} // namespace Qcf::Watch
