#pragma once

#include "Lists/Codecs.h"
#include "Lists/DeflateHead.h"

#include <memory>
#include <vector>

#include <isa-l.h>

namespace Qcf::Lists {

/// Private to this folder: gzip data by ISA-L, and by zlib wherever the two could differ.
///
/// ISA-L takes codes that are not complete, and yields bytes where zlib finds damage. So it gets
/// one block at a time, and only if the block's head is such that both take it. A block at which it
/// fails, at which the data end, or which is very long is given to zlib from its beginning; what
/// was handed out of it is left out then. The bytes before damage are those of zlib alone in any
/// case.
class FastGzip {
public:
    static constexpr char const * name = Gzip::name;
    static constexpr std::size_t magicSize = Gzip::magicSize;
    static constexpr std::size_t padding = Gzip::padding;
    static bool starts(std::string_view head) { return Gzip::starts(head); }
    static void inputIs(z_stream & stream, char * bytes) { Gzip::inputIs(stream, bytes); }
    static void outputIs(z_stream & stream, U8 * to) { Gzip::outputIs(stream, to); }

    FastGzip();
    FastGzip(FastGzip const &) = delete;
    FastGzip & operator=(FastGzip const &) = delete;
    ~FastGzip() { inflateEnd(&slow_); }

    z_stream & stream() { return head_.stream(); }
    void restart();
    /// `isDry` says that the input at hand is the last.
    CodecState step(bool isDry);

private:
    enum class Phase : U8 {
        head,  ///< of the member: zlib's
        block, ///< between blocks
        fast,  ///< within one that ISA-L has
        slow,  ///< within one that zlib has
        tail,  ///< behind the blocks: checksum and size
    };

    CodecState stepOnce(bool isDry);
    CodecState readHead();
    void startBlock();
    CodecState decodeFast(bool isDry);
    CodecState decodeSlow();
    int callSlow();
    CodecState readTail();

    void startFast(bool isLast);
    /// Gives zlib the block from its beginning.
    void startSlow();
    void endBlock();

    /// Bytes were written there for the reader.
    void note(U8 const * from, std::size_t size);
    /// The next byte behind the blocks; -1 where there is none at hand.
    int nextByte();

    Gzip head_; ///< of its stream all others use input and output
    z_stream slow_{};
    std::unique_ptr<inflate_state> fast_;
    Phase phase_ = Phase::head;
    bool isLast_ = false; ///< the block

    /// Bits that were taken out of the input and belong to what comes next.
    U64 held_ = 0;
    U32 heldBits_ = 0;

    // Of the block, as long as it may have to be given to zlib.
    std::vector<U8> again_;   ///< its input
    std::size_t againAt_ = 0; ///< what zlib has had of that
    U64 startHeld_ = 0;       ///< the bits that were held before it
    U32 startHeldBits_ = 0;
    std::vector<U8> startWindow_; ///< the last bytes before it
    U64 yielded_ = 0;             ///< bytes that were handed out
    U64 unwanted_ = 0; ///< of those that zlib yields again, the ones that are still to come
    U8 lastByte_ = 0;  ///< that zlib took

    // Of the member.
    std::vector<U8> window_; ///< the last bytes
    U32 checksum_ = 0;
    U32 size_ = 0;
    U64 tail_ = 0;
    U32 tailBytes_ = 0;
};

} // namespace Qcf::Lists
