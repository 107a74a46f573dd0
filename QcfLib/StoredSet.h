#pragma once

#include "Platform/Framework/Ptr.h"

#include <utility>

namespace Qcf::Eval {

/// The set that a function stored as an attribute's new value; null stands for the empty set.
///
/// Most of what is stored is held by somebody else already: by the context's cache of inputs, or by
/// a constant of the function that is evaluated, which other threads evaluate too. Such a set is
/// borrowed: it is not counted here, so that storing it writes to no memory that threads share.
/// Its own count is true all the same: whoever copies `ptr()` keeps the set alive.
template <typename Set>
class StoredSet {
public:
    StoredSet() = default;
    /// A copy owns its set.
    StoredSet(StoredSet const & other) : set_(other.set_) {}
    StoredSet & operator=(StoredSet const & other) { return *this = PtrConst<Set>(other.set_); }
    ~StoredSet() { clear(); }

    StoredSet & operator=(PtrConst<Set> set) {
        clear();
        set_ = std::move(set);
        return *this;
    }
    /// Stores a set that outlives its being stored here.
    void borrow(Set const * set) {
        if (set != set_.get()) {
            clear();
            set_ = PtrConst<Set>::adopt(set);
            borrowed_ = set != nullptr;
        }
    }
    /// Counts a set that was borrowed, for when its owner may go first.
    void settle() {
        if (borrowed_) {
            borrowed_ = false;
            static_cast<void>(PtrConst<Set>(set_).release());
        }
    }
    void clear() {
        if (borrowed_) {
            borrowed_ = false;
            static_cast<void>(set_.release());
        } else {
            set_ = nullptr;
        }
    }

    /// Whether it keeps this very set alive.
    bool owns(Set const * set) const { return !borrowed_ && set != nullptr && set == set_.get(); }
    Set const * get() const { return set_.get(); }
    Set const * operator->() const { return set_.get(); }
    explicit operator bool() const { return static_cast<bool>(set_); }
    PtrConst<Set> const & ptr() const { return set_; }
    operator PtrConst<Set> const &() const { return set_; } // NOLINT(google-explicit-constructor)

    friend bool operator==(StoredSet const & stored, std::nullptr_t) { return !stored.set_; }
    template <typename Other>
    friend bool operator==(StoredSet const & stored, Ptr<Other> const & other) {
        return stored.set_ == other;
    }

private:
    PtrConst<Set> set_;
    bool borrowed_ = false;
};

} // namespace Qcf::Eval
