#include "Mirror/PartPublisher.h"

#include "Mirror/LocalChannel.h"
#include "tests/Mirror/MirrorTools.h"

#include <gtest/gtest.h>

/// What others do to a status beside the publisher, and what a part may say.
namespace Qcf::Mirror {
namespace {

using test::policy;

/// A status that parts are published to, and a reader.
struct PartTarget {
    PartTarget() { channel.attach(reader); }
    ~PartTarget() { channel.detach(reader); }

    PublishCounts publish(std::vector<test::TestFunction> const & functions,
                          std::vector<String> const & gone = {}) {
        return publisher.publish(policy(functions), gone, ++marker);
    }
    /// What is wrong; empty for nothing.
    String fault() {
        if (reader.version().digest != test::digestOf(status->aet())) {
            return "the reader has another digest";
        }
        return test::difference(*status, reader.status());
    }

    Ptr<AllFunctionStatus> status = allFunctionStatusFactory("test");
    FollowedStore reader{"test"};
    LocalChannel channel{status};
    PartPublisher publisher{status};
    U32 marker = 0;
};

TEST(PartPublisher, aNameThatAnotherOneSetsWithinABatchIsCountedAnew) {
    PartTarget target;
    target.publish({{"a", 1}, {"b", 1}, {"c", 1}});
    auto const foreign = policy({{"b", 7}});
    bool isDone = false;
    auto const subscription =
        target.status->publisher().subscribe([&](Notification const & notification) {
            if (String(notification.attribute) == "aet" && !std::exchange(isDone, true)) {
                target.status->aetIs("b", foreign.find("b"));
            }
        });
    target.publish({{"a", 2}});
    target.status->publisher().unsubscribe(subscription);
    ASSERT_TRUE(isDone);
    EXPECT_EQ(target.publish({{"b", 7}}).functionsSet, 0U);
    EXPECT_EQ(target.publish({{"b", 3}}, {"c"}).functionsRemoved, 1U);
    EXPECT_EQ(target.fault(), "");
}

// Who subscribed before the publisher hears of a change before it does.
TEST(PartPublisher, publishesWhileAChangeIsToldThatItHasNotHeardOf) {
    auto const status = allFunctionStatusFactory("test");
    std::optional<PartPublisher> publisher;
    bool isDue = false;
    auto const subscription = status->publisher().subscribe([&](Notification const &) {
        if (std::exchange(isDue, false)) {
            publisher->publish(policy({{"a", 3}}), {}, 2);
        }
    });
    publisher.emplace(status);
    publisher->publish(policy({{"a", 1}, {"b", 1}}), {}, 1);
    auto const foreign = policy({{"a", 2}});
    isDue = true;
    status->aetIs("a", foreign.find("a"));
    status->publisher().unsubscribe(subscription);
    auto const wanted = policy({{"a", 3}, {"b", 1}});
    for (char const * const name : {"a", "b"}) {
        FunctionDigests digests;
        auto const published = ptrCast<Eval::Function const>(status->aet(std::string_view(name)));
        EXPECT_EQ(digests.of(*published), digests.of(*wanted.find(name))) << name;
    }
}

TEST(PartPublisher, aSecondNameOfAFunctionIsNoCaller) {
    PartTarget target;
    target.publish({{"f", 1}, {"g", 1, "f"}, {"h", 1}});
    target.status->aetIs("alias", target.status->aet(std::string_view("h")));
    EXPECT_EQ(target.publish({}, {"alias"}).functionsRemoved, 1U);
    EXPECT_EQ(target.fault(), "");
    target.status->aetIs("alias", target.status->aet(std::string_view("h")));
    EXPECT_EQ(target.publish({{"h", 2}}).functionsSet, 1U) << "the other name keeps what it means";
    EXPECT_EQ(target.publish({}, {"alias", "h"}).functionsRemoved, 2U);
    target.status->aetIs("alias", target.status->aet(std::string_view("f")));
    EXPECT_THROW(target.publish({}, {"alias", "f"}), MirrorError) << "g calls it";
    EXPECT_EQ(target.fault(), "");
}

TEST(PartPublisher, aFunctionThatIsGivenTwiceIsRefused) {
    PartTarget target;
    target.publish({{"f", 1}});
    Documents::Program twice = policy({{"f", 2}});
    Documents::Program const other = policy({{"f", 3}});
    twice.functions.push_back(other.functions.front());
    EXPECT_THROW(target.publisher.publish(twice, {}, 9), MirrorError);
    EXPECT_EQ(target.publish({{"f", 1}}).functionsSet, 0U);
    EXPECT_EQ(target.publish({{"f", 2}}).functionsSet, 1U);
    EXPECT_EQ(target.fault(), "");
}

} // namespace
} // namespace Qcf::Mirror
