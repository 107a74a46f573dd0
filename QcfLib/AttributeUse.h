#pragma once

#include "QcfLib/QcfEvalAttributeSet.h"

#include <initializer_list>

/// Which attributes a function uses, and which of them its agent does not have.
///
///     auto const offered = attributesNamed({"prefix", "med"}, {"local_preference"});
///     auto const lacking = attributesLacking(attributesUsed(*function), offered);
///     if (lacking != AccessibleAttributes()) { std::cerr << lacking.toStrep(); } // "as_path =
///     read"
///
/// An attribute that an agent does not override reads as its default, and what is written to it is
/// dropped: asked once, before the first route, this tells it from a policy that merely matches
/// nothing. Any thread may ask; it takes a walk over the function's nodes.
namespace Qcf::Eval {

class Function;

/// What the function reads and writes, called functions included, as it follows from its tree. What
/// it declares of itself (`Function::accessedAttributes`) is not looked at, and leaves out callees.
/// An attribute that is only assigned is written, not read.
AccessibleAttributes attributesUsed(Function const & function);

/// Attributes by their names in the sets: "next_hop", "isis_levels". Throws std::out_of_range for a
/// name that no flag has, or that of an attribute which cannot be written among `written`.
AccessibleAttributes attributesNamed(std::initializer_list<std::string_view> read,
                                     std::initializer_list<std::string_view> written);

/// What is used and not offered.
AccessibleAttributes attributesLacking(AccessibleAttributes const & used,
                                       AccessibleAttributes const & offered);

} // namespace Qcf::Eval
