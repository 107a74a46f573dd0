#pragma once

#include "Platform/Framework/Types.h"

namespace Qcf::Lists {

/// Private to this folder: bits of deflate data, the lowest first, of which some may have been
/// taken out of their bytes already.
struct DeflateBits {
    U64 held; ///< these come first
    U32 heldBits;
    U8 const * at;
    U8 const * end;
};

/// What a block of deflate data says of itself.
struct DeflateHead {
    bool isLast;
    /// It has codes of its own, which are complete: no decoder can find fault with them.
    bool isPlain;
};

/// Looks at the head of a block, which is never longer than `longestDeflateHead`; of fewer bytes it
/// says that it is not plain.
DeflateHead deflateHeadOf(DeflateBits bits);
constexpr std::size_t longestDeflateHead = 600;

} // namespace Qcf::Lists
