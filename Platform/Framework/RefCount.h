#pragma once

#include "Platform/Framework/Types.h"

#include <atomic>

/// Process-wide switch: whether reference counts are changed atomically (the default) or by plain
/// load and store.
///
///     int main() {
///         ThreadSafePtrs::enabledIs(false); // before the first counted object
///         ...
///     }
///
/// A process that keeps all counted objects in one thread may switch it off before it makes the
/// first one; it must not be switched while several threads hold pointers. Every change of a count
/// looks at the switch, which costs a load that is never written.
class ThreadSafePtrs {
public:
    /// Whether counts are changed atomically.
    static bool enabled() noexcept { return enabled_.load(std::memory_order_relaxed); }
    /// Not while another thread is counting.
    static void enabledIs(bool enabled) noexcept {
        enabled_.store(enabled, std::memory_order_relaxed);
    }

private:
    /// Read by all threads and written at the start, so that its cache line stays shared.
    inline static std::atomic<bool> enabled_{true};
};

/// Base of every object that `Ptr` counts. Objects start with no users; the object is freed,
/// through `lastUserGone`, when the last `Ptr` to it goes. Only `Ptr` changes the count.
///
///     class Policy : public PtrInterface {
///     public:
///         ~Policy() override = default;
///     };
///     Ptr<Policy> const policy = makePtr<Policy>();
///
/// The count is a part of the object and mutable: constant objects are counted as well. An object
/// is never copied, since its count is not.
class PtrInterface {
public:
    PtrInterface(PtrInterface const &) = delete;
    PtrInterface & operator=(PtrInterface const &) = delete;

    /// Number of pointers to the object; only a hint while other threads hold some. Who finds 1 and
    /// holds that one has the object alone, and sees what the others wrote before they let go.
    U32 refCount() const noexcept { return count_.load(std::memory_order_acquire); }

protected:
    PtrInterface() noexcept = default;
    /// Objects are destroyed by their last pointer, by nobody else.
    virtual ~PtrInterface() = default;

    /// Called when the last pointer went and the count is 0 again; deletes the object unless
    /// overridden. An override may keep the object for later use instead.
    virtual void lastUserGone() const;

private:
    friend class RefCounting;

    /// At most 2^32 - 1 pointers; nothing looks whether there are more.
    mutable std::atomic<U32> count_{0};
};

/// The counting operations, kept apart from PtrInterface so that derived classes do not see
/// them.
class RefCounting {
public:
    /// One user more. Relaxed is enough: whoever adds holds a pointer already.
    static void add(PtrInterface const & object) noexcept {
        if (ThreadSafePtrs::enabled()) {
            object.count_.fetch_add(1, std::memory_order_relaxed);
        } else {
            U32 const count = object.count_.load(std::memory_order_relaxed);
            object.count_.store(count + 1, std::memory_order_relaxed);
        }
    }

    /// For the first pointer to an object that was made just now, which no other thread holds: it
    /// needs no locked instruction, unless the constructor handed out pointers.
    static void addFirst(PtrInterface const & object) noexcept {
        if (object.count_.load(std::memory_order_relaxed) == 0) {
            object.count_.store(1, std::memory_order_relaxed);
        } else {
            add(object);
        }
    }

    /// One user less; the last one frees the object, and sees all that others wrote to it before.
    static void drop(PtrInterface const & object) noexcept {
        // A count of one is the caller's own: nobody else can raise it any more, so the common end
        // of a short-lived object needs no locked instruction. Acquire pairs with the releases of
        // the users that went before.
        U32 const count = object.count_.load(std::memory_order_acquire);
        if (count == 1) {
            object.count_.store(0, std::memory_order_relaxed);
            object.lastUserGone();
        } else if (!ThreadSafePtrs::enabled()) {
            object.count_.store(count - 1, std::memory_order_relaxed);
        } else if (object.count_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            object.lastUserGone();
        }
    }
};
