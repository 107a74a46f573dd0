#pragma once

#include "QcfLib/QcfEval.h"

#include <optional>

/// What can be said of predicates and constants without a route, from the ranges of attributes. All
/// functions look at the node given and its operands; they walk no tree and keep nothing.
namespace Qcf::Documents {

/// Whether a predicate is true for every route or (false) for none; nothing where that depends, or
/// is not known. Knows comparisons with constants, by the ranges of attributes, and of a value with
/// itself; memberships of integers in literal sets; constants and their negations.
std::optional<bool> constantAnswer(Eval::Expression const & predicate);

/// Why a comparison's answer is constant: "med (0 to 4294967295) and -1". Empty for other nodes.
String comparedValues(Eval::Expression const & comparison);

/// The constants that the node itself compares, assigns or collects and that no value of the
/// attribute or the set can be: "IntAssign.rhs is 256, origin is from 0 to 2". Empty for none.
String constantsOutOfRange(Eval::AetNodeBase const & node);

} // namespace Qcf::Documents
