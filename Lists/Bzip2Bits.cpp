#include "Lists/Bzip2Bits.h"

#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <array>
#include <bit>

#include <bzlib.h>

namespace Qcf::Lists::Bzip2Bits {

namespace {

constexpr U64 markMask = (U64{1} << markBits) - 1;

/// For each value of a byte the shifts at which a mark may have it as its last whole byte: a bit a
/// shift. Few bytes pass, so that hardly any place is looked at closely.
constexpr std::array<U8, 256> possibleShifts() {
    std::array<U8, 256> shifts{};
    for (U64 const mark : {blockMark, endMark}) {
        for (U32 shift = 0; shift < 8; ++shift) {
            U64 const byte = (mark << shift >> 8) & 0xff;
            shifts[byte] = static_cast<U8>(shifts[byte] | 1U << shift);
        }
    }
    return shifts;
}

constexpr std::array<U8, 256> shiftsOf = possibleShifts();

/// Where the mark that ends `shift` bits before bit `end` begins, if one stands there.
bool isMark(U64 last, U32 shift) {
    U64 const bits = (last >> shift) & markMask;
    return bits == blockMark || bits == endMark;
}

/// The four bytes that have this checksum: the register is run back over them.
std::array<char, 4> bytesWithChecksum(U32 checksum) {
    constexpr U32 polynomial = 0x04c11db7;
    U32 state = ~checksum;
    for (U32 i = 0; i < 32; ++i) {
        // The polynomial is odd: the lowest bit tells whether it was added.
        state = (state & 1) != 0 ? (state ^ polynomial) >> 1 | 0x80000000 : state >> 1;
    }
    state = ~state;
    std::array<char, 4> bytes{};
    for (U32 i = 0; i < 4; ++i) {
        bytes[i] = static_cast<char>(state >> (24 - 8 * i));
    }
    return bytes;
}

/// A part of one block that holds these bytes.
String compressed(std::array<char, 4> bytes) {
    // The library asks for a hundredth more than the content and 600 bytes.
    String part(700, '\0');
    auto size = static_cast<unsigned>(part.size());
    int const code = BZ2_bzBuffToBuffCompress(part.data(), &size, bytes.data(), 4, 1, 0, 0);
    QCF_ASSERT(code == BZ_OK);
    part.resize(size);
    return part;
}

/// Appends the block of the part, longer by `more` bits. The groups of a block name their tables
/// one by one, and may name more than there are groups: that costs a bit each and changes nothing.
void addLongerBlock(Writer & to, std::string_view part, U32 more) {
    constexpr U32 countBits = 15;
    // Behind the mark and the checksum: whether it is shuffled, where its text starts, which of 16
    // ranges of bytes it has.
    constexpr U64 rangesAt = headBits + markBits + checksumBits + 1 + 24;
    auto const ranges = static_cast<U32>(std::popcount(bitsAt(part, rangesAt, 16)));
    U64 const countAt = rangesAt + 16 + U64{16} * ranges + 3;
    U64 const count = bitsAt(part, countAt, countBits);
    // Each name is some ones and a zero.
    U64 behindNames = countAt + countBits;
    for (U64 names = 0; names < count; ++behindNames) {
        names += bitsAt(part, behindNames, 1) == 0 ? 1 : 0;
    }
    U64 const longestEnd = markBits + checksumBits + 7;
    auto const end = findMark(part, part.size() * 8 - longestEnd);
    QCF_ASSERT(end.has_value());
    to.addRange(part, headBits, countAt);
    to.add(count + more, countBits);
    to.addRange(part, countAt + countBits, behindNames);
    to.add(0, more);
    to.addRange(part, behindNames, *end);
}

} // namespace

U64 bitsAt(std::string_view bytes, U64 at, U32 count) {
    U64 bits = 0;
    for (U64 byte = at / 8; byte <= (at + count) / 8; ++byte) {
        bits = bits << 8 | (byte < bytes.size() ? static_cast<U8>(bytes[byte]) : 0U);
    }
    U64 const behind = 8 - (at + count) % 8;
    return bits >> behind & ((U64{1} << count) - 1);
}

std::optional<U64> findMark(std::string_view bytes, U64 from) {
    U64 last = 0;
    for (U64 i = from / 8; i < bytes.size(); ++i) {
        last = last << 8 | static_cast<U8>(bytes[i]);
        U8 const shifts = shiftsOf[last >> 8 & 0xff];
        if (shifts == 0) {
            continue;
        }
        // The largest shift is the earliest place.
        for (U32 shift = 8; shift-- > 0;) {
            U64 const end = (i + 1) * 8 - shift;
            if ((shifts >> shift & 1) != 0 && isMark(last, shift) && end >= from + markBits) {
                return end - markBits;
            }
        }
    }
    return std::nullopt;
}

void Writer::add(U64 value, U32 count) {
    while (count > 0) {
        if (bits_ % 8 == 0) {
            bytes_ += '\0';
        }
        U32 const room = 8 - static_cast<U32>(bits_ % 8);
        U32 const taken = std::min(room, count);
        count -= taken;
        U64 const bits = value >> count & ((U64{1} << taken) - 1);
        bytes_.back() = static_cast<char>(static_cast<U8>(bytes_.back()) | bits << (room - taken));
        bits_ += taken;
    }
}

void Writer::addRange(std::string_view bytes, U64 from, U64 to) {
    bytes_.reserve(bytes_.size() + (to - from) / 8 + 2);
    for (U32 const step = 32; from < to;) {
        auto const count = static_cast<U32>(std::min<U64>(step, to - from));
        add(bitsAt(bytes, from, count), count);
        from += count;
    }
}

// The checksum of all blocks is turned by a bit and combined with that of each block: a first block
// that has the checksum of all others stands for them.
Stand standFor(char digit, std::optional<U32> checksum, U32 bit) {
    Stand stand{{}, 0};
    for (char const letter : {'B', 'Z', 'h', digit}) {
        stand.head.add(static_cast<U8>(letter), 8);
    }
    if (!checksum) {
        QCF_ASSERT(bit == 0);
        return stand;
    }
    String const part = compressed(bytesWithChecksum(*checksum));
    Writer plain = stand.head;
    addLongerBlock(plain, part, 0);
    auto const more = static_cast<U32>((8 + bit - plain.size() % 8) % 8);
    addLongerBlock(stand.head, part, more);
    stand.yields = 4;
    return stand;
}

} // namespace Qcf::Lists::Bzip2Bits
