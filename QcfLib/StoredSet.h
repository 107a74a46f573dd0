#pragma once

#include "Platform/Framework/Ptr.h"

#include <utility>

/// How a context holds the sets that a function stored, without touching counts that threads share.
///
///     content.community.borrow(constant);          // held by the function's literal
///     content.community = std::move(fresh);        // held here
///     PtrConst<U64SmallVector> mine = content.community; // counted: stays as long as one likes
namespace Qcf::Eval {

/// The set that a function stored as an attribute's new value; null stands for the empty set.
///
/// Most of what is stored is held by somebody else already: by the context's cache of inputs, or by
/// a constant of the function that is evaluated, which other threads evaluate too. Such a set is
/// borrowed: it is not counted here, so that storing it writes to no memory that threads share.
/// Its own count is true all the same: whoever copies `ptr()` keeps the set alive.
/// Readers cannot tell which way a set is held. What is borrowed is the borrower's to get right:
/// whoever lends outlives the next reset, or `settle` is called before it goes.
template <typename Set>
class StoredSet {
public:
    StoredSet() = default;
    /// A copy owns its set: it may outlive whoever the original borrowed from.
    StoredSet(StoredSet const & other) : StoredSet() { *this = other; }
    StoredSet & operator=(StoredSet const & other) {
        *this = PtrConst<Set>(other.shown_);
        return *this;
    }
    ~StoredSet() { show(nullptr); }

    /// Stores a set and keeps it alive; null stores the empty set.
    StoredSet & operator=(PtrConst<Set> set) {
        show(set.get());
        owned_ = std::move(set);
        return *this;
    }
    /// Stores a set that outlives its being stored here.
    /// One that is owned here already stays owned.
    void borrow(Set const * set) {
        show(set);
        if (owned_ && owned_.get() != set) {
            owned_ = nullptr;
        }
    }
    /// Counts a set that was borrowed, for when its owner may go first.
    /// Costs a count; does nothing for a set that is owned.
    void settle() { owned_ = shown_; }
    /// Back to the empty set; lets go of what was owned.
    void clear() { borrow(nullptr); }

    /// Whether it keeps this very set alive.
    bool owns(Set const * set) const { return set != nullptr && set == owned_.get(); }
    /// The set, uncounted; null for the empty one. Good until another is stored.
    Set const * get() const { return shown_.get(); }
    Set const * operator->() const { return shown_.get(); }
    explicit operator bool() const { return static_cast<bool>(shown_); }
    /// The same as a counted pointer that can be copied.
    PtrConst<Set> const & ptr() const { return shown_; }
    operator PtrConst<Set> const &() const { return shown_; } // NOLINT(google-explicit-constructor)

    // By identity, as pointers compare; equal sets may be different objects.
    friend bool operator==(StoredSet const & stored, std::nullptr_t) { return !stored.shown_; }
    template <typename Other>
    friend bool operator==(StoredSet const & stored, Ptr<Other> const & other) {
        return stored.shown_ == other;
    }

private:
    /// Puts a set in front without counting it, and takes the last one away without giving it back.
    void show(Set const * set) {
        static_cast<void>(shown_.release());
        shown_ = PtrConst<Set>::adopt(set);
    }

    // Two pointers, so that readers need not ask in which of both ways the set is held.
    PtrConst<Set> shown_; ///< never counted
    PtrConst<Set> owned_; ///< the same set, counted; null while it is borrowed
};

} // namespace Qcf::Eval
