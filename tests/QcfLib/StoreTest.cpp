#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "QcfLib/QcfAllAetEntities.h"
#include "QcfLib/QcfEval.h"

#include <chrono>
#include <map>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Qcf {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using CollKey = AetCollections::CollKey;

U16 collectionNumber(char const * className) {
    return static_cast<U16>(Eval::findNodeClass(className)->number());
}

/// What a store publishes, as "added intImmediateColl 5".
class Heard {
public:
    explicit Heard(AetCollections const & store) {
        store.publisher().subscribe([this, &store](Notification const & n) {
            EXPECT_EQ(n.subject, &store);
            lines.push_back((n.kind == Notification::added ? "added " : "removed ") +
                            String(n.attribute) + " " + std::to_string(n.key));
        });
    }
    std::vector<String> lines;
};

TEST(Store, aKeyAlwaysDenotesItsFirstNode) {
    auto const store = allAetEntitiesFactory();
    Heard const heard(*store);
    auto const first = store->blockCollIs(7, nullptr);
    auto const value = store->triStateBoolImmediateCollIs(1, Eval::TriStateBoolValue::true_);
    auto const expression = store->triStateBoolExpressionCollIs(2, value);
    auto const list = store->expressionListCollIs(3, expression, nullptr);

    EXPECT_EQ(store->blockCollIs(7, list), first);
    EXPECT_EQ(first->stmts(), nullptr);
    EXPECT_EQ(store->nodeIs(Eval::blockFactory(7, list)), first);
    EXPECT_EQ(store->blockColl(7), first);
    EXPECT_EQ(store->blockColl(8), nullptr);
    EXPECT_EQ(list->entry(), expression);
    EXPECT_THAT(heard.lines,
                ElementsAre("added blockColl 7", "added triStateBoolImmediateColl 1",
                            "added triStateBoolExpressionColl 2", "added expressionListColl 3"));
}

TEST(Store, collectionsShareKeysWithoutMixing) {
    auto const store = allAetEntitiesFactory();
    auto const block = store->blockCollIs(1, nullptr);
    auto const med = store->medCollIs(1);
    auto const input = store->medInputCollIs(1);
    auto const andOperator = store->andOperatorCollIs(1);
    EXPECT_EQ(store->size(), 4U);
    EXPECT_EQ(store->blockColl(1), block);
    EXPECT_EQ(store->medColl(1), med);
    EXPECT_EQ(store->medInputColl(1), input);
    EXPECT_EQ(store->andOperatorColl(1), andOperator);
    EXPECT_EQ(store->orOperatorColl(1), nullptr);
    for (auto const & member :
         {ptrCast<Eval::AetNodeBase>(block), ptrCast<Eval::AetNodeBase>(input)}) {
        EXPECT_EQ(store->anyNode(1, [&](auto const & node) { return &node == member.get(); }),
                  member);
    }
    EXPECT_EQ(store->anyNode(2, [](auto const &) { return true; }), nullptr);

    store->blockCollIs(9, nullptr);
    store->blockCollIs(4, nullptr);
    EXPECT_THAT(store->keys(collectionNumber("Block")), ElementsAre(1, 4, 9));
    store->blockCollDelAll();
    EXPECT_THAT(store->keys(collectionNumber("Block")), IsEmpty());
    EXPECT_EQ(store->size(), 3U);
    EXPECT_EQ(store->size(collectionNumber("Med")), 1U);
    EXPECT_EQ(store->medColl(1), med);
}

TEST(Store, membersHaveTheStoreAsParentWhileTheyAreIn) {
    auto store = allAetEntitiesFactory();
    auto const removed = store->medCollIs(1);
    auto const left = store->medCollIs(2);
    EXPECT_EQ(removed->parent(), store.get());
    EXPECT_EQ(store->medCollDel(1), removed);
    EXPECT_EQ(removed->parent(), nullptr);
    store = nullptr;
    EXPECT_EQ(left->parent(), nullptr);
}

TEST(Store, removalsArePublishedOnceEach) {
    auto const store = allAetEntitiesFactory();
    store->intImmediateCollIs(3, 5, false);
    store->intImmediateCollIs(1, 5, true);
    store->medCollIs(3);
    Heard const heard(*store);
    EXPECT_EQ(store->intImmediateCollDel(2), nullptr);
    store->intImmediateCollDelAll();
    store->intImmediateCollDelAll();
    EXPECT_THAT(heard.lines,
                ElementsAre("removed intImmediateColl 1", "removed intImmediateColl 3"));
}

TEST(Store, aDeletedKeyMayDenoteAnotherNode) {
    auto const store = allAetEntitiesFactory();
    auto const before = store->intImmediateCollIs(1, 5, false);
    store->intImmediateCollDel(1);
    auto const after = store->intImmediateCollIs(1, 6, false);
    EXPECT_NE(after, before);
    EXPECT_EQ(store->intImmediateColl(1), after);
    EXPECT_EQ(before->value(), 5U);
}

TEST(Store, dirtyKeysAreThoseOfEffectiveChangesSinceTheFlush) {
    auto const store = allAetEntitiesFactory();
    EXPECT_FALSE(store->hasDirtyCollKeys());
    store->medCollIs(5);
    store->blockCollIs(9, nullptr);
    store->medCollIs(2);
    U16 const med = collectionNumber("Med");
    U16 const block = collectionNumber("Block");
    EXPECT_THAT(store->dirtyCollKeys(),
                ElementsAre(CollKey{block, 9}, CollKey{med, 2}, CollKey{med, 5}));
    store->dirtyCollKeysDel();
    EXPECT_FALSE(store->hasDirtyCollKeys());

    store->medCollIs(2);
    store->medCollDel(77);
    EXPECT_FALSE(store->hasDirtyCollKeys()) << "nothing changed";
    store->medCollDel(2);
    EXPECT_THAT(store->dirtyCollKeys(), ElementsAre(CollKey{med, 2}));
    store->medCollIs(2);
    EXPECT_THAT(store->dirtyCollKeys(), ElementsAre(CollKey{med, 2})) << "another node";
    store->dirtyCollKeysDel();

    store->medCollIs(6);
    store->medCollDel(6);
    EXPECT_TRUE(store->hasDirtyCollKeys()) << "changed, and changed back";
    EXPECT_THAT(store->dirtyCollKeys(), IsEmpty());
}

TEST(Store, membersThatCameAndWentLeaveNothingBehind) {
    auto const store = allAetEntitiesFactory();
    store->medCollIs(1);
    std::size_t const before = store->bytes();
    for (U64 key = 2; key < 100'000; ++key) {
        store->medCollIs(key);
        store->medCollDel(key);
    }
    EXPECT_LT(store->bytes(), before + 5000) << "one after the other";

    for (U64 key = 2; key < 20'000; ++key) {
        store->medCollIs(key);
        store->blockCollIs(key, nullptr);
    }
    for (U64 key = 19'999; key > 1; --key) {
        store->medCollDel(key);
    }
    store->blockCollDelAll();
    // What stays is the room of the table that all of them stood in at one time.
    EXPECT_LT(store->bytes(), before + 9 * 65536 + 5000) << "all together";
    EXPECT_THAT(store->dirtyCollKeys(), ElementsAre(CollKey{collectionNumber("Med"), 1}));
    EXPECT_THAT(store->keys(collectionNumber("Med")), ElementsAre(1));
}

TEST(Store, followersNoteChangesEachAtItsOwnPace) {
    auto const store = allAetEntitiesFactory();
    store->medCollIs(1);
    AetChanges early;
    AetChanges late;
    store->followerIs(early);
    store->medCollIs(2);
    store->followerIs(late);
    store->medCollDel(1);
    store->medCollIs(1);
    store->medCollDel(2);
    store->dirtyCollKeysDel();
    auto const kinds = [](AetChanges const & changes) {
        std::map<U64, Notification::Kind> byKey;
        for (auto const & change : changes.changes()) {
            byKey[change.key] = change.kind;
        }
        return byKey;
    };
    using Kinds = std::map<U64, Notification::Kind>;
    EXPECT_EQ(kinds(early), (Kinds{{1, Notification::changed}}));
    EXPECT_EQ(kinds(late), (Kinds{{1, Notification::changed}, {2, Notification::removed}}));
    early.clear();
    store->medCollDel(1);
    store->followerDel(early);
    store->medCollIs(3);
    EXPECT_EQ(kinds(early), (Kinds{{1, Notification::removed}}));
    EXPECT_EQ(
        kinds(late),
        (Kinds{{1, Notification::removed}, {2, Notification::removed}, {3, Notification::added}}));
    store->followerDel(late);
}

// A walk over the whole store at each call would take a minute here.
TEST(Store, takingOneCollectionOutCostsNothingOfTheOthers) {
    auto const store = allAetEntitiesFactory();
    for (U64 key = 0; key < 300'000; ++key) {
        store->intImmediateCollIs(key, key, false);
    }
    auto const start = std::chrono::steady_clock::now();
    for (U64 key = 0; key < 5000; ++key) {
        store->medCollIs(key);
        store->medCollDelAll();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(store->size(), 300'000U);
}

TEST(Store, aNodeIsAMemberOfOneStoreAtMost) {
    auto const first = allAetEntitiesFactory();
    auto const second = allAetEntitiesFactory();
    auto const node = first->medCollIs(1);
    EXPECT_DEATH(second->nodeIs(node), "a node is a member of one store at most");
    EXPECT_EQ(node->parent(), first.get());
    first->medCollDel(1);
    EXPECT_EQ(second->nodeIs(node), node);
    EXPECT_EQ(node->parent(), second.get());
}

TEST(Store, everyCollectionIsInTheOrderOfTheClasses) {
    auto const store = allAetEntitiesFactory();
    // First, last, one of each module, and an attribute: a view that is off by one shows here.
    auto const function = store->functionCollIs(1, "f", {}, {}, {}, false, nullptr);
    auto const esi = store->esiImmediateCollIs(1, std::nullopt);
    auto const weight = store->weightInputCollIs(1);
    for (auto const & node : {ptrCast<Eval::AetNodeBase>(function), ptrCast<Eval::AetNodeBase>(esi),
                              ptrCast<Eval::AetNodeBase>(weight)}) {
        auto const number = static_cast<U16>(node->typeData().number());
        EXPECT_EQ(store->node(number, 1), node) << node->typeData().name;
        EXPECT_EQ(store->size(number), 1U);
    }
    EXPECT_EQ(function->typeData().number(), 0U);
    EXPECT_EQ(esi->typeData().number() + 1, Eval::nodeClasses().size());
}

TEST(Store, listenersMayChangeTheStore) {
    auto const store = allAetEntitiesFactory();
    store->publisher().subscribe([&](Notification const & n) {
        if (n.kind == Notification::removed && n.key < 50) {
            store->blockCollIs(n.key + 100, nullptr);
        }
    });
    for (U64 key = 0; key < 50; ++key) {
        store->blockCollIs(key, nullptr);
    }
    store->blockCollDelAll();
    EXPECT_EQ(store->size(), 50U);
    EXPECT_NE(store->blockColl(149), nullptr);
}

TEST(Store, agreesWithAMapUnderRandomChanges) {
    auto const store = allAetEntitiesFactory();
    std::map<std::pair<U16, U64>, Eval::AetNodeBase const *> model;
    std::mt19937_64 random(20);
    for (int i = 0; i < 50'000; ++i) {
        // Few keys and neighbours, so that searches run into each other.
        U64 const key = random() % 400 * (random() % 2 == 0 ? 1 : U64{1} << 40);
        Ptr<Eval::AetNodeBase> node;
        random() % 2 == 0 ? node = Eval::blockFactory(key, nullptr)
                          : node = Eval::intImmediateFactory(key, random(), false);
        auto const collection = static_cast<U16>(node->typeData().number());
        auto const entry = std::pair(collection, key);
        if (random() % 5 < 3) {
            auto const & kept = model.try_emplace(entry, node.get()).first->second;
            ASSERT_EQ(store->nodeIs(node).get(), kept);
        } else {
            auto const found = model.find(entry);
            auto const removed = store->nodeDel(collection, key);
            ASSERT_EQ(removed.get(), found == model.end() ? nullptr : found->second);
            model.erase(entry);
        }
        ASSERT_EQ(store->size(), model.size());
    }
    for (auto const & [entry, node] : model) {
        ASSERT_EQ(store->node(entry.first, entry.second).get(), node);
    }
    std::size_t visited = 0;
    store->forEachNode([&](Ptr<Eval::AetNodeBase> const & node) {
        ++visited;
        EXPECT_TRUE(
            model.contains({static_cast<U16>(node->typeData().number()), node->aetNodeKey()}));
    });
    EXPECT_EQ(visited, model.size());
}

} // namespace
} // namespace Qcf
