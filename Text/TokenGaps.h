#pragma once

#include "Text/TokenTree.h"

namespace Qcf::Text {

/// How many blanks stand before a token when it does not begin a line: one, with these exceptions.
///
/// - None before `,` and `;`, within `f(...)`, in empty brackets, around `..`, between a field and
///   its `:`.
/// - As many as stood there, none or one, before the `(` behind a name and beside `@`: they tell a
///   call from a group, and a number of a call from a node.
/// - Two between entries of a list that stand on one line.
///
/// Tokens that would run together without a blank keep it. `i` is not 0; `inside` is what the
/// innermost brackets around the token hold.
U32 blanksBefore(TokenTree const & tree, U32 i, BracketKind inside);

} // namespace Qcf::Text
