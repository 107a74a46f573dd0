#pragma once

#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/TypeData.h"
#include "Platform/Framework/Types.h"

#include <functional>

class Entity;

/// One change of an entity, as its listeners are told. It is valid during the call only, and speaks
/// of a change that was made: the entity already answers as it is afterwards.
struct Notification {
    /// What happened: an attribute has another value, or a collection has a member more or less.
    enum class Kind : U8 { changed, added, removed };
    /// Short names, since every publication spells one.
    static constexpr Kind changed = Kind::changed;
    static constexpr Kind added = Kind::added;
    static constexpr Kind removed = Kind::removed;

    char const * attribute = "";      ///< name of the attribute or collection that changed
    Kind kind = changed;              ///< added and removed speak of members of a collection
    U64 key = 0;                      ///< the member's key, for collections keyed by number
    String name = {};                 ///< the member's key, for collections keyed by name
    Entity const * subject = nullptr; ///< the entity that changed
};

/// Names one subscription of one publisher; never reused by it, never 0, which therefore says
/// "none".
using SubscriptionId = U64;

/// Tells listeners about changes. As large as a pointer; without listeners publishing costs a test.
/// Publishing and subscribing belong to the one thread that changes the entity.
///
///     SubscriptionId const id = status->publisher().subscribe(
///         [&](Notification const & change) { names.insert(change.name); });
///     ...
///     status->publisher().unsubscribe(id);
///
/// A listener may subscribe, unsubscribe (itself too), publish again or let go of the entity. Who
/// is subscribed during a notification hears from the next one on; who is unsubscribed hears no
/// more. An exception of a listener leaves `publish`, and the listeners behind it are not told.
class Publisher {
public:
    using Listener = std::function<void(Notification const &)>;

    /// Without listeners, and without memory.
    Publisher();
    /// May happen inside a notification of its own, which then tells nobody else.
    ~Publisher();
    Publisher(Publisher const &) = delete;
    Publisher & operator=(Publisher const &) = delete;

    /// Listeners are told in the order in which they subscribed. Allocates; the listener and what
    /// it captured live until the subscription ends.
    SubscriptionId subscribe(Listener listener);
    /// Ends a subscription; one that is unknown or ended already is ignored. Afterwards the
    /// listener is not called again.
    void unsubscribe(SubscriptionId id);
    /// Whether anybody listens: lets a caller spare itself building a notification.
    bool hasListeners() const noexcept { return listeners_ != nullptr; }
    /// Tells all listeners before it returns.
    void publish(Notification const & notification) {
        if (listeners_ != nullptr) [[unlikely]] {
            notify(notification);
        }
    }

private:
    /// The subscriptions; made with the first one.
    class Listeners;

    /// Out of line: whoever publishes without listeners pays for the test alone.
    void notify(Notification const & notification);

    /// Null while nobody listens.
    Ptr<Listeners> listeners_;
};

/// An object that has a place in a tree of entities and publishes its changes. The parent is not
/// owned; it must outlive its children or take itself out of them. What an entity holds is changed
/// by one thread, while no other one looks; what never changes, as nodes, may be read by any.
class Entity : public PtrInterface {
public:
    /// Null for one that has no place.
    Entity const * parent() const noexcept { return parent_; }
    /// Placing an entity does not change what it says, hence const.
    void parentIs(Entity const * parent) const noexcept { parent_ = parent; }
    /// The entity's change publisher; one may listen to a constant entity. Listening changes
    /// nothing of what the entity says.
    virtual Publisher & publisher() const { return publisher_; }
    /// What is known of the entity's class, or of the nearest base that has a record.
    virtual TypeData const & typeData() const;
    /// Told of each change of the entity before its listeners are. For a class that keeps something
    /// in step with itself, without a subscription.
    virtual void onNotification(Notification const & /*notification*/) const {}

    /// Tells the entity itself and its listeners of a change.
    void publish(Notification const & notification) const {
        onNotification(notification);
        publisher().publish(notification);
    }

private:
    /// Not owned.
    mutable Entity const * parent_ = nullptr;
    /// Mutable, since one may listen to a constant entity.
    mutable Publisher publisher_;
};
