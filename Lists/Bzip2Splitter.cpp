#include "Lists/Bzip2Splitter.h"

#include <algorithm>
#include <utility>

namespace Qcf::Lists {

using Bzip2Bits::bitsAt;
using Bzip2Bits::blockMark;
using Bzip2Bits::checksumBits;
using Bzip2Bits::endMark;
using Bzip2Bits::findMark;
using Bzip2Bits::headBits;
using Bzip2Bits::markBits;
using Bzip2Bits::Stand;
using Bzip2Bits::standFor;
using Bzip2Bits::Writer;

namespace {

/// No block is longer: 900,000 symbols of 20 bits and its tables.
constexpr U64 longestBlock = U64{8} * (std::size_t{3} << 20);

} // namespace

std::optional<Bzip2Piece> Bzip2Splitter::next() {
    if (ended_) {
        return std::nullopt;
    }
    if (!started_) {
        if (!isHeld(headBits + markBits)) {
            return inputEnded_ ? std::optional(rest()) : std::nullopt;
        }
        if (!isPart(0)) {
            return rest();
        }
        started_ = true;
        digit_ = static_cast<char>(bits(headBits - 8, 8));
        at_ = searched_ = headBits;
    }
    return bits(at_, markBits) == blockMark ? nextBlock() : nextEnd();
}

std::optional<Bzip2Piece> Bzip2Splitter::nextBlock() {
    searched_ = std::max(searched_, at_ + markBits + checksumBits);
    auto const mark = findMark(held_, searched_ - heldAt_ * 8);
    if (!mark) {
        // One may have begun in the last bytes.
        U64 const settled = heldEnd() - std::min<U64>(heldEnd(), markBits - 1);
        searched_ = std::max(searched_, settled);
        bool const isTooLong = searched_ - at_ > longestBlock;
        return isTooLong || inputEnded_ ? std::optional(rest()) : std::nullopt;
    }
    U64 const end = *mark + heldAt_ * 8;
    auto const checksum = static_cast<U32>(bits(at_ + markBits, checksumBits));
    Bzip2Piece const block{Bzip2Piece::Kind::block, digit_, at_, end, checksum};
    at_ = searched_ = end;
    return block;
}

std::optional<Bzip2Piece> Bzip2Splitter::nextEnd() {
    U64 const behind = at_ + markBits + checksumBits;
    U64 const part = (behind + 7) / 8 * 8;
    if (!isHeld(part + headBits + markBits)) {
        return inputEnded_ ? std::optional(rest()) : std::nullopt;
    }
    if (!isPart(part)) {
        return rest();
    }
    auto const checksum = static_cast<U32>(bits(at_ + markBits, checksumBits));
    Bzip2Piece const end{Bzip2Piece::Kind::end, digit_, at_, behind, checksum};
    digit_ = static_cast<char>(bits(part + headBits - 8, 8));
    at_ = searched_ = part + headBits;
    return end;
}

Bzip2Piece Bzip2Splitter::rest() {
    ended_ = true;
    return {Bzip2Piece::Kind::rest, digit_, at_, at_, 0};
}

bool Bzip2Splitter::isPart(U64 at) const {
    U64 const digit = bits(at + headBits - 8, 8);
    U64 const mark = bits(at + headBits, markBits);
    return bits(at, headBits - 8) == 0x425a68 && digit >= '1' && digit <= '9' &&
           (mark == blockMark || mark == endMark);
}

void Bzip2Splitter::take(ByteStream & from, std::size_t size) {
    std::size_t const before = held_.size();
    held_.resize(before + size);
    std::size_t const got = from.read(reinterpret_cast<U8 *>(held_.data() + before), size);
    held_.resize(before + got);
    inputEnded_ = got == 0;
}

// The checksum of one block is that of all.
String Bzip2Splitter::bytesOf(Bzip2Piece const & block) const {
    Writer part = standFor(block.digit, std::nullopt, 0).head;
    part.addRange(held_, block.at - heldAt_ * 8, block.end - heldAt_ * 8);
    part.add(endMark, markBits);
    part.add(block.checksum, checksumBits);
    return part.bytes();
}

std::pair<Bzip2Splitter::Head, std::size_t>
Bzip2Splitter::headFrom(Bzip2Piece const & piece, std::optional<U32> checksum) const {
    U64 const from = piece.at / 8;
    std::string_view const held = std::string_view(held_).substr(from - heldAt_);
    if (!started_) {
        return {{String(held), from}, 0};
    }
    auto const bit = static_cast<U32>(piece.at % 8);
    Stand stand = standFor(piece.digit, checksum, bit);
    // The two meet within a byte.
    U64 const standBytes = stand.head.size() / 8;
    if (bit != 0) {
        stand.head.add(bitsAt(held, bit, 8 - bit), 8 - bit);
    }
    String bytes = stand.head.bytes();
    bytes += held.substr(bit != 0 ? 1 : 0);
    return {{std::move(bytes), from - standBytes}, stand.yields};
}

void Bzip2Splitter::forgetBefore(U64 at) {
    U64 const bytes = at / 8 - heldAt_;
    held_.erase(0, bytes);
    heldAt_ += bytes;
}

} // namespace Qcf::Lists
