#pragma once

#include "Platform/Framework/Types.h"

#include <optional>
#include <string_view>

/// Private to this folder: bzip2 data as bits. Blocks start at any bit, behind a mark of 48 bits
/// that tells a block from the end of its part:
///
///     "BZh" and a digit, (block mark, checksum, block)..., end mark, checksum of all, to a byte
namespace Qcf::Lists::Bzip2Bits {

constexpr U64 blockMark = 0x314159265359;
constexpr U64 endMark = 0x177245385090;
constexpr U32 markBits = 48;
constexpr U32 checksumBits = 32;
constexpr U32 headBits = 32; ///< of a part: its letters and its digit

/// `count` bits from bit `at` on, at most 48, the first one highest. Bits behind the end are 0.
U64 bitsAt(std::string_view bytes, U64 at, U32 count);

/// Where the first mark of either kind begins, from bit `from` on; only whole ones are found.
std::optional<U64> findMark(std::string_view bytes, U64 from);

/// Bytes that are put together bit by bit.
class Writer {
public:
    /// Appends the low `count` bits of a value, at most 48.
    void add(U64 value, U32 count);
    /// Appends the bits from `from` up to `to` of these bytes.
    void addRange(std::string_view bytes, U64 from, U64 to);

    U64 size() const { return bits_; }
    /// The bits, filled up with zeros to a byte.
    String const & bytes() const { return bytes_; }

private:
    String bytes_;
    U64 bits_ = 0;
};

/// The head of a part whose blocks have this checksum altogether, and which ends at bit `bit` of a
/// byte: what stands behind it is read as it would be behind those blocks. It yields `yields`
/// bytes, which nobody asked for.
struct Stand {
    Writer head;
    std::size_t yields;
};

/// A stand-in for the part so far. `digit` is the part's; without a checksum there were no blocks,
/// and `bit` must be 0.
Stand standFor(char digit, std::optional<U32> checksum, U32 bit);

} // namespace Qcf::Lists::Bzip2Bits
