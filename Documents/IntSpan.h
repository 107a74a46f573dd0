#pragma once

#include "Platform/Framework/WideInt.h"
#include "QcfLib/QcfEval.h"

#include <algorithm>
#include <optional>

namespace Qcf::Documents {

/// The values that an integer may have: all between two, and perhaps one outside of them, which is
/// an attribute's default where its range does not hold it. Bounds are included and signed: wide
/// enough for any magnitude with its sign.
///
/// A plain value; nothing here fails.
class IntSpan {
public:
    /// All from `least` to `most`, which must not be the smaller one.
    IntSpan(S128 least, S128 most) : least_(std::move(least)), most_(std::move(most)) {}

    /// Of a constant its value, of an attribute its range; nothing for what is not known, such as
    /// an argument.
    static std::optional<IntSpan> of(Eval::Int const & value);
    /// Of a left side, whose sign is of no account: an argument may be any magnitude.
    static IntSpan ofLeft(Eval::Int const & value);
    /// What an element of a list or set can be.
    static IntSpan elements() { return {0, 0xFFFFFFFF}; }

    // The extreme values, the one outside included.
    S128 least() const { return also_ ? std::min(least_, *also_) : least_; }
    S128 most() const { return also_ ? std::max(most_, *also_) : most_; }
    /// Whether there is but one value.
    bool isOne() const { return least_ == most_ && !also_; }
    /// Whether some value is in both.
    bool meets(IntSpan const & other) const;
    /// What becomes of a single value as an element of a list or set: it is forced into what those
    /// can be.
    IntSpan asElement() const;

    /// "0 to 2 or 256", "-5".
    String text() const;

    /// Whether both have the same bounds, and the same value outside.
    bool operator==(IntSpan const &) const = default;

private:
    /// Whether the value lies between the bounds.
    bool has(S128 const & value) const { return value >= least_ && value <= most_; }

    S128 least_;
    S128 most_;
    /// Outside of the two.
    std::optional<S128> also_;
};

} // namespace Qcf::Documents
