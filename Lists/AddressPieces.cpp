#include "Lists/AddressPieces.h"

#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <bit>

/// Made for the one question that is asked for nearly every route. The table turns most of a search
/// into one look.
namespace Qcf::Lists {

void AddressPieces::add(U32 start, U32 bits) {
    QCF_ASSERT(pieces_.back().start <= start);
    // A prefix that begins where the one around it does takes its place.
    if (pieces_.back().start == start) {
        pieces_.back().bits = bits;
    } else {
        pieces_.push_back({start, bits});
    }
}

void AddressPieces::seal() {
    // Prefixes stand in clusters: four times as many buckets leave most of them a piece or none.
    constexpr U32 widest = 15;
    auto const tableBits = std::min(static_cast<U32>(std::bit_width(4 * pieces_.size())), widest);
    shift_ = 32 - tableBits;
    // Counted one place further on, then summed up: an entry so has where its pieces begin, and the
    // next one where they end.
    firstOfBucket_.assign((std::size_t{1} << tableBits) + 1, 0);
    for (Piece const & piece : pieces_) {
        ++firstOfBucket_[(piece.start >> shift_) + 1];
    }
    for (std::size_t i = 1; i < firstOfBucket_.size(); ++i) {
        firstOfBucket_[i] += firstOfBucket_[i - 1];
    }
    // A question reads as many as there may be in a bucket, counting those that are.
    pieces_.resize(pieces_.size() + fewPieces, {~U32{0}, 0});
    pieces_.shrink_to_fit();
}

U32 AddressPieces::firstBehind(U32 first, U32 count, U32 address) const {
    auto const from = pieces_.begin() + first;
    auto const behind =
        std::upper_bound(from, from + count, address,
                         [](U32 value, Piece const & piece) { return value < piece.start; });
    return static_cast<U32>(behind - pieces_.begin());
}

} // namespace Qcf::Lists
