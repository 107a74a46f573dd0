#pragma once

#include "Platform/Framework/WideInt.h"
#include "QcfLib/QcfEval.h"

#include <algorithm>
#include <optional>

namespace Qcf::Documents {

/// The values that an integer may have: all between two, and perhaps one outside of them.
class IntSpan {
public:
    IntSpan(S128 least, S128 most) : least_(std::move(least)), most_(std::move(most)) {}

    /// Of a constant its value, of an attribute its range; nothing for what is not known, such as
    /// an argument.
    static std::optional<IntSpan> of(Eval::Int const & value);
    /// Of a left side, whose sign is of no account: an argument may be any magnitude.
    static IntSpan ofLeft(Eval::Int const & value);
    /// What an element of a list or set can be.
    static IntSpan elements() { return {0, 0xFFFFFFFF}; }

    S128 least() const { return also_ ? std::min(least_, *also_) : least_; }
    S128 most() const { return also_ ? std::max(most_, *also_) : most_; }
    bool isOne() const { return least_ == most_ && !also_; }
    /// Whether some value is in both.
    bool meets(IntSpan const & other) const;
    /// What becomes of a single value as an element of a list or set.
    IntSpan asElement() const;

    /// "0 to 2 or 256", "-5".
    String text() const;

    bool operator==(IntSpan const &) const = default;

private:
    bool has(S128 const & value) const { return value >= least_ && value <= most_; }

    S128 least_;
    S128 most_;
    std::optional<S128> also_; ///< outside of the two
};

} // namespace Qcf::Documents
