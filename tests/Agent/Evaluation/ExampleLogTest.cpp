#include "Agent/Evaluation/AgentContext.h"
#include "Agent/Tables/RouteFile.h"
#include "Documents/Program.h"
#include "Lists/ListBinding.h"
#include "Lists/ListsDocument.h"
#include "QcfLib/QcfEval.h"

#include <map>

#include <gtest/gtest.h>

/// The log of the example policies tells of everything that was evaluated: held against an
/// evaluator of its own that notes each statement, operand and logical operator as it goes.
using namespace Qcf::Agent;
using namespace Qcf::Eval;

namespace {

/// The records of one frame by key, with those of the frames that it called.
struct Noted {
    std::map<U64, Noted> records;

    bool operator==(Noted const &) const = default;
};

class NotingEvaluator {
public:
    NotingEvaluator(Ptr<EvalContextBase> const & context, Noted & frame)
        : context_(context), frame_(frame) {}

    EvalResult function(Function const & f) {
        EvalResult result = noted(*f.body());
        frame_.records[f.aetNodeKey()];
        if (result.termination() == TerminationFlag::returnToCaller) {
            result = result.with(TerminationFlag::noTermination);
        }
        return result;
    }

private:
    template <typename Node>
    static Node const * as(AetNodeBase const & node) {
        return dynamic_cast<Node const *>(&node);
    }

    EvalResult noted(Expression const & node) {
        EvalResult const result = evaluate(node);
        frame_.records[node.aetNodeKey()];
        return result;
    }

    EvalResult evaluate(Expression const & node) {
        if (auto const * n = as<Block>(node)) {
            return block(*n);
        }
        if (auto const * n = as<IfExpression>(node)) {
            return branch(*n);
        }
        if (auto const * n = as<NotExpression>(node)) {
            EvalResult const result = noted(*n->expr());
            return result.terminates() ? result : EvalResult::fromBool(!result.isTrue());
        }
        if (auto const * n = as<ReturnExpression>(node)) {
            EvalResult const result = noted(*n->expr());
            return result.terminates() ? result : result.with(TerminationFlag::returnToCaller);
        }
        if (auto const * n = as<ExitExpression>(node)) {
            EvalResult const result = noted(*n->expr());
            return result.terminates() ? result : result.with(TerminationFlag::exitToPoa);
        }
        if (auto const * n = as<LogicalOperatorExpression>(node)) {
            return logical(*n);
        }
        auto const * n = as<FunctionCallExpression>(node);
        return n != nullptr ? call(*n) : node.eval(context_);
    }

    EvalResult block(Block const & node) {
        for (auto const * link = node.stmts().get(); link != nullptr; link = link->next().get()) {
            EvalResult const result = noted(*link->entry());
            if (result.terminates()) {
                return result;
            }
        }
        return {};
    }

    EvalResult branch(IfExpression const & node) {
        EvalResult const condition = noted(*node.condition());
        if (condition.terminates()) {
            return condition;
        }
        frame_.records[node.aetNodeKey()];
        if (condition.isTrue()) {
            return noted(*node.thenBlock());
        }
        return node.elseBlock() ? noted(*node.elseBlock()) : condition;
    }

    /// The operator between two operands is told of once the second one was looked at.
    EvalResult logical(LogicalOperatorExpression const & node) {
        LogicalOperator const & kind = *node.operatorList()->entry();
        auto const * op = node.operatorList().get();
        EvalResult result;
        std::size_t position = 0;
        for (auto const * link = node.expressionList().get(); link != nullptr;
             link = link->next().get()) {
            if (++position >= 3) {
                frame_.records[op->entry()->aetNodeKey()];
                op = op->next().get();
            }
            result = noted(*link->entry());
            if (result.terminates() || kind.shouldShortCircuit(result)) {
                break;
            }
        }
        if (!result.terminates() || position >= 2) {
            frame_.records[op->entry()->aetNodeKey()];
        }
        return result.terminates() ? result : kind.maybeCastUnknownToFalse(result);
    }

    EvalResult call(FunctionCallExpression const & node) {
        auto & c = evalContext(context_);
        StackFrameData_ frame;
        for (auto const * link = node.argListHead().get(); link != nullptr;
             link = link->next().get()) {
            link->pushFuncArgToStack(context_, &frame);
        }
        auto * const caller = c.stackFrameDataRawPtr();
        c.stackFrameDataIs(&frame);
        c.functionCallDepthInc(1);
        NotingEvaluator callee(context_, frame_.records[node.aetNodeKey()]);
        EvalResult const result = callee.function(*node.calleePtr());
        c.functionCallDepthDec(1);
        c.stackFrameDataIs(caller);
        return result;
    }

    Ptr<EvalContextBase> const & context_;
    Noted & frame_;
};

Noted logged(Routing::Policy::EvaluationLogBase const * head) {
    Noted frame;
    auto const * record = static_cast<Qcf::Debug::EvaluationLog const *>(head);
    for (; record != nullptr; record = record->nextLog().get()) {
        frame.records[record->aetNodeKey()] = logged(record->functionCallLog().get());
    }
    return frame;
}

struct Example {
    char const * name;
    char const * function;
};

class ExampleLogs : public testing::TestWithParam<Example> {};

TEST_P(ExampleLogs, TellOfEveryStatementAndOperator) {
    String const path = String(QCF_SOURCE_DIR) + "/examples/" + GetParam().name;
    auto const program = Qcf::Documents::readProgramFile(path + ".json");
    auto const lists = Qcf::Lists::readListsFile(path + ".lists.json");
    auto const function = program.find(GetParam().function);
    ASSERT_TRUE(function);
    auto const context = makePtr<AgentContext>(Qcf::Lists::bindLists(program.slots, lists.get()));
    Ptr<EvalContextBase> const base = context;
    auto const routes = openRoutes(path + ".routes.jsonl", [](String const &) {});
    Route route;
    std::size_t count = 0;
    for (; routes->next(route); ++count) {
        context->routeIs(route);
        Noted expected;
        EvalResult const result = NotingEvaluator(base, expected).function(*function);
        context->routeIs(route);
        context->shouldLogEvalIs(true);
        EXPECT_EQ(function->eval(base), result);
        EXPECT_EQ(logged(context->evaluationLog().get()), expected) << "route " << count;
        EXPECT_GT(expected.records.size(), 2U);
    }
    EXPECT_GT(count, 3U);
}

INSTANTIATE_TEST_SUITE_P(Policies, ExampleLogs,
                         testing::Values(Example{"transit-import", "transit_import"},
                                         Example{"route-server-export", "export_to_64501"},
                                         Example{"route-server-export", "export_to_64502"},
                                         Example{"fabric", "fabric_import"},
                                         Example{"fabric", "fabric_export"}),
                         [](auto const & each) { return String(each.param.function); });

} // namespace
