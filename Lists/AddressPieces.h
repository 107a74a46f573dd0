#pragma once

#include "Platform/Framework/Types.h"

#include <vector>

namespace Qcf::Lists {

/// The IPv4 addresses cut into pieces, each with a word of bits: what a prefix list permits in
/// each.
///
///     AddressPieces pieces;
///     pieces.add(0x0a000000, bits);  // from 10.0.0.0 on
///     pieces.add(0x0b000000, 0);     // up to 11.0.0.0
///     pieces.seal();
///     pieces.bitsOf(0x0a010203);     // bits
///
/// A question looks into a table over the leading bits of the address, whose entries have a few
/// pieces at most, mostly: what it costs hardly depends on the size of the list. Immutable once
/// sealed: any number of threads may ask.
class AddressPieces {
public:
    /// The bits from `start` on, up to the start of the piece added next. Starts must not fall; the
    /// last one of equal starts counts. Addresses before the first piece have no bits.
    void add(U32 start, U32 bits);
    /// To be called after the last piece, before the first question.
    void seal();

    /// The bits of the piece that the address (its numeric value) lies in.
    U32 bitsOf(U32 address) const {
        U32 const bucket = address >> shift_;
        U32 const first = firstOfBucket_[bucket];
        U32 const count = firstOfBucket_[bucket + 1] - first;
        // The last piece that does not begin behind the address; it may be that of a bucket before.
        // Few are looked at without a branch that would have to be foreseen.
        U32 behind = first;
        if (count <= fewPieces) {
            for (U32 i = 0; i < fewPieces; ++i) {
                behind += static_cast<U32>(i < count && pieces_[first + i].start <= address);
            }
        } else {
            behind = firstBehind(first, count, address);
        }
        return pieces_[behind - 1].bits;
    }

private:
    /// Up to so many pieces of an entry of the table are all looked at.
    static constexpr U32 fewPieces = 4;

    /// A piece reaches from its start to that of the next one.
    struct Piece {
        U32 start;
        U32 bits;
    };

    /// Bisection, for the rare entries of the table with many pieces.
    U32 firstBehind(U32 first, U32 count, U32 address) const;

    std::vector<Piece> pieces_{{0, 0}}; ///< the first one begins at 0
    /// By the leading bits of an address the pieces that start there; one more at the end.
    std::vector<U32> firstOfBucket_;
    /// Bits of an address that the table does not look at.
    U32 shift_ = 0;
};

} // namespace Qcf::Lists
