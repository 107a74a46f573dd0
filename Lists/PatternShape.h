#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>

namespace Qcf::Lists {

/// With how many others an expression may be searched for as one. A search remembers which parts of
/// which expressions the text may be within; where they can be within many at once, in any mixture,
/// it comes to new mixtures all the time and takes longer than one search for each.
enum class Joining : U8 {
    alone, ///< it loops over what others may begin in: `7.{20}1`, `_[0-9]*12[0-9]*_`
    few,   ///< digits of AS numbers are left open, which mixes within a number: `_42[0-9]{8}_`
    any,   ///< texts, places and alternatives: what was read so far tells where the text is
};

/// What stands at the start or the end of a number, for an expression about AS paths.
inline constexpr std::string_view numberBoundary = "(?:^|$|[ {}(),])";

/// Told by the text alone, which has been read as an expression already. What it does not know is
/// `alone`.
Joining joiningOf(std::string_view expression);

} // namespace Qcf::Lists
