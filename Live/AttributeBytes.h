#pragma once

#include "Agent/Mrt/MrtFormat.h"

#include <vector>

namespace Qcf::Live {

/// Calls `visit(code, value)` for the path attributes in these bytes, of each code the first one.
/// Throws Damage where one is longer than what is left.
template <typename Visit>
void eachAttribute(std::span<U8 const> bytes, Visit visit) {
    Agent::ByteCursor from(bytes, "path attributes");
    std::array<U64, 4> seen{};
    while (!from.atEnd()) {
        U8 const flags = from.u8();
        U8 const code = from.u8();
        bool const isLong = (flags & Agent::Mrt::extendedLength) != 0;
        std::size_t const length = isLong ? from.u16() : from.u8();
        std::span<U8 const> const value = from.bytes(length);
        U64 & word = seen[code / 64U];
        U64 const bit = U64{1} << (code % 64U);
        if ((word & bit) == 0) {
            word |= bit;
            visit(code, value);
        }
    }
}

/// Appends a path attribute with a value of up to 64 KiB.
void appendAttribute(std::vector<U8> & to, U8 code, std::span<U8 const> value);

/// Which of the prefixes of an UPDATE attributes are kept for: the two have different next hops.
enum class PrefixPlace : U8 { field, attribute };

/// Path attributes as a table keeps them: those of the message without its prefixes, in the form of
/// an entry of TABLE_DUMP_V2. Written over `to`, whose storage is kept.
///
/// MP_UNREACH_NLRI goes. Of MP_REACH_NLRI the next hop stays where the prefixes stood in it, and
/// NEXT_HOP goes then; otherwise it is the other way round. Routes with equal attributes so have
/// equal bytes, however many prefixes their messages had.
struct KeptAttributes {
    std::vector<U8> bytes;
    std::span<U8 const> path; ///< the AS_PATH, in the message
    bool hasLocalPref = false;

    void assign(std::span<U8 const> message, PrefixPlace place);
};

} // namespace Qcf::Live
