#include "Mirror/ChangeSource.h"
#include "Mirror/LocalChannel.h"
#include "Mirror/NodeCopy.h"
#include "Mirror/ProgramPublication.h"
#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "QcfLib/QcfAllAetEntities.h"
#include "QcfLib/QcfEval.h"
#include "tests/Mirror/MirrorTools.h"
#include "tests/support/NodeMaker.h"

#include <random>

#include <gtest/gtest.h>

namespace Qcf::Mirror {
namespace {

using test::flatDocument;

/// A batch as it comes in from a transport.
StagedBatch staged(std::vector<String> pieces) {
    StagedBatch batch("test", pieces.front());
    for (std::size_t i = 1; i + 1 < pieces.size(); ++i) {
        batch.add(pieces[i]);
    }
    batch.finish(pieces.back());
    return batch;
}

/// A published policy, and the batches from nothing and to its next version.
struct Source {
    Source() {
        publishProgram(test::policy({{"a", 1}, {"b", 2, "a"}}), *status, digests, 1);
        first = source.takeBatch({1, "one", ""}, test::digestOf(status->aet()));
        firstFlat = flatDocument(*status);
        publishProgram(test::policy({{"a", 1}, {"b", 3, "a"}}), *status, digests, 2);
        second = source.takeBatch({2, "two", "one"}, test::digestOf(status->aet()));
    }
    Ptr<AllFunctionStatus> status = allFunctionStatusFactory("test");
    FunctionDigests digests;
    ChangeSource source{status};
    Batch first;
    Batch second;
    String firstFlat;
};

TEST(Replica, followsBatchByBatchAndFromASnapshot) {
    Source source;
    Replica replica("test");
    replica.apply(staged(source.first.pieces));
    EXPECT_EQ(flatDocument(*replica.status()), source.firstFlat);
    replica.apply(staged(source.second.pieces));
    EXPECT_EQ(flatDocument(*replica.status()), flatDocument(*source.status));
    EXPECT_EQ(replica.version(), source.second.version());
    EXPECT_EQ(replica.digest(), source.second.digest);
    EXPECT_EQ(replica.status()->endOfDedupedFunctionUpdatesMarker(), 2U);
    EXPECT_FALSE(replica.status()->dedupedFunctionUpdatesInProgress());

    Replica other("test");
    auto const snapshot = source.source.snapshot({2, "two", ""}, source.second.digest);
    other.apply(staged(snapshot.pieces));
    EXPECT_EQ(flatDocument(*other.status()), flatDocument(*source.status));
    EXPECT_EQ(other.version(), replica.version());
    replica.apply(staged(snapshot.pieces));
    EXPECT_EQ(flatDocument(*replica.status()), flatDocument(*source.status));
}

TEST(Replica, smallPiecesSayTheSame) {
    Source source;
    BatchWriter writer({1, "one", ""}, 1);
    writer.node(*Eval::test::NodeMaker::node(*Eval::findNodeClass("IntImmediate"), 5));
    auto const batch = writer.finish({}, test::digestOf({}), 0, 1);
    EXPECT_EQ(batch.pieces.size(), 4U); // start, node, status, end
    Replica replica("test");
    replica.apply(staged(batch.pieces));
    EXPECT_EQ(replica.status()->nodes().size(), 1U);
}

TEST(Replica, aBatchThatDoesNotFitChangesNothing) {
    Source source;
    Replica replica("test");
    EXPECT_THROW(replica.apply(staged(source.second.pieces)), MirrorError) << "no base";
    replica.apply(staged(source.first.pieces));
    auto const before = replica.version();

    // Well-formed batches, as a writer with a fault could make them.
    using Fault = std::function<void(BatchWriter &)>;
    auto const node = [](char const * name, U64 key) {
        return Eval::test::NodeMaker::node(*Eval::findNodeClass(name), key);
    };
    auto const place = [](char const * name, U64 key) {
        return CollKey{static_cast<U16>(Eval::findNodeClass(name)->number()), key};
    };
    std::vector<Fault> const faults{
        [](BatchWriter & writer) { writer.function("a", {.number = 424242}); },
        [](BatchWriter & writer) { writer.function("a", {.number = 1}); },
        [](BatchWriter & writer) { writer.function("a", {.loose = true, .number = 0}); },
        [](BatchWriter & writer) { writer.functionDel("a"); },
        [&](BatchWriter & writer) {
            writer.remove({place("Med", 1), place("IntImmediate", 2)});
        },
        [&](BatchWriter & writer) { writer.node(*node("IntImmediate", 1)); },
        [&](BatchWriter & writer) {
            writer.node(*node("IntImmediate", 900));
            writer.node(*node("IntImmediate", 900));
        },
        [&](BatchWriter & writer) {
            std::vector<CollKey> places;
            source.status->nodes().forEachNode([&](Ptr<Eval::AetNodeBase> const & each) {
                places.push_back(place(each->typeData().name, each->aetNodeKey()));
            });
            writer.remove(places);
            writer.node(*node("IntIs", 900));
        },
        [&](BatchWriter & writer) { writer.looseNode(1, *node("IntImmediate", 900), WireStyle()); },
        [&](BatchWriter & writer) {
            writer.node(*node("IntIs", 901), WireStyle([](Eval::AetNodeBase const &) {
                return NodeReference{.number = 1, .className = "IntIs"};
            }));
        },
    };
    for (std::size_t i = 0; i < faults.size(); ++i) {
        BatchWriter writer({2, "other", "one"});
        faults[i](writer);
        auto const batch = writer.finish(StatusFields::of(*source.status), source.first.digest, 2,
                                         source.first.nodes);
        EXPECT_THROW(replica.apply(staged(batch.pieces)), MirrorError) << i;
        EXPECT_EQ(flatDocument(*replica.status()), source.firstFlat) << i;
    }
    EXPECT_EQ(replica.version(), before);
    replica.apply(staged(source.second.pieces));
    EXPECT_EQ(replica.version().number, 2U);
}

TEST(StagedBatch, otherFormatsAreRefusedByTheirStart) {
    struct Case {
        char const * line;
        char const * why;
    };
    for (Case const & each : std::vector<Case>{
             {R"({"start":{"version":1,"id":"a","base":""}})", "found one of format 1"},
             {R"({"start":{"format":6,"version":1,"id":"a","news":[]}})", "found one of format 6"},
             {R"({"start":{"format":"2","version":1,"id":"a","base":""}})", "/start/format"},
         }) {
        try {
            StagedBatch const batch("changes", String(each.line) + "\n");
            FAIL() << each.line;
        } catch (MirrorError const & error) {
            EXPECT_NE(String(error.what()).find(each.why), String::npos) << error.what();
        }
    }
}

TEST(StagedBatch, anyDamageIsNoticed) {
    Source source;
    Replica replica("test");
    replica.apply(staged(source.first.pieces));
    std::mt19937 random(5);
    for (int round = 0; round < 2000; ++round) {
        auto pieces = source.second.pieces;
        auto & piece = pieces[random() % pieces.size()];
        std::size_t const at = random() % piece.size();
        switch (random() % 4) {
        case 0:
            piece[at] = static_cast<char>(piece[at] ^ (1 << random() % 8));
            break;
        case 1:
            piece.erase(at, 1 + random() % 20);
            break;
        case 2:
            piece.insert(at, piece.substr(random() % piece.size(), 1 + random() % 20));
            break;
        default:
            std::swap(pieces[random() % pieces.size()], pieces[random() % pieces.size()]);
            break;
        }
        if (pieces == source.second.pieces) {
            continue;
        }
        try {
            replica.apply(staged(pieces));
            // The parts of start and end line that nothing else depends on.
            ASSERT_EQ(flatDocument(*replica.status()), flatDocument(*source.status));
            replica.apply(staged(source.first.pieces));
        } catch (MirrorError const &) {
            ASSERT_EQ(flatDocument(*replica.status()), source.firstFlat) << round;
        }
    }
}

/// Puts a copy of the tree into the store, every node under a key of its own.
PtrConst<Eval::AetNodeBase> storeCopy(Eval::AetNodeBase const & node, AetCollections & store,
                                      U64 & key) {
    auto const copy = copyNode(
        node, 0, [&](Eval::AetNodeBase const & child) { return storeCopy(child, store, key); });
    return store.nodeIs(copyNode(*copy, ++key, [](Eval::AetNodeBase const & child) {
        return PtrConst<Eval::AetNodeBase>(&child);
    }));
}

TEST(Replica, everyClassAndEveryFieldIsMirrored) {
    using Eval::test::NodeMaker;
    auto const status = allFunctionStatusFactory("test");
    LocalChannel channel(status);
    FollowedStore mirror("test");
    channel.attach(mirror);
    U64 key = 0;
    U32 marker = 0;
    for (auto const & nodeClass : Eval::nodeClasses()) {
        int const fields = static_cast<int>(nodeClass.fields.size());
        status->startOfDedupedFunctionUpdatesMarkerIs(++marker);
        for (int changed = -1; changed < fields; ++changed) {
            if (changed < 0 ||
                NodeMaker::canChange(nodeClass.fields[static_cast<std::size_t>(changed)])) {
                storeCopy(*NodeMaker::node(nodeClass, 1, changed), status->nodes(), key);
            }
        }
        status->endOfDedupedFunctionUpdatesMarkerIs(marker);
    }
    EXPECT_EQ(mirror.status().nodes().size(), status->nodes().size());
    EXPECT_EQ(flatDocument(mirror.status()), flatDocument(*status));
    for (std::size_t number = 0; number < Eval::nodeClasses().size(); ++number) {
        auto const collection = static_cast<U16>(number);
        for (U64 const each : status->nodes().keys(collection)) {
            EXPECT_TRUE(status->nodes()
                            .node(collection, each)
                            ->compare(mirror.status().nodes().node(collection, each)))
                << Eval::nodeClasses()[number].name;
        }
    }
    channel.detach(mirror);
}

TEST(LocalChannel, aStoreThatWasReplacedIsToldFromNothing) {
    auto const status = allFunctionStatusFactory("test");
    FunctionDigests digests;
    LocalChannel channel(status);
    FollowedStore mirror("test");
    channel.attach(mirror);
    publishProgram(test::policy(test::alike(3, 1)), *status, digests, 1);
    status->startOfDedupedFunctionUpdatesMarkerIs(2);
    status->reset();
    status->aetNodesIs()->medCollIs(4);
    EXPECT_EQ(mirror.view().current()->functions().size(), 3U) << "not before the batch ends";
    status->endOfDedupedFunctionUpdatesMarkerIs(2);
    EXPECT_EQ(mirror.view().current()->functions().size(), 0U);
    EXPECT_EQ(flatDocument(mirror.status()), flatDocument(*status));

    // The same key for another node, within one batch.
    status->startOfDedupedFunctionUpdatesMarkerIs(3);
    status->aetNodes()->medCollDel(4);
    status->aetNodes()->weightCollIs(4);
    status->endOfDedupedFunctionUpdatesMarkerIs(3);
    EXPECT_EQ(flatDocument(mirror.status()), flatDocument(*status));

    FollowedStore late("test");
    channel.attach(late);
    EXPECT_EQ(flatDocument(late.status()), flatDocument(*status));
    EXPECT_EQ(late.version(), mirror.version());
}

} // namespace
} // namespace Qcf::Mirror
