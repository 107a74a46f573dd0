#pragma once

#include "Questions/Mutant.h"
#include "Text/Declarations.h"
#include "Text/TokenTree.h"

namespace Qcf::Questions {

/// The mutants of a text, in its order: in functions comparisons, bounds, operators, list names and
/// constants, in lists what entries permit, their bounds and their constants, and the values of
/// constants. Tests, reasons, slots and imports stay. Not all of them have to compile.
///
///     for (Mutant const & mutant : mutantsOf(*tree, policy.declarations())) ...
std::vector<Mutant> mutantsOf(Text::TokenTree const & tree, Text::Declarations const & declared);

/// The text with the change made.
String mutated(std::string_view text, Mutant const & mutant);

/// What a literal or a name of a value may be changed into; none for other words. `isBound` says
/// that numbers go both ways.
std::vector<String> otherConstants(std::string_view word, bool isBound);

} // namespace Qcf::Questions
