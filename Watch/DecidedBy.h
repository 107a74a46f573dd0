#pragma once

#include "Platform/Framework/Types.h"

#include <vector>

/// Which statements decided the verdicts of a table, for people.
namespace Qcf::Watch {

/// A statement, with how many verdicts it decided. Place and line may hold any characters.
struct DecidedVerdicts {
    U64 verdicts = 0;
    String place;
    String line;
};

/// "14.0 %" of all; "0.0 %" of none.
String percentText(U64 part, U64 all);
/// The text behind as many blanks as make it that wide.
String rightAligned(String text, std::size_t width);

/// A heading and a line a statement, the largest share first, ten at most and then how many more
/// there are; last what came to the function's end. Of equal shares the first one given stands
/// first.
///
///     decided by
///         38.0 %  policy.qcf:37  return false because bogon
///         14.0 %  policy.qcf:69  return false because length
///          2.0 %  the function's end
String decidedByText(std::vector<DecidedVerdicts> statements, U64 atEnd, U64 routes);

} // namespace Qcf::Watch
