#include "Mirror/LocalChannel.h"
#include "Mirror/ProgramPublication.h"
#include "Mirror/Redis/RedisFollower.h"
#include "Mirror/Redis/RedisWriter.h"
#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "tests/Mirror/CreatorStores.h"
#include "tests/Mirror/MirrorTools.h"
#include "tests/Mirror/Redis/RedisServer.h"

#include <thread>

#include <gtest/gtest.h>

/// Statuses that were filled through their own operations are followed field by field, whatever
/// their contract allows.
namespace Qcf::Mirror {
namespace {

using test::difference;
using test::Filling;
using test::fillings;
using test::Lines;

TEST(AnyStore, isFollowedOutsideTheMarkers) {
    for (Filling const & filling : fillings()) {
        auto const status = allFunctionStatusFactory("test");
        LocalChannel channel(status);
        FollowedStore mirror("test");
        channel.attach(mirror);
        auto const listener = status->publisher().subscribe([&](Notification const & change) {
            if (!status->dedupedFunctionUpdatesInProgress()) {
                EXPECT_EQ(difference(*status, mirror.status()), "")
                    << filling.what << ", " << change.attribute;
            }
        });
        filling.fill(*status);
        EXPECT_EQ(difference(*status, mirror.status()), "") << filling.what;
        EXPECT_EQ(channel.trouble(), "") << filling.what;
        EXPECT_EQ(mirror.view().current()->functions().size(), status->aet().size());
        status->publisher().unsubscribe(listener);
    }
}

TEST(AnyStore, isFollowedWithinTheMarkersAndByWhoComesLate) {
    for (Filling const & filling : fillings()) {
        if (String(filling.what) == "markers and flags") {
            continue;
        }
        auto const status = allFunctionStatusFactory("test");
        LocalChannel channel(status);
        FollowedStore mirror("test");
        channel.attach(mirror);
        for (U32 marker = 1; marker < 3; ++marker) {
            status->startOfDedupedFunctionUpdatesMarkerIs(marker);
            filling.fill(*status);
            EXPECT_EQ(mirror.version().number, marker) << "not before the batch ends";
            EXPECT_NO_THROW(status->endOfDedupedFunctionUpdatesMarkerIs(marker)) << filling.what;
            EXPECT_EQ(difference(*status, mirror.status()), "") << filling.what;
        }
        FollowedStore late("late");
        channel.attach(late);
        EXPECT_EQ(difference(*status, late.status()), "") << filling.what;
        EXPECT_EQ(late.version(), mirror.version());
    }
}

TEST(AnyStore, anyNumberOfStreamsFollowsOneStatus) {
    auto const status = allFunctionStatusFactory("test");
    LocalChannel first(status);
    LocalChannel second(status);
    FollowedStore one("one");
    FollowedStore two("two");
    first.attach(one);
    second.attach(two);
    ChangeSource const third(status);
    FunctionDigests digests;
    for (U32 marker = 1; marker < 4; ++marker) {
        publishProgram(test::policy(test::alike(3, marker)), *status, digests, marker);
        EXPECT_EQ(difference(*status, one.status()), "");
        EXPECT_EQ(difference(*status, two.status()), "");
        EXPECT_TRUE(third.hasChanges());
    }
    first.detach(one);
    status->aetNodes()->medCollIs(1'000'000);
    EXPECT_EQ(difference(*status, two.status()), "");
    first.attach(one);
    EXPECT_EQ(difference(*status, one.status()), "");
}

/// A reader of a name in Redis.
struct Reader {
    explicit Reader(test::RedisServer const & server)
        : follower(server.options(), mirror, lines.sink(),
                   {.reader = "reader", .checkInterval = std::chrono::milliseconds(20)}) {}

    bool reaches(VersionId const & version) {
        auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (mirror.version() != version && std::chrono::steady_clock::now() < end) {
            follower.poll(std::chrono::milliseconds(1));
        }
        return mirror.version() == version;
    }

    Lines lines;
    FollowedStore mirror{"edge"};
    RedisFollower follower;
};

TEST(AnyStore, isPublishedToRedis) {
    QCF_NEEDS_REDIS();
    test::RedisServer const server;
    Lines lines;
    RedisWriter writer(server.options(), "edge", lines.sink());
    Reader reader(server);
    for (Filling const & filling : fillings()) {
        auto const status = allFunctionStatusFactory("another name");
        filling.fill(*status);
        auto const outcome = writer.publish(*status);
        EXPECT_TRUE(outcome.changed) << filling.what;
        EXPECT_EQ(outcome.functions, status->aet().size()) << filling.what;
        ASSERT_TRUE(reader.reaches(outcome.version)) << filling.what << reader.lines.all();
        EXPECT_EQ(difference(*status, reader.mirror.status()), "") << filling.what;
        EXPECT_FALSE(writer.publish(*status).changed) << filling.what << ": nothing differs";

        // Another writer takes over what the first one published.
        RedisWriter other(server.options(), "edge", lines.sink());
        EXPECT_FALSE(other.publish(*status).changed) << filling.what;
        status->aetIs("one more", test::storedFunction(*status->aetNodesIs(), 5000, "g"));
        auto const more = other.publish(*status);
        EXPECT_EQ(more.counts.functionsSet, 1U) << filling.what;
        EXPECT_EQ(more.counts.nodesRemoved, 0U) << filling.what;
        ASSERT_TRUE(reader.reaches(more.version)) << filling.what << reader.lines.all();
        EXPECT_EQ(difference(*status, reader.mirror.status()), "") << filling.what;
        writer = RedisWriter(server.options(), "edge", lines.sink());
    }
    auto const program = writer.publish(test::policy(test::alike(2, 1)));
    ASSERT_TRUE(reader.reaches(program.version));
    EXPECT_EQ(difference(writer.status(), reader.mirror.status()), "");
    EXPECT_EQ(reader.lines.all() + lines.all(), "") << "nothing to tell of";
}

TEST(AnyStore, takesAProgramWhateverItHeld) {
    for (Filling const & filling : fillings()) {
        auto const status = allFunctionStatusFactory("test");
        filling.fill(*status);
        LocalChannel channel(status);
        FollowedStore mirror("test");
        channel.attach(mirror);
        FunctionDigests digests;
        auto functions = test::alike(3, 1);
        functions.push_back({"left", 4});
        publishProgram(test::policy(functions), *status, digests, 9);
        EXPECT_EQ(difference(*status, mirror.status()), "") << filling.what;
        EXPECT_EQ(status->aet().size(), 4U) << filling.what;
        EXPECT_EQ(status->nodes().size(), test::policy(functions).nodes.size()) << filling.what;
    }
}

TEST(AnyStore, aProgramIsPublishedIntoTwo) {
    auto const program = test::policy({{"a", 1}, {"b", 2, "a"}});
    FunctionDigests digests;
    auto const first = allFunctionStatusFactory("first");
    auto const second = allFunctionStatusFactory("second");
    publishProgram(program, *first, digests, 1);
    publishProgram(program, *second, digests, 1);
    EXPECT_EQ(difference(*first, *second), "");
    for (auto const & status : {first, second}) {
        status->nodes().forEachNode([&](Ptr<Eval::AetNodeBase> const & node) {
            EXPECT_EQ(node->parent(), &status->nodes());
        });
    }
}

} // namespace
} // namespace Qcf::Mirror
