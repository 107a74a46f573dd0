#include "Platform/Framework/Entity.h"

#include <algorithm>
#include <memory>
#include <vector>

TypeData const & Entity::typeData() const {
    static TypeData const entity{.kind = TypeData::Kind::entity, .name = "Entity"};
    return entity;
}

/// The subscriptions of one publisher. Counted, because a listener may destroy the publisher that
/// is calling it. While a notification runs (`running` > 0) no subscription moves or is destroyed:
/// ended ones only lose their id and are swept afterwards.
class Publisher::Listeners : public PtrInterface {
public:
    struct Subscription {
        SubscriptionId id; // 0 once ended
        Listener listener;
    };

    explicit Listeners(Publisher * p) : publisher(p) {}

    Publisher * publisher; // null once it is gone
    std::vector<std::unique_ptr<Subscription>> subscriptions;
    U32 running = 0;

    void sweep();
};

// What ended is taken out before it is destroyed: destroying what a listener captured may subscribe
// or unsubscribe.
void Publisher::Listeners::sweep() {
    std::vector<std::unique_ptr<Subscription>> ended;
    for (auto & s : subscriptions) {
        if (s->id == 0) {
            ended.push_back(std::move(s));
        }
    }
    std::erase(subscriptions, nullptr);
    // The publisher without listeners has no list, so that publishing costs it one test again.
    if (subscriptions.empty() && publisher != nullptr) {
        Ptr<Listeners> const keep = std::move(publisher->listeners_);
        publisher = nullptr;
    }
}

namespace {

// Ids are unique over all publishers, so that none is ever given out twice by one whose list of
// listeners was dropped in between.
SubscriptionId nextSubscriptionId() {
    static std::atomic<SubscriptionId> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

} // namespace

Publisher::Publisher() = default;
Publisher::~Publisher() {
    // A notification may be running that this publisher is being destroyed by.
    if (listeners_) {
        listeners_->publisher = nullptr;
        for (auto const & s : listeners_->subscriptions) {
            s->id = 0;
        }
    }
}

SubscriptionId Publisher::subscribe(Listener listener) {
    if (!listeners_) {
        listeners_ = makePtr<Listeners>(this);
    }
    SubscriptionId const id = nextSubscriptionId();
    listeners_->subscriptions.push_back(std::make_unique<Listeners::Subscription>(
        Listeners::Subscription{id, std::move(listener)}));
    return id;
}

void Publisher::unsubscribe(SubscriptionId id) {
    if (!listeners_ || id == 0) {
        return;
    }
    auto & all = listeners_->subscriptions;
    auto const found =
        std::find_if(all.begin(), all.end(), [id](auto const & s) { return s->id == id; });
    if (found == all.end()) {
        return;
    }
    (*found)->id = 0;
    // A running notification walks over the subscriptions and sweeps at its end.
    if (listeners_->running == 0) {
        Ptr<Listeners> const keep = listeners_;
        keep->sweep();
    }
}

void Publisher::notify(Notification const & notification) {
    Ptr<Listeners> const listeners = listeners_; // a listener may destroy this publisher
    struct Running {
        Listeners & of;
        explicit Running(Listeners & l) : of(l) { ++of.running; }
        ~Running() {
            if (--of.running == 0) {
                of.sweep();
            }
        }
        Running(Running const &) = delete;
        Running & operator=(Running const &) = delete;
    } const running(*listeners);

    std::size_t const count = listeners->subscriptions.size(); // later ones wait for the next time
    for (std::size_t i = 0; i < count; ++i) {
        auto & subscription = *listeners->subscriptions[i];
        if (subscription.id != 0) {
            subscription.listener(notification);
        }
    }
}
