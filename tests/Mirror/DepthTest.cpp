#include "Mirror/LocalChannel.h"
#include "Mirror/Redis/RedisFollower.h"
#include "Mirror/Redis/RedisWriter.h"
#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "QcfLib/NodeWalk.h"
#include "tests/Mirror/CreatorStores.h"
#include "tests/Mirror/MirrorTools.h"
#include "tests/Mirror/Redis/RedisServer.h"

#include <set>

#include <gtest/gtest.h>

/// Trees that are too deep to be walked come neither in nor out, and end nobody.
namespace Qcf::Mirror {
namespace {

using test::deepExpression;
using test::difference;
using test::Lines;

/// The levels of `not` above a constant, whose two nodes are levels, too, that just pass.
constexpr U32 most = 2046;

String refusal(std::function<void()> const & work) {
    try {
        work();
    } catch (MirrorError const & error) {
        return error.what();
    }
    return "";
}

StagedBatch staged(Batch const & batch) {
    StagedBatch result("changes", batch.pieces.front());
    for (std::size_t i = 1; i + 1 < batch.pieces.size(); ++i) {
        result.add(batch.pieces[i]);
    }
    result.finish(batch.pieces.back());
    return result;
}

/// A batch of one chain of that depth, as a writer without the limit would make it.
Batch batchOf(U32 levels, BatchStart const & start, U64 firstKey = 0) {
    BatchWriter writer(start);
    std::vector<Eval::AetNodeBase const *> nodes;
    auto const top = deepExpression(levels, firstKey);
    for (Eval::AetNodeBase const * node = top.get(); node != nullptr;) {
        nodes.push_back(node);
        Eval::AetNodeBase const * below = nullptr;
        node->typeData().visitChildren(
            *node,
            [&](Eval::FieldInfo const &, Eval::AetNodeBase const * child) { below = child; });
        node = below;
    }
    std::for_each(nodes.rbegin(), nodes.rend(), [&](auto const * node) { writer.node(*node); });
    return writer.finish({}, test::digestOf({}), 0, nodes.size());
}

TEST(Depth, aBatchThatIsTooDeepChangesNothing) {
    Replica replica("test");
    replica.apply(staged(batchOf(most, {1, "one", ""})));
    ASSERT_EQ(replica.status()->nodes().size(), most + 2);
    for (char const * base : {"one", ""}) {
        auto const batch = staged(batchOf(most + 1, {2, "two", base}, 100'000));
        String const why = refusal([&] { replica.apply(batch); });
        // Keys fall towards the top, which stands in the last line of a node.
        EXPECT_TRUE(why.starts_with("changes:" + std::to_string(most + 4) +
                                    ":/class: NotExpression wants tree of at most 2048 levels"))
            << why;
        EXPECT_EQ(replica.status()->nodes().size(), most + 2);
        EXPECT_EQ(replica.version().id, "one");
    }
    replica.apply(staged(batchOf(3, {2, "two", ""})));
    EXPECT_EQ(replica.status()->nodes().size(), 5U);
}

/// A tree of that many levels, each of which has the one below twice.
PtrConst<Eval::Expression> doubled(U32 levels) {
    PtrConst<Eval::Expression> node = deepExpression(1);
    for (U64 key = 100; levels-- > 0; key += 3) {
        auto const second = Eval::expressionListFactory(key, node, nullptr);
        auto const both = Eval::expressionListFactory(key + 1, node, second);
        node = Eval::blockFactory(key + 2, both);
    }
    return node;
}

// A few lines of nodes that share each other unfold to more than can ever be evaluated.
TEST(Depth, aTreeThatUnfoldsToTooMuchIsRefused) {
    for (U32 const levels : {20U, 40U}) {
        BatchWriter writer({1, "one", ""});
        std::set<U64> written;
        U64 count = 0;
        walkTree(
            *doubled(levels),
            [&](Eval::WalkedNode const & at) {
                return written.insert(at.node.aetNodeKey()).second;
            },
            [&](Eval::AetNodeBase const & node) {
                writer.node(node);
                ++count;
            });
        auto const batch = staged(writer.finish({}, test::digestOf({}), 0, count));
        Replica replica("test");
        String const why = refusal([&] { replica.apply(batch); });
        EXPECT_EQ(why.find("nodes with shared ones counted at each place") != String::npos,
                  levels == 40)
            << why;
        EXPECT_EQ(replica.version().number, levels == 40 ? 0U : 1U) << why;
    }
}

/// Ways in which a status may hold such a tree.
struct DeepStatus {
    char const * what;
    std::function<void(AllFunctionStatus &, PtrConst<Eval::Expression> const &)> fill;
};

PtrConst<Eval::Function> functionOver(PtrConst<Eval::Expression> const & expression) {
    return Eval::functionFactory(
        1, "deep", FunctionMetadata{}, Routing::Policy::RouteMapFeatures{},
        Eval::AccessibleAttributes{}, false,
        Eval::blockFactory(1, Eval::expressionListFactory(1, expression, nullptr)));
}

std::vector<DeepStatus> const deepStatuses{
    {"a node of the store",
     [](AllFunctionStatus & status, PtrConst<Eval::Expression> const & expression) {
         status.aetNodesIs()->notExpressionCollIs(1'000'000, expression);
     }},
    {"a function that the store does not hold",
     [](AllFunctionStatus & status, PtrConst<Eval::Expression> const & expression) {
         status.aetIs("deep", functionOver(expression));
     }},
};

void undo(AllFunctionStatus & status) {
    status.aetDel("deep");
    status.aetNodesIs()->notExpressionCollDel(1'000'000);
}

TEST(Depth, whatAPublisherHoldsBeyondItIsRefusedAndToldOnce) {
    auto const expression = deepExpression(500'000);
    for (DeepStatus const & deep : deepStatuses) {
        auto const status = allFunctionStatusFactory("test");
        Lines lines;
        LocalChannel channel(status, lines.sink());
        FollowedStore mirror("test");
        channel.attach(mirror);
        status->aetIs("good", test::storedFunction(*status->aetNodesIs(), 1, "good"));
        auto const good = mirror.version();

        status->startOfDedupedFunctionUpdatesMarkerIs(1);
        deep.fill(*status, expression);
        EXPECT_NO_THROW(status->endOfDedupedFunctionUpdatesMarkerIs(1)) << deep.what;
        status->aetNodesIs()->medCollIs(7);
        EXPECT_EQ(mirror.version(), good) << deep.what;
        EXPECT_EQ(mirror.view().current()->functions().size(), 1U) << deep.what;
        EXPECT_TRUE(lines.tell("wants a tree of at most 2048 levels")) << deep.what << lines.all();
        EXPECT_EQ(lines.lines.size(), 1U) << lines.all();
        FollowedStore late("late");
        EXPECT_EQ(refusal([&] { channel.attach(late); }), lines.lines.at(0)) << deep.what;

        status->startOfDedupedFunctionUpdatesMarkerIs(2);
        undo(*status);
        status->endOfDedupedFunctionUpdatesMarkerIs(2);
        EXPECT_EQ(difference(*status, mirror.status()), "") << deep.what;
        EXPECT_EQ(channel.trouble(), "");
        channel.attach(late);
        EXPECT_EQ(difference(*status, late.status()), "") << deep.what;
    }
}

TEST(Depth, isNotPublishedToRedis) {
    QCF_NEEDS_REDIS();
    test::RedisServer const server;
    Lines lines;
    RedisWriter writer(server.options(), "edge", lines.sink());
    auto const status = allFunctionStatusFactory("test");
    status->aetIs("good", test::storedFunction(*status->aetNodesIs(), 1, "good"));
    auto const good = writer.publish(*status).version;
    auto const expression = deepExpression(500'000);
    for (DeepStatus const & deep : deepStatuses) {
        deep.fill(*status, expression);
        EXPECT_NE(refusal([&] { writer.publish(*status); }), "") << deep.what;
        undo(*status);
        EXPECT_FALSE(writer.publish(*status).changed) << deep.what;
    }
    Documents::Program program;
    program.functions.push_back(functionOver(expression));
    EXPECT_NE(refusal([&] { writer.publish(program); }), "");
    status->startOfDedupedFunctionUpdatesMarkerIs(9);
    EXPECT_NE(refusal([&] { writer.publish(*status); }), "") << "a batch is under way";

    FollowedStore mirror("edge");
    RedisFollower follower(server.options(), mirror, lines.sink());
    follower.poll(std::chrono::milliseconds(100));
    EXPECT_EQ(mirror.version(), good) << lines.all();
}

} // namespace
} // namespace Qcf::Mirror
