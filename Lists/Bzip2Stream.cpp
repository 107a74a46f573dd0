#include "Lists/Bzip2Stream.h"

#include "Lists/DecompressingStream.h"
#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace Qcf::Lists {

Bzip2Stream::Bzip2Stream(std::unique_ptr<ByteStream> from, String head, U32 threads)
    : from_(std::move(from)),
      splitter_(std::move(head)),
      // One that is delivered, one in work and one that waits a thread.
      most_(2 * std::size_t{threads} + 1),
      blocks_(std::make_unique<Bzip2Blocks>(threads)) {}

std::size_t Bzip2Stream::read(U8 * to, std::size_t size) {
    while (!serial_) {
        workAhead();
        // Nothing is in work: now it is worth waiting for the source.
        if (pending_.empty()) {
            readInput();
        } else if (std::size_t const got = deliver(to, size); got > 0) {
            return got;
        }
    }
    return readSerial(to, size);
}

void Bzip2Stream::workAhead() {
    while (pending_.size() < most_) {
        if (splitOne()) {
            continue;
        }
        if (!splitter_.takesMore() || !from_->isReady()) {
            return;
        }
        readInput();
    }
}

bool Bzip2Stream::splitOne() {
    auto piece = splitter_.next();
    if (!piece) {
        return false;
    }
    auto block = piece->kind == Bzip2Piece::Kind::block ? blocks_->start(splitter_.bytesOf(*piece))
                                                        : nullptr;
    pending_.push_back({*piece, std::move(block)});
    return true;
}

void Bzip2Stream::readInput() {
    constexpr std::size_t inputSize = std::size_t{64} << 10;
    splitter_.take(*from_, inputSize);
}

std::size_t Bzip2Stream::deliver(U8 * to, std::size_t size) {
    Pending const & first = pending_.front();
    switch (first.piece.kind) {
    case Bzip2Piece::Kind::block:
        break;
    case Bzip2Piece::Kind::end:
        if (first.piece.checksum != checksum_.value_or(0)) {
            toSerial();
            return 0;
        }
        checksum_.reset();
        pass();
        return 0;
    case Bzip2Piece::Kind::rest:
        toSerial();
        return 0;
    }
    if (!blocks_->await(*first.block)) {
        toSerial();
        return 0;
    }
    std::size_t const got = std::min(size, first.block->size - taken_);
    std::memcpy(to, first.block->bytes.get() + taken_, got);
    taken_ += got;
    if (taken_ == first.block->size) {
        checksum_ = std::rotl(checksum_.value_or(0), 1) ^ first.piece.checksum;
        pass();
    }
    return got;
}

void Bzip2Stream::pass() {
    pending_.pop_front();
    taken_ = 0;
    splitter_.forgetBefore(pending_.empty() ? splitter_.at() : pending_.front().piece.at);
}

/// Gives the first piece and all behind it to the serial decompressor.
void Bzip2Stream::toSerial() {
    Bzip2Piece const piece = pending_.front().piece;
    pending_.clear();
    blocks_.reset();
    auto const [head, yields] = splitter_.headFrom(piece, checksum_);
    serial_ = std::make_unique<DecompressingStream<Bzip2>>(std::move(from_), head.bytes, head.at);
    for (std::size_t left = yields; left > 0;) {
        U8 unwanted[4];
        std::size_t const got = serial_->read(unwanted, left);
        QCF_ASSERT_TEXT(got > 0, "the stand-in for blocks is sound");
        left -= got;
    }
}

std::size_t Bzip2Stream::readSerial(U8 * to, std::size_t size) {
    std::size_t const got = serial_->read(to, size);
    fault_ = serial_->fault();
    note_ = serial_->note();
    return got;
}

} // namespace Qcf::Lists
