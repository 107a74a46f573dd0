#pragma once

#include <memory>

namespace Qcf::Agent {

/// A value that is seldom there, kept apart from its owner. Copies as the value does. Clearing and
/// copying an absent one keep the storage, so that an owner reused again and again stops
/// allocating.
template <typename Value>
class Boxed {
public:
    Boxed() = default;
    Boxed(Boxed const & other) { *this = other; }
    Boxed(Boxed && other) noexcept = default;
    ~Boxed() = default;
    Boxed & operator=(Boxed && other) noexcept = default;
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

    bool present() const { return present_ && value_; }
    /// The value, or a default one while it is absent.
    Value const & get() const { return present() ? *value_ : fresh(); }
    /// The value for writing; starts as a default one.
    Value & make() {
        if (!value_) {
            value_ = std::make_unique<Value>();
        } else if (!present_) {
            *value_ = fresh();
        }
        present_ = true;
        return *value_;
    }
    void clear() { present_ = false; }

private:
    static Value const & fresh() {
        static Value const value;
        return value;
    }

    std::unique_ptr<Value> value_;
    bool present_ = false;
};

} // namespace Qcf::Agent
