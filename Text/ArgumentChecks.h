#pragma once

#include "Text/Declarations.h"

namespace Qcf::Text {

/// The bandwidth that a whole number may be meant as: its type is told by its shape. Empty for what
/// is none.
String meantBandwidth(Draft const & draft, Sources const & sources);

/// Tells where the arguments of a call are too few, too many, or of another type than the
/// parameters of the function.
void checkArguments(CallDraft const & call, FunctionDeclaration const & function,
                    Sources const & sources, Messages & messages);

/// The same for a built-in function that no text declares. Those that it reads must be there; what
/// stands behind them, documents may pass.
void checkBuiltInArguments(CallDraft const & call, Eval::ClassFacts const & facts,
                           Messages & messages);

} // namespace Qcf::Text
