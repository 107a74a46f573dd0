#pragma once

#include "Questions/Mutant.h"
#include "Text/TokenTree.h"

#include <optional>

namespace Qcf::Questions {

/// The mutant that has another operator at that `and`, `or` or `??`; what stands on its sides goes
/// into parentheses, since operators of two kinds do not mix. Nothing where the text around is no
/// chain.
std::optional<Mutant> mutantOfOperator(Text::TokenTree const & tree, U32 at);

} // namespace Qcf::Questions
