#pragma once

#include "Platform/Framework/Types.h"

#include <vector>

namespace Qcf::Questions {

/// One change of a policy text that tests should notice.
struct Mutant {
    /// Bytes that are replaced, rising and apart; of an insertion none.
    struct Piece {
        U32 begin;
        U32 end;
        String text;
    };

    U32 at = 0;  ///< the byte that it is told by
    String from; ///< what stands there
    String to;   ///< what stands there instead; empty for nothing
    std::vector<Piece> pieces;
};

} // namespace Qcf::Questions
