#include "Lists/FastGzip.h"

#include <algorithm>
#include <array>
#include <tuple>

namespace Qcf::Lists {

namespace {

constexpr std::size_t windowSize = std::size_t{32} << 10;
/// Input of a block that is kept to be read again; the blocks of a table have a tenth of it.
constexpr std::size_t mostAgain = std::size_t{512} << 10;

} // namespace

FastGzip::FastGzip() : fast_(std::make_unique<inflate_state>()) {
    // Negative: neither head nor tail, which are read here.
    if (inflateInit2(&slow_, -MAX_WBITS) != Z_OK) {
        throw std::bad_alloc();
    }
    isal_inflate_init(fast_.get());
}

void FastGzip::restart() {
    head_.restart();
    phase_ = Phase::head;
    held_ = heldBits_ = 0;
    window_.clear();
    checksum_ = size_ = 0;
    tail_ = tailBytes_ = 0;
}

// Bits that are held may be all that is needed: so it goes on until there is nothing to go on with.
CodecState FastGzip::step(bool isDry) {
    z_stream & io = stream();
    for (;;) {
        auto const before = std::tuple(phase_, io.avail_in, io.avail_out, againAt_, unwanted_);
        CodecState const state = stepOnce(isDry);
        bool const isStill =
            before == std::tuple(phase_, io.avail_in, io.avail_out, againAt_, unwanted_);
        if (state != CodecState::more || isStill || io.avail_out == 0) {
            return state;
        }
    }
}

CodecState FastGzip::stepOnce(bool isDry) {
    switch (phase_) {
    case Phase::head:
        return readHead();
    case Phase::block:
        startBlock();
        return CodecState::more;
    case Phase::fast:
        return decodeFast(isDry);
    case Phase::slow:
        return decodeSlow();
    case Phase::tail:
        return readTail();
    }
    return CodecState::damaged;
}

CodecState FastGzip::readHead() {
    constexpr int behindHead = 128;
    z_stream & io = stream();
    int const code = inflate(&io, Z_BLOCK);
    if (code != Z_OK && code != Z_BUF_ERROR) {
        return CodecState::damaged;
    }
    if ((io.data_type & behindHead) != 0) {
        phase_ = Phase::block;
    }
    return CodecState::more;
}

void FastGzip::startBlock() {
    z_stream const & io = stream();
    again_.clear();
    yielded_ = 0;
    startHeld_ = held_;
    startHeldBits_ = heldBits_;
    startWindow_ = window_;
    auto const head = deflateHeadOf({held_, heldBits_, io.next_in, io.next_in + io.avail_in});
    if (head.isPlain) {
        startFast(head.isLast);
    } else {
        startSlow();
    }
}

// To ISA-L each block is the last one, so that it stops at its end.
void FastGzip::startFast(bool isLast) {
    z_stream & io = stream();
    if (heldBits_ == 0) {
        again_.push_back(*io.next_in);
        held_ = *io.next_in++;
        --io.avail_in;
        heldBits_ = 8;
    }
    isal_inflate_reset(fast_.get());
    if (!window_.empty()) {
        isal_inflate_set_dict(fast_.get(), window_.data(), static_cast<U32>(window_.size()));
    }
    fast_->read_in = held_ | 1;
    fast_->read_in_length = static_cast<int>(heldBits_);
    isLast_ = isLast;
    phase_ = Phase::fast;
}

CodecState FastGzip::decodeFast(bool isDry) {
    z_stream & io = stream();
    U8 const * const from = io.next_in;
    U8 * const to = io.next_out;
    fast_->next_in = io.next_in;
    fast_->avail_in = io.avail_in;
    fast_->next_out = io.next_out;
    fast_->avail_out = io.avail_out;
    int const code = isal_inflate(fast_.get());
    io.next_in = fast_->next_in;
    io.avail_in = fast_->avail_in;
    io.next_out = fast_->next_out;
    io.avail_out = fast_->avail_out;
    again_.insert(again_.end(), from, static_cast<U8 const *>(io.next_in));
    if (code != ISAL_DECOMP_OK) {
        // What came with the failure may be more than there was before the damage.
        io.avail_out += static_cast<U32>(io.next_out - to);
        io.next_out = to;
        startSlow();
        return CodecState::more;
    }
    note(to, static_cast<std::size_t>(io.next_out - to));
    if (fast_->block_state == ISAL_BLOCK_FINISH) {
        held_ = fast_->read_in;
        heldBits_ = static_cast<U32>(fast_->read_in_length);
        endBlock();
        return CodecState::more;
    }
    bool const isStuck = isDry && io.next_out == to;
    if (isStuck || again_.size() > mostAgain) {
        startSlow();
    }
    return CodecState::more;
}

void FastGzip::startSlow() {
    // What is no whole byte goes before the bytes.
    U32 const bits = startHeldBits_ % 8;
    std::array<U8, sizeof startHeld_> bytes{};
    for (U32 i = 0; i < startHeldBits_ / 8; ++i) {
        bytes[i] = static_cast<U8>(startHeld_ >> bits >> (8 * i));
    }
    again_.insert(again_.begin(), bytes.begin(), bytes.begin() + startHeldBits_ / 8);
    againAt_ = 0;
    unwanted_ = yielded_;
    inflateReset(&slow_);
    if (!startWindow_.empty()) {
        inflateSetDictionary(&slow_, startWindow_.data(), static_cast<U32>(startWindow_.size()));
    }
    inflatePrime(&slow_, static_cast<int>(bits),
                 static_cast<int>(startHeld_ & ((U64{1} << bits) - 1)));
    phase_ = Phase::slow;
}

CodecState FastGzip::decodeSlow() {
    constexpr int behindBlock = 128;
    constexpr int lastBlock = 64;
    int const code = callSlow();
    if (code != Z_OK && code != Z_BUF_ERROR) {
        return CodecState::damaged;
    }
    if ((slow_.data_type & behindBlock) == 0) {
        return CodecState::more;
    }
    isLast_ = (slow_.data_type & lastBlock) != 0;
    // Between blocks zlib holds bits of the last byte alone.
    heldBits_ = static_cast<U32>(slow_.data_type) & 7;
    held_ = heldBits_ > 0 ? U64{lastByte_} >> (8 - heldBits_) : 0;
    for (; againAt_ < again_.size() && heldBits_ <= 56; heldBits_ += 8) {
        held_ |= U64{again_[againAt_++]} << heldBits_;
    }
    // ISA-L looks a few bytes ahead; more of them are left where it fails at what zlib takes, which
    // the heads of blocks rule out.
    if (againAt_ < again_.size()) {
        return CodecState::damaged;
    }
    endBlock();
    return CodecState::more;
}

/// Calls zlib once: with what it is given again or with input, for nobody or for the reader.
int FastGzip::callSlow() {
    z_stream & io = stream();
    bool const isAgain = againAt_ < again_.size();
    bool const isUnwanted = unwanted_ > 0;
    std::array<U8, 4096> nobody;
    slow_.next_in = isAgain ? again_.data() + againAt_ : io.next_in;
    slow_.avail_in = isAgain ? static_cast<U32>(again_.size() - againAt_) : io.avail_in;
    slow_.next_out = isUnwanted ? nobody.data() : io.next_out;
    slow_.avail_out =
        static_cast<U32>(isUnwanted ? std::min<U64>(unwanted_, nobody.size()) : U64{io.avail_out});
    U8 const * const from = slow_.next_in;
    U8 const * const to = slow_.next_out;
    int const code = inflate(&slow_, Z_BLOCK);
    auto const taken = static_cast<U32>(slow_.next_in - from);
    auto const given = static_cast<U32>(slow_.next_out - to);
    lastByte_ = taken > 0 ? from[taken - 1] : lastByte_;
    if (isAgain) {
        againAt_ += taken;
    } else {
        io.next_in += taken;
        io.avail_in -= taken;
    }
    if (isUnwanted) {
        unwanted_ -= given;
    } else {
        note(to, given);
        io.next_out += given;
        io.avail_out -= given;
    }
    return code;
}

void FastGzip::endBlock() {
    phase_ = isLast_ ? Phase::tail : Phase::block;
    if (isLast_) {
        held_ >>= heldBits_ % 8;
        heldBits_ -= heldBits_ % 8;
    }
}

int FastGzip::nextByte() {
    z_stream & io = stream();
    if (heldBits_ > 0) {
        auto const byte = static_cast<U8>(held_);
        held_ >>= 8;
        heldBits_ -= 8;
        return byte;
    }
    if (io.avail_in == 0) {
        return -1;
    }
    --io.avail_in;
    return *io.next_in++;
}

CodecState FastGzip::readTail() {
    constexpr U32 checksumBytes = 4;
    constexpr U32 tailBytes = 8;
    while (tailBytes_ < tailBytes) {
        int const byte = nextByte();
        if (byte < 0) {
            return CodecState::more;
        }
        tail_ |= static_cast<U64>(byte) << (8 * tailBytes_++);
        bool const isChecksum = tailBytes_ == checksumBytes;
        if (isChecksum && static_cast<U32>(tail_) != checksum_) {
            return CodecState::damaged;
        }
    }
    return static_cast<U32>(tail_ >> 32) == size_ ? CodecState::ended : CodecState::damaged;
}

void FastGzip::note(U8 const * from, std::size_t size) {
    checksum_ = crc32_gzip_refl(checksum_, from, size);
    size_ += static_cast<U32>(size);
    yielded_ += size;
    std::size_t const kept = std::min(size, windowSize);
    if (window_.size() + kept > windowSize) {
        auto const over = static_cast<std::ptrdiff_t>(window_.size() + kept - windowSize);
        window_.erase(window_.begin(), window_.begin() + over);
    }
    window_.insert(window_.end(), from + size - kept, from + size);
}

} // namespace Qcf::Lists
