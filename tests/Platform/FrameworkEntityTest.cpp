#include "Platform/Framework/Entity.h"

#include <memory>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

namespace {

Notification change(char const * attribute) { return {.attribute = attribute}; }

/// Notes what it is told beside its listeners.
class Noting final : public Entity {
public:
    void onNotification(Notification const & notification) const override {
        heard += String("own ") + notification.attribute + ";";
    }
    mutable String heard;
};

} // namespace

TEST(Entity, IsToldOfItsChangesBeforeItsListeners) {
    auto const entity = makePtr<Noting>();
    entity->publish(change("a"));
    entity->publisher().subscribe(
        [&](Notification const & n) { entity->heard += String("listener ") + n.attribute + ";"; });
    entity->publish(change("b"));
    EXPECT_EQ(entity->heard, "own a;own b;listener b;");
    EXPECT_STREQ(entity->typeData().name, "Entity");
    EXPECT_EQ(entity->typeData().kind, TypeData::Kind::entity);
}

TEST(Entity, TellsListenersOfAConstantEntity) {
    Ptr<Entity const> const parent = makePtr<Entity>();
    Ptr<Entity const> const entity = makePtr<Entity>();
    entity->parentIs(parent.get());
    EXPECT_EQ(entity->parent(), parent.get());

    std::vector<String> heard;
    auto const id = entity->publisher().subscribe([&](Notification const & n) {
        heard.push_back(String(n.attribute) + ' ' + n.name + ' ' + std::to_string(n.key));
        EXPECT_EQ(n.subject, entity.get());
    });
    entity->publisher().publish({.attribute = "aet",
                                 .kind = Notification::added,
                                 .key = 0,
                                 .name = "f",
                                 .subject = entity.get()});
    entity->publisher().unsubscribe(id);
    EXPECT_FALSE(entity->publisher().hasListeners());
    entity->publisher().publish(change("unheard"));
    EXPECT_EQ(heard, std::vector<String>{"aet f 0"});
}

TEST(Publisher, CallsInOrderAndIgnoresUnknownIds) {
    Publisher publisher;
    String order;
    publisher.subscribe([&](Notification const &) { order += 'a'; });
    auto const b = publisher.subscribe([&](Notification const &) { order += 'b'; });
    publisher.subscribe([&](Notification const &) { order += 'c'; });
    publisher.publish(change("x"));
    publisher.unsubscribe(b);
    publisher.unsubscribe(b);
    publisher.unsubscribe(0);
    publisher.publish(change("x"));
    EXPECT_EQ(order, "abcac");
}

// Each listener changes the list in its own way while it is being walked.
TEST(Publisher, ListenersMayChangeTheListWhileItRuns) {
    Publisher publisher;
    String order;
    SubscriptionId self = 0;
    SubscriptionId later = 0;
    bool grown = false;
    self = publisher.subscribe([&](Notification const &) {
        order += 's';
        publisher.unsubscribe(self);
    });
    publisher.subscribe([&](Notification const &) {
        order += 'k';
        publisher.unsubscribe(later);
        if (!grown) {
            grown = true;
            for (int i = 0; i < 100; ++i) { // enough to move any storage
                publisher.subscribe([&order](Notification const &) { order += 'n'; });
            }
        }
    });
    later = publisher.subscribe([&](Notification const &) { order += 'l'; });
    publisher.publish(change("x"));
    EXPECT_EQ(order, "sk");
    order.clear();
    publisher.publish(change("x"));
    EXPECT_EQ(order, 'k' + String(100, 'n'));
}

TEST(Publisher, MayPublishAgainAndThrowFromAListener) {
    Publisher publisher;
    String order;
    auto const nested = publisher.subscribe([&](Notification const & n) {
        order += n.attribute;
        if (n.attribute == std::string_view("1")) {
            publisher.publish(change("2"));
        }
    });
    auto const last = publisher.subscribe([&](Notification const & n) {
        order += n.attribute;
        if (n.attribute == std::string_view("2")) {
            publisher.unsubscribe(nested);
        }
    });
    publisher.publish(change("1"));
    EXPECT_EQ(order, "1221");
    publisher.unsubscribe(last);
    EXPECT_FALSE(publisher.hasListeners());

    auto const id =
        publisher.subscribe([](Notification const &) { throw std::runtime_error("no"); });
    publisher.subscribe([&](Notification const &) { order = "reached"; });
    EXPECT_THROW(publisher.publish(change("x")), std::runtime_error);
    EXPECT_EQ(order, "1221");
    publisher.unsubscribe(id);
    publisher.publish(change("x"));
    EXPECT_EQ(order, "reached");
}

TEST(Publisher, AListenerMayLetGoOfTheEntity) {
    Ptr<Entity> entity = makePtr<Entity>();
    int heard = 0;
    entity->publisher().subscribe([&](Notification const &) {
        ++heard;
        entity = nullptr;
    });
    entity->publisher().subscribe([&](Notification const &) { ++heard; });
    entity->publisher().publish(change("x"));
    EXPECT_EQ(entity, nullptr);
    EXPECT_EQ(heard, 1); // the entity and its listeners are gone
}

// What a listener captured is destroyed with its subscription; its destructor may come back.
TEST(Publisher, CapturedObjectsMayComeBackWhenDestroyed) {
    Publisher publisher;
    SubscriptionId other = publisher.subscribe([](Notification const &) {});
    auto token = std::shared_ptr<int>(new int(0), [&](int const * p) {
        publisher.unsubscribe(other);
        other = publisher.subscribe([](Notification const &) {});
        delete p;
    });
    SubscriptionId self = 0;
    self = publisher.subscribe(
        [&publisher, &self, token](Notification const &) { publisher.unsubscribe(self); });
    token.reset();
    publisher.publish(change("x"));
    EXPECT_TRUE(publisher.hasListeners());
    publisher.unsubscribe(other);
    EXPECT_FALSE(publisher.hasListeners());
}
