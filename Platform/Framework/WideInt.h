#pragma once

#include <boost/multiprecision/cpp_int.hpp>

/// 128-bit integers with sign-magnitude representation: `S128` holds every value of
/// -(2^128 - 1) .. 2^128 - 1, so sums, differences and single products of 64-bit magnitudes are
/// exact. `U128` wraps at 2^128 as built-in unsigned integers do.
///
/// This header is costly to compile; include it where wide values are used, not in passing.
using S128 = boost::multiprecision::int128_t;
using U128 = boost::multiprecision::uint128_t;
