#include "Documents/Program.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/Plan.h"
#include "Text/NodeText.h"
#include "Watch/Deciding.h"
#include "Watch/Explanation.h"
#include "Watch/ExplanationRows.h"
#include "tests/support/Cases.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/RandomRoute.h"

#include <gtest/gtest.h>

/// What watching shows must be what happened, whatever the functions are.
namespace Qcf::Watch {
namespace {

using namespace Eval;
using namespace Eval::test;
using Documents::Program;
using Qcf::test::RandomDocument;

/// Documents to go through; QCF_WATCH_DOCUMENTS asks for another number.
U32 documents() { return static_cast<U32>(casesWanted(2'000, "QCF_WATCH_DOCUMENTS")); }

/// Places of a program that has none but its nodes' keys.
class KeyPlaces final : public NodePlaces {
public:
    NodePlace of(AetNodeBase const & node, Function const & /*within*/) const override {
        return {"random.json", "/" + std::to_string(node.aetNodeKey())};
    }
    String line(AetNodeBase const & node, Function const & within) const override {
        return is<Function>(node) ? within.funcName() : Text::printNode(node, &within);
    }
    String reason(AetNodeBase const & node) const override {
        return node.aetNodeKey() % 3 == 0 ? "r" + std::to_string(node.aetNodeKey()) : String();
    }
};

/// Hands what it is told to both observers.
class Both final : public EvaluationObserver {
public:
    void entered(Expression const & node, EvalContext & context) override {
        tree.entered(node, context);
        deciding.entered(node, context);
    }
    void left(Expression const & node, EvalResult result, EvalContext & context) override {
        tree.left(node, result, context);
        deciding.left(node, result, context);
    }
    void thrown(Expression const & node, EvalContext & context) override {
        tree.thrown(node, context);
        deciding.thrown(node, context);
    }

    TraceTree tree;
    Deciding deciding;
};

/// The calls that write back, in order.
std::vector<String> writeBacks(ListContext & context) {
    std::vector<String> kept;
    for (String & call : context.calls) {
        if (call.ends_with("Is") || call.find("Is ") != String::npos) {
            kept.push_back(std::move(call));
        }
    }
    context.calls.clear();
    return kept;
}

struct Counts {
    U64 unknown = 0;
    U64 absorbed = 0;
    U64 changes = 0;
    U64 idle = 0;
    U64 clamped = 0;
    U64 nodes = 0;
};

void expectReasons(TraceNode const & at, Counts & counts) {
    ++counts.nodes;
    bool const isUnknown = !at.thrown && at.result.retVal() == QcfUnknown();
    counts.unknown += isUnknown ? 1 : 0;
    counts.absorbed += at.absorbed.empty() ? 0 : 1;
    counts.changes += at.change ? 1 : 0;
    counts.idle += at.change && at.change->hadNoEffect() ? 1 : 0;
    counts.clamped += at.change && at.change->clamped ? 1 : 0;
    ASSERT_EQ(!at.unknownBecause.empty(), isUnknown) << at.node->typeData().name;
    for (TraceNode const * const child : at.children) {
        ASSERT_EQ(child->parent, &at);
        expectReasons(*child, counts);
    }
}

/// What the two observers say of the deciding statement.
void expectSameDecision(Both const & both, KeyPlaces const & places) {
    Expression const * statement = nullptr;
    String reason;
    for (TraceNode const * const step : decidingPath(*both.tree.root())) {
        if (is<ReturnExpression>(*step->node) || is<ExitExpression>(*step->node)) {
            statement = step->node;
            String const own = places.reason(*step->node);
            reason = own.empty() ? reason : own;
        }
    }
    ASSERT_EQ(both.deciding.statement().node, statement);
    ASSERT_EQ(both.deciding.reason(places), reason);
}

struct Outcome {
    EvalResult result;
    std::vector<String> writeBacks;
    bool operator==(Outcome const &) const = default;
};

Outcome evaluated(Function const & function, ListContext & context, U64 routeSeed) {
    RandomRoute route(routeSeed);
    context.reset();
    route.fill(context);
    EvalResult const result = function.eval(Ptr<EvalContextBase>(&context));
    return {result, writeBacks(context)};
}

TEST(RandomEvaluation, IsShownAsItHappened) {
    Counts counts;
    auto const plain = makePtr<ListContext>();
    auto const watched = makePtr<ListContext>();
    Both both;
    watched->evaluationObserverIs(&both);
    for (U32 seed = 0; seed < documents(); ++seed) {
        RandomDocument document(seed, {.references = seed % 2 == 1});
        Program const program = Documents::readProgram(document.functions(3), "random.json");
        KeyPlaces const places;
        Function const & main = *program.functions.back();
        if (!program.faultOf(main).eval.empty()) {
            continue;
        }
        for (U32 i = 0; i < 4; ++i) {
            U64 const routeSeed = U64{seed} * 4 + i;
            Outcome const expected = evaluated(main, *plain, routeSeed);
            Outcome const seen = evaluated(main, *watched, routeSeed);
            ASSERT_EQ(seen.result, expected.result) << "document " << seed << " route " << i;
            ASSERT_EQ(seen.writeBacks, expected.writeBacks) << "document " << seed;
            ASSERT_NE(both.tree.root(), nullptr);
            ASSERT_EQ(both.tree.root()->result, expected.result);
            ASSERT_NO_FATAL_FAILURE(expectReasons(*both.tree.root(), counts));
            ASSERT_NO_FATAL_FAILURE(expectSameDecision(both, places));
            // Printing takes long; it goes through all nodes.
            bool const isEmpty = both.tree.root()->children.front()->children.empty();
            if (seed % 20 == 0 && i == 0 && !isEmpty) {
                ASSERT_FALSE(rowsOf(*both.tree.root(), places, {.all = true}).empty());
            }
        }
    }
    // Otherwise the documents would show nothing.
    EXPECT_GT(counts.unknown, documents());
    EXPECT_GT(counts.absorbed, documents() / 10);
    EXPECT_GT(counts.idle, documents() / 10);
    EXPECT_GT(counts.clamped, documents() / 10);
    RecordProperty("nodes", std::to_string(counts.nodes));
    RecordProperty("unknown", std::to_string(counts.unknown));
    watched->evaluationObserverIs(nullptr);
}

} // namespace
} // namespace Qcf::Watch
