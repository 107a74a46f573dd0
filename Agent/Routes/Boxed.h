#pragma once

#include <memory>

namespace Qcf::Agent {

/// A value that is seldom there, kept apart from its owner. Copies as the value does.
///
/// Clearing and copying an absent one keep the storage, so that an owner reused again and again
/// stops allocating.
///
///     Boxed<RareAttributes> rare;
///     rare.get().aigp;      // the default, nothing is allocated
///     rare.make().aigp = 5; // there from now on
///     rare.clear();         // absent again, with its storage
///
/// Belongs to one thread as the owner does. The cost while it is absent is a pointer and a flag in
/// the owner, and a branch a question. A moved-from one is absent.
template <typename Value>
class Boxed {
public:
    /// Absent, without storage.
    Boxed() = default;
    /// Copies take over the value; storage is made only for one that is there.
    Boxed(Boxed const & other) { *this = other; }
    Boxed(Boxed && other) noexcept = default;
    ~Boxed() = default;
    Boxed & operator=(Boxed && other) noexcept = default;
    /// Takes over the other's value into storage that is there; an absent one makes this absent.
    Boxed & operator=(Boxed const & other) {
        if (this == &other) {
            return *this;
        }
        if (other.present()) {
            make() = *other.value_;
        } else {
            clear();
        }
        return *this;
    }

    /// Whether there is a value since it was last cleared.
    bool present() const { return present_ && value_; }
    /// The value, or a default one while it is absent. Valid until it is made, cleared or moved.
    Value const & get() const { return present() ? *value_ : fresh(); }
    /// The value for writing; starts as a default one. Allocates the first time only.
    Value & make() {
        if (!value_) {
            value_ = std::make_unique<Value>();
        } else if (!present_) {
            *value_ = fresh();
        }
        present_ = true;
        return *value_;
    }
    /// Makes the value absent. References to it are not to be used any more.
    void clear() { present_ = false; }

private:
    /// What an absent one reads as: one object a type, for all threads.
    static Value const & fresh() {
        static Value const value;
        return value;
    }

    std::unique_ptr<Value> value_;
    /// Counts only while there is storage, which a move takes away.
    bool present_ = false;
};

} // namespace Qcf::Agent
