#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Fixed-width names used throughout. `S` names are signed, `F` names IEEE 754 floats. Values that
/// travel, are hashed or are counted have one of these types, so that they mean the same on every
/// machine; `std::size_t` is for sizes and indices of containers.
using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;
using S64 = std::int64_t;
using F32 = float;
using F64 = double;

/// Text, UTF-8 by convention. Where bytes of any kind may stand in it, such as names of functions,
/// the reader of outside data says so. A `String` owns its text; what only reads takes a
/// `std::string_view`.
using String = std::string;

static_assert(sizeof(F32) == 4 && sizeof(F64) == 8, "floats are hashed and stored by their bits");
