#pragma once

#include "Platform/Framework/RefCount.h"

#include <concepts>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

/// Counted pointers to objects that derive from `PtrInterface`.
///
///     Ptr<Block> block = makePtr<Block>(key, stmts);
///     void take(Ptr<Block const> const & b);
///     take(block);                 // binds to the pointer inside `block`: nothing is counted
///     Ptr<Expression const> e = block;   // derived to base: counted once
///
/// A pointer is as large as a raw one. Copies count, moves do not. `T` may be incomplete wherever a
/// pointer is only named, passed by reference or tested; it must be complete where one is copied or
/// destroyed. One `Ptr` object belongs to one thread at a time; several pointers to one object may
/// live in different threads (see ThreadSafePtrs).
///
/// Passing a temporary `Ptr<T>` where a `Ptr<T const> const &` parameter is wanted is fine. A named
/// `Ptr<T const> const &` must not be bound to a temporary `Ptr<T>`: it would outlive it.
template <class T>
class Ptr;

/// Short name for a pointer to a constant object.
template <class T>
using PtrConst = Ptr<T const>;

namespace ptrDetail {
/// U converts to T by inheritance and is not the same class (that case never needs counting).
/// Conversions the other way are `ptrCast`, which is written out.
template <class U, class T>
concept DerivedOf =
    std::convertible_to<U *, T *> && !std::same_as<std::remove_const_t<U>, std::remove_const_t<T>>;
} // namespace ptrDetail

/// Pointer to a constant object. Everything that is read only is handed around so: nodes,
/// functions, lists, versions.
///
/// Copying and destroying are short and inlined, with one test for null. What the count does, and
/// in which order threads see it, stands in RefCount.h.
template <class T>
class Ptr<T const> {
public:
    /// What is pointed to, for generic code.
    using element_type = T const;

    /// No object.
    constexpr Ptr() noexcept = default;
    constexpr Ptr(std::nullptr_t) noexcept {} // NOLINT(google-explicit-constructor)
    /// Counts one user more of `object`, which may be null.
    explicit Ptr(T const * object) noexcept : object_(object) { count(); }
    Ptr(Ptr const & other) noexcept : object_(other.object_) { count(); }
    /// Hands the use on: nothing is counted, and the other pointer is null afterwards.
    Ptr(Ptr && other) noexcept : object_(other.release()) {}
    /// A pointer to a derived class serves where its base is wanted. The copy counts; the move does
    /// not, and leaves the other one null.
    template <class U>
    requires ptrDetail::DerivedOf<U, T const> Ptr(Ptr<U> const & other)
    noexcept // NOLINT(google-explicit-constructor)
        : object_(other.get()) {
        count();
    }
    template <class U>
    requires ptrDetail::DerivedOf<U, T const> Ptr(Ptr<U> && other)
    noexcept // NOLINT(google-explicit-constructor)
        : object_(other.release()) {}
    /// The object dies here if this was its last pointer, and what it holds with it.
    ~Ptr() { uncount(); }

    // By way of a copy, so that an object that owns this very pointer may die of the assignment.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the copy takes care of that too.
    Ptr & operator=(Ptr const & other) noexcept {
        Ptr(other).swap(*this);
        return *this;
    }
    Ptr & operator=(Ptr && other) noexcept {
        Ptr(std::move(other)).swap(*this);
        return *this;
    }
    /// Lets go of the object.
    Ptr & operator=(std::nullptr_t) noexcept {
        reset();
        return *this;
    }

    /// Takes over a use that was counted already, as `release()` hands it out. For whoever passed
    /// the pointer through a place that holds raw ones.
    static Ptr adopt(T const * counted) noexcept {
        Ptr p;
        p.object_ = counted;
        return p;
    }

    /// The object, null for none. Following a null pointer is undefined, as for a raw one.
    T const * get() const noexcept { return object_; }
    T const * operator->() const noexcept { return object_; }
    T const & operator*() const noexcept { return *object_; }
    /// Whether there is an object.
    explicit operator bool() const noexcept { return object_ != nullptr; }

    /// Lets go of the object; it dies if nobody else holds it.
    void reset() noexcept { Ptr().swap(*this); }
    /// Gives the object away without uncounting it; the pointer is null afterwards. The use must be
    /// adopted again, else the object is never freed.
    [[nodiscard]] T const * release() noexcept { return std::exchange(object_, nullptr); }
    /// Exchanges the objects without counting.
    void swap(Ptr & other) noexcept { std::swap(object_, other.object_); }

private:
    /// One user more, and one less, of an object that may be null.
    void count() const noexcept {
        if (object_ != nullptr) {
            RefCounting::add(*object_);
        }
    }
    void uncount() const noexcept {
        if (object_ != nullptr) {
            RefCounting::drop(*object_);
        }
    }

    /// Counted, unless it is null.
    T const * object_ = nullptr;
};

/// Pointer to an object that may be changed. It holds a pointer to the constant object and lends it
/// out, which is why no counting is needed where a `Ptr<T const> const &` is wanted.
///
/// There is no way back: a pointer to a constant object does not become one to a mutable object but
/// by `constCast`, which says so.
template <class T>
class Ptr {
public:
    /// What is pointed to, for generic code.
    using element_type = T;

    /// No object.
    constexpr Ptr() noexcept = default;
    constexpr Ptr(std::nullptr_t) noexcept {} // NOLINT(google-explicit-constructor)
    /// Counts one user more of `object`, which may be null. The object must have been made by
    /// `new`, or keep itself by overriding `lastUserGone`.
    explicit Ptr(T * object) noexcept : inner_(object) {}
    template <class U>
    requires ptrDetail::DerivedOf<U, T> Ptr(Ptr<U> const & other)
    noexcept // NOLINT(google-explicit-constructor)
        : inner_(static_cast<T const *>(other.get())) {}
    /// A derived class serves for its base, as above.
    template <class U>
    requires ptrDetail::DerivedOf<U, T> Ptr(Ptr<U> && other)
    noexcept // NOLINT(google-explicit-constructor)
        : inner_(Ptr<T const>::adopt(other.release())) {}

    Ptr & operator=(std::nullptr_t) noexcept {
        reset();
        return *this;
    }

    // The only way from Ptr<T> to Ptr<T const>: a second one for temporaries would make calls such
    // as push_back(makePtr<T>()) ambiguous. ptrCast<T const>(std::move(p)) converts without
    // counting.
    operator Ptr<T const> const &() const noexcept { // NOLINT(google-explicit-constructor)
        return inner_;
    }

    /// Takes over a use that was counted already, as `release()` hands it out. Nothing is counted.
    static Ptr adopt(T * counted) noexcept {
        Ptr p;
        p.inner_ = Ptr<T const>::adopt(counted);
        return p;
    }

    // The object was handed over as a mutable one; only the member that counts it is const.
    /// As for a pointer to a constant object.
    T * get() const noexcept { return const_cast<T *>(inner_.get()); }
    T * operator->() const noexcept { return get(); }
    T & operator*() const noexcept { return *get(); }
    explicit operator bool() const noexcept { return static_cast<bool>(inner_); }

    /// Lets go of the object.
    void reset() noexcept { inner_.reset(); }
    /// Gives the object away without uncounting it; the pointer is null afterwards.
    [[nodiscard]] T * release() noexcept { return const_cast<T *>(inner_.release()); }
    /// Exchanges the objects without counting.
    void swap(Ptr & other) noexcept { inner_.swap(other.inner_); }

private:
    /// The only member: a pointer to a mutable object is as large as one to a constant object.
    Ptr<T const> inner_;
};

/// Pointers are equal when they point to one object, whatever the types under which they hold it.
/// What the objects say is not compared.
template <class T, class U>
bool operator==(Ptr<T> const & a, Ptr<U> const & b) noexcept {
    return a.get() == b.get();
}
/// Whether there is no object.
template <class T>
bool operator==(Ptr<T> const & p, std::nullptr_t) noexcept {
    return p.get() == nullptr;
}
/// Whether it is that object.
template <class T, class U>
requires std::equality_comparable_with<T *, U *>
bool operator==(Ptr<T> const & p, U * raw) noexcept { return p.get() == raw; }

/// Exchanges two pointers without counting.
template <class T>
void swap(Ptr<T> & a, Ptr<T> & b) noexcept {
    a.swap(b);
}

/// A new object, held by its first pointer. Arguments go to the constructor as they are; what it
/// throws leaves this call, and no object is left behind. Counted objects belong on the heap: their
/// last pointer deletes them.
template <class T, class... Args>
Ptr<T> makePtr(Args &&... args) {
    T * const object = new T(std::forward<Args>(args)...);
    RefCounting::addFirst(*object);
    return Ptr<T>::adopt(object);
}

/// A pointer that nobody counted, to an object that somebody else holds for as long as it is used:
/// what is lent to an operation that takes a `Ptr`. Whoever copies that pointer has it counted, as
/// any other.
///
///     BorrowedPtr<CommListStatus const> const lent(status.get());
///     context.matchCommList(set, lent); // no count is touched
///
/// So threads that share an object do not share a cache line that all of them write.
template <class T>
class BorrowedPtr {
public:
    /// The object must outlive the loan; it may be null. A loan is neither copied nor moved: it
    /// stays in the scope of the call that it is for.
    explicit BorrowedPtr(T * object) noexcept : pointer_(Ptr<T>::adopt(object)) {}
    BorrowedPtr(BorrowedPtr const &) = delete;
    BorrowedPtr & operator=(BorrowedPtr const &) = delete;
    /// Ends the loan: nothing is uncounted, as nothing was counted.
    ~BorrowedPtr() { static_cast<void>(pointer_.release()); }

    /// Good as long as the loan; a copy of it counts.
    operator Ptr<T> const &() const noexcept { // NOLINT(google-explicit-constructor)
        return pointer_;
    }

private:
    /// Adopted and released, so that its count never changes.
    Ptr<T> pointer_;
};

/// Unchecked downcast (or upcast) to `U`, which carries its own constness; counts once. The caller
/// knows the object's class, from its record or from who made it.
template <class U, class T>
Ptr<U> ptrCast(Ptr<T> const & p) noexcept {
    return Ptr<U>(static_cast<U *>(p.get()));
}
/// As above, handing the use on: nothing is counted. The pointer that was handed in is null
/// afterwards.
template <class U, class T>
requires(!std::is_const_v<T> || std::is_const_v<U>) Ptr<U> ptrCast(Ptr<T> && p)
noexcept { return Ptr<U>::adopt(static_cast<U *>(p.release())); }

/// The mutable pointer to an object that is known to have been made mutable. For owners of a tree
/// that was handed out as constant; what other threads may read must not be changed through it. An
/// object that was made constant must not be changed at all.
template <class T>
Ptr<T> constCast(Ptr<T const> const & p) noexcept {
    return Ptr<T>(const_cast<T *>(p.get()));
}

/// By identity, as pointers compare. So one object is one key of a table, under whatever type it is
/// held.
template <class T>
struct std::hash<Ptr<T>> {
    std::size_t operator()(Ptr<T> const & p) const noexcept { return std::hash<T *>()(p.get()); }
};
