#include "Mirror/ProgramPublication.h"

#include "Mirror/LocalChannel.h"
#include "QcfLib/QcfAllAetEntities.h"
#include "tests/Mirror/MirrorTools.h"

#include <gtest/gtest.h>

namespace Qcf::Mirror {
namespace {

using test::alike;
using test::flatDocument;
using test::policy;
using test::TestFunction;

/// A publisher's status with a mirror beside it.
class Published {
public:
    PublishCounts publish(std::vector<TestFunction> const & functions) {
        return publish(policy(functions));
    }
    PublishCounts publish(Documents::Program const & program) {
        auto const counts = publishProgram(program, *status, digests, ++marker);
        EXPECT_EQ(flatDocument(mirror.status()), flatDocument(*status));
        EXPECT_FALSE(status->dedupedFunctionUpdatesInProgress());
        return counts;
    }
    Eval::Function const & function(String const & name) const {
        return static_cast<Eval::Function const &>(*status->aet(name));
    }

    Ptr<AllFunctionStatus> status = allFunctionStatusFactory("test");
    FunctionDigests digests;
    FollowedStore mirror{"test"};
    LocalChannel channel{status};
    U32 marker = 0;

    Published() { channel.attach(mirror); }
    ~Published() { channel.detach(mirror); }
};

TEST(Publisher, theFirstPublicationKeepsTheDocumentsKeys) {
    Published published;
    auto const program = policy({{"a", 1}, {"b", 2, "a"}});
    auto const counts = published.publish(program);
    EXPECT_EQ(counts.functionsSet, 2U);
    EXPECT_EQ(counts.nodesAdded, program.nodes.size());
    EXPECT_EQ(published.status->nodes().size(), program.nodes.size());
    for (auto const & node : program.nodes) {
        EXPECT_EQ(published.status->nodes().node(static_cast<U16>(node->typeData().number()),
                                                 node->aetNodeKey()),
                  node);
    }
    EXPECT_TRUE(published.status->dedupedFunctionsPresent());
}

TEST(Publisher, theSameContentChangesNothing) {
    Published published;
    published.publish({{"a", 1}, {"b", 2, "a"}});
    String const before = flatDocument(*published.status);
    U32 const marker = published.status->endOfDedupedFunctionUpdatesMarker();
    auto const counts = published.publish({{"a", 1}, {"b", 2, "a"}});
    EXPECT_FALSE(counts.changed());
    EXPECT_EQ(counts.nodesAdded + counts.nodesRemoved, 0U);
    EXPECT_EQ(flatDocument(*published.status), before);
    EXPECT_EQ(published.status->endOfDedupedFunctionUpdatesMarker(), marker);
    EXPECT_EQ(published.mirror.version().number, 2U);
}

TEST(Publisher, aChangedFunctionMovesOnlyItsNodes) {
    Published published;
    auto functions = alike(50, 7);
    published.publish(functions);
    U64 const before = published.status->nodes().size();
    auto const * const kept = &published.function("f10");
    functions[20].value = 8;
    auto const counts = published.publish(functions);
    EXPECT_EQ(counts.functionsSet, 1U);
    EXPECT_EQ(&published.function("f10"), kept);
    // Function, block, three statements and links, the returned truth; the new immediate.
    EXPECT_EQ(counts.nodesAdded, 10U);
    EXPECT_EQ(counts.nodesRemoved, 9U) << "the old immediate is still used by others";
    EXPECT_EQ(published.status->nodes().size(), before + 1);
}

TEST(Publisher, callersMoveWithTheirCallee) {
    Published published;
    published.publish({{"a", 1}, {"b", 2, "a"}, {"c", 3}});
    auto const * const c = &published.function("c");
    auto const counts = published.publish({{"a", 9}, {"b", 2, "a"}, {"c", 3}});
    EXPECT_EQ(counts.functionsSet, 2U);
    EXPECT_EQ(&published.function("c"), c);

    auto const context = makePtr<test::TestContext>();
    EXPECT_TRUE(published.mirror.view().current()->find("b")->eval(context).isTrue());
}

TEST(Publisher, functionsThatAreGoneTakeTheirNodesAlong) {
    Published published;
    published.publish({{"a", 1}, {"b", 2}, {"c", 3}});
    auto const counts = published.publish({{"b", 2}});
    EXPECT_EQ(counts.functionsRemoved, 2U);
    EXPECT_EQ(counts.functionsSet, 0U);
    U64 const alone = policy({{"b", 2}}).nodes.size();
    EXPECT_EQ(published.status->nodes().size(), alone);
    EXPECT_EQ(published.mirror.view().current()->functions().size(), 1U);
    published.publish(std::vector<TestFunction>{});
    EXPECT_EQ(published.status->nodes().size(), 0U);
}

TEST(Publisher, newKeysRiseAsTheDocumentsDo) {
    Published published;
    published.publish({{"a", 1}, {"b", 2}});
    // Everything behind "a" moves up in the document; "b" keeps its keys, so that some of the new
    // document's are taken.
    auto const program = policy({{"a", 1}, {"new", 5}, {"b", 2}});
    published.publish(program);
    auto const logged = [](Eval::Function const & function) {
        auto const context = makePtr<test::TestContext>();
        context->reset();
        context->shouldLogEvalIs(true);
        function.eval(context);
        std::vector<U64> keys;
        for (auto const * log = context->evaluationLog().get(); log != nullptr;
             log = log->nextLog().get()) {
            keys.push_back(log->aetNodeKey());
        }
        return keys;
    };
    auto const inDocument = logged(*program.find("new"));
    auto const inStore = logged(published.function("new"));
    EXPECT_EQ(inStore.size(), inDocument.size()) << "no record may be dropped for its key";
    EXPECT_NE(inStore, inDocument);
    EXPECT_EQ(logged(*published.mirror.view().current()->find("new")), inStore);
}

TEST(Publisher, keysAtTheEndOfTheirRangeGoOnInAGap) {
    Published published;
    published.publish(Documents::readProgram(
        R"({"qcf": "aet/1", "functions": [
            {"name": "f", "key": 18446744073709551615, "body": {"class": "Block", "stmts": [
                {"class": "IntAssign", "lhs": "med", "rhs": 1},
                {"class": "ReturnExpression", "expr": true}]}}]})",
        "document"));
    auto const both = Documents::readProgram(
        R"({"qcf": "aet/1", "functions": [
            {"name": "g", "body": {"class": "Block", "stmts": [
                {"class": "ReturnExpression", "expr": false}]}},
            {"name": "f", "key": 18446744073709551615, "body": {"class": "Block", "stmts": [
                {"class": "IntAssign", "lhs": "med", "rhs": 1},
                {"class": "ReturnExpression", "expr": true}]}}]})",
        "document");
    auto const counts = published.publish(both);
    EXPECT_EQ(counts.functionsSet, 1U);
    EXPECT_EQ(published.function("f").aetNodeKey(), ~U64{0});
}

TEST(Publisher, literalSetsKeepTheirValueInMirrors) {
    Published published;
    auto const text = [](int first) {
        return R"({"qcf": "aet/1", "functions": [{"name": "f", "body": {"class": "Block", "stmts": [
            {"class": "IntSetAssignImmediate", "lhs": "community", "rhs": [)" +
               std::to_string(first) + R"(, 7, 9]},
            {"class": "ReturnExpression", "expr": true}]}}]})";
    };
    auto const setOf = [](AetCollections const & store) {
        auto const number = static_cast<U16>(Eval::findNodeClass("IntSetImmediate")->number());
        auto const keys = store.keys(number);
        EXPECT_EQ(keys.size(), 1U);
        return ptrCast<Eval::IntSetImmediate>(store.node(number, keys.at(0)));
    };
    published.publish(Documents::readProgram(text(3), "document"));
    ASSERT_NE(setOf(published.mirror.status().nodes())->cachedGetVal(), nullptr);
    EXPECT_EQ(setOf(published.mirror.status().nodes())->cachedGetVal()->count(), 3U);
    published.publish(Documents::readProgram(text(4), "document"));
    EXPECT_TRUE(setOf(published.mirror.status().nodes())->cachedGetVal()->contains(4));
}

} // namespace
} // namespace Qcf::Mirror
