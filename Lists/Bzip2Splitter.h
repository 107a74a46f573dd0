#pragma once

#include "Lists/ByteStream.h"
#include "Lists/Bzip2Bits.h"

namespace Qcf::Lists {

/// A piece of bzip2 data, as marks tell them. Places are bits of the stream.
struct Bzip2Piece {
    enum class Kind : U8 {
        block, ///< from its mark to the next one
        end,   ///< of a part, behind which another one begins
        rest,  ///< everything from here on: the last end, or what is no bzip2 data
    };

    Kind kind;
    char digit;   ///< of its part
    U64 at;       ///< where its mark begins; of a rest without one, the byte of the part
    U64 end;      ///< of a block: where the next mark begins
    U32 checksum; ///< of the block, or of all blocks where the part ends
};

/// Cuts bzip2 data into pieces by their marks. Whether a block is sound it cannot tell: a mark may
/// be damaged, or stand in the midst of a block by chance.
class Bzip2Splitter {
public:
    /// `head` is the beginning of the stream.
    explicit Bzip2Splitter(String head) : held_(std::move(head)) {}

    /// The next piece; nothing where more input is needed first, or behind the rest.
    std::optional<Bzip2Piece> next();

    /// Whether more input may lead to more pieces.
    bool takesMore() const { return !ended_ && !inputEnded_; }
    /// Reads more of the stream.
    void take(ByteStream & from, std::size_t size);

    /// A block as a part of its own, with a head and an end, of which it is all.
    String bytesOf(Bzip2Piece const & block) const;

    /// What a serial decompressor is to read first that goes on at a piece, and where in the stream
    /// it stands; behind that it reads on in the stream.
    struct Head {
        String bytes;
        U64 at;
    };
    /// With the checksum of the part's blocks before the piece; and how many bytes it yields that
    /// nobody asked for.
    std::pair<Head, std::size_t> headFrom(Bzip2Piece const & piece,
                                          std::optional<U32> checksum) const;

    /// Where the next piece begins.
    U64 at() const { return at_; }
    /// What stands before that bit is not asked for any more.
    void forgetBefore(U64 at);

private:
    std::optional<Bzip2Piece> nextBlock();
    std::optional<Bzip2Piece> nextEnd();
    Bzip2Piece rest();
    /// Bits at a place of the stream.
    U64 bits(U64 at, U32 count) const { return Bzip2Bits::bitsAt(held_, at - heldAt_ * 8, count); }
    U64 heldEnd() const { return (heldAt_ + held_.size()) * 8; }
    /// Whether a part begins there, and a mark in it.
    bool isPart(U64 at) const;
    bool isHeld(U64 end) const { return end <= heldEnd(); }

    String held_;
    U64 heldAt_ = 0; ///< bytes of the stream before those that are held
    U64 at_ = 0;
    U64 searched_ = 0; ///< no mark begins between `at_` and here
    char digit_ = 0;
    bool started_ = false;
    bool inputEnded_ = false;
    bool ended_ = false; ///< the rest was handed out
};

} // namespace Qcf::Lists
