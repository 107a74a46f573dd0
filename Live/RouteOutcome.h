#pragma once

#include "Platform/Framework/Types.h"

namespace Qcf::Live {

/// What is not evaluated has no verdict.
enum class Verdict : U8 { rejected, accepted, unknown, none };
constexpr std::size_t verdictKinds = 4;
/// "true", "false", "unknown", and "none".
char const * verdictName(Verdict verdict);

/// What a policy makes of a route, as far as it is kept.
struct RouteOutcome {
    /// Statements beyond are not told apart.
    static constexpr U16 mostStatements = 0x7fff;

    Verdict verdict = Verdict::none;
    U16 decidedBy = 0; ///< the deciding statement by PolicyStatements; 0 for none that is known
    /// Of two policies that both accept it, what this one writes is not what the other one does.
    bool writesOther = false;
};

} // namespace Qcf::Live
