#pragma once

#include "Lists/ByteStream.h"
#include "Lists/Bzip2Blocks.h"
#include "Lists/Bzip2Splitter.h"

#include <deque>

namespace Qcf::Lists {

/// Private to this folder: bzip2 data whose blocks are decompressed side by side and delivered in
/// order.
///
/// What is not the beginning of a sound block, as marks tell it, is left to the serial decompressor
/// from there on: damage, a cut, the end of the data and what follows it, blocks that grow beyond
/// measure. It is given a stand-in for the blocks before, so that what it yields and says is what
/// it would if it had read them.
class Bzip2Stream final : public ByteStream {
public:
    Bzip2Stream(std::unique_ptr<ByteStream> from, String head, U32 threads);

    std::size_t read(U8 * to, std::size_t size) override;

private:
    /// A piece and, where it is a block, what becomes of it.
    struct Pending {
        Bzip2Piece piece;
        std::shared_ptr<Bzip2Blocks::Block> block;
    };

    /// Splits off pieces ahead, as long as input need not be waited for.
    void workAhead();
    bool splitOne();
    void readInput();
    /// Copies from the first piece; 0 once it has nothing more to give.
    std::size_t deliver(U8 * to, std::size_t size);
    /// The first piece is through.
    void pass();
    void toSerial();
    std::size_t readSerial(U8 * to, std::size_t size);

    std::unique_ptr<ByteStream> from_;
    Bzip2Splitter splitter_;
    std::deque<Pending> pending_;
    std::size_t most_; ///< pieces that may be pending
    /// Of the first pending block, the bytes that were handed out.
    std::size_t taken_ = 0;
    /// Of the blocks of the part that were delivered; nothing before its first one.
    std::optional<U32> checksum_;
    std::unique_ptr<ByteStream> serial_;
    std::unique_ptr<Bzip2Blocks> blocks_; ///< none once the serial decompressor has taken over
};

} // namespace Qcf::Lists
