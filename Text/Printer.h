#pragma once

#include "Documents/Program.h"

namespace Qcf::Text {

/// Trees as policy text, the same bytes in every run:
///
///     Documents::Program const program = Documents::readProgramFile("policy.json");
///     std::cout << printPolicy(program);
///
/// Every tree has a text, and the text reads back to an equal one with the same slots of lists and
/// numbers of calls: what has no spelling, or what its spelling would be read as something else,
/// stands as `@Class(field: value, ...)`. Annotations, slots and keys of functions stand only where
/// reading would derive others; keys of other nodes are not kept.
///
/// Functions stand in the order of the program. One that only calls reach stands before the first
/// function that calls it.
///
/// Takes time linear in the text, which is read once to know what it derives. What a tree shares is
/// written at each of its places, so that the text can be far longer than the document;
/// ProgramLimits bound it. Trees that are nested deeper than texts may be have a text that is
/// refused.
String printPolicy(Documents::Program const & program);

/// The same of one function, as it stands in the text of the whole program, of which it must be
/// one. What it calls is not in the text.
String printPolicy(Documents::Program const & program, Eval::Function const & function);

} // namespace Qcf::Text
