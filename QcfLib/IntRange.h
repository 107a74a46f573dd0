#pragma once

#include "Platform/Framework/Types.h"

/// Integers as operators reckon with them.
namespace Qcf::Eval {

/// An integer's value: constants and arguments may be negative, attributes never are. A negative
/// zero is zero.
struct SignedMagnitude {
    // Two parts, since neither a signed nor an unsigned word holds every value.
    bool negative;
    U64 magnitude;

    /// What decides whether an operand adds or subtracts.
    bool strictlyNegative() const { return negative && magnitude != 0; }
};

/// What an integer attribute may be set to; results are forced into it. The default value may lie
/// outside, and may be assigned all the same.
///
///     IntRange{.min = 0, .max = 255, .defaultValue = 256}.sum(250, 10); // 255
struct IntRange {
    // Both ends included.
    U64 min;
    U64 max;
    U64 defaultValue;

    /// The value, or the nearer end of the range.
    U64 clamp(U64 value) const { return value < min ? min : value > max ? max : value; }
    U64 sum(U64 a, U64 b) const {
        // A sum of two magnitudes that wraps lies above every range.
        U64 const result = a + b;
        return result < a ? max : clamp(result);
    }
    /// A difference below zero is the smallest value.
    U64 difference(U64 a, U64 b) const { return a < b ? min : clamp(a - b); }
};

} // namespace Qcf::Eval
