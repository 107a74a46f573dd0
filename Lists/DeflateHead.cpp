#include "Lists/DeflateHead.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>

namespace Qcf::Lists {

namespace {

constexpr U32 mostLiterals = 286;
constexpr U32 mostDistances = 30;
constexpr U32 endOfBlock = 256;

/// There are enough bits for any head.
class Reader {
public:
    explicit Reader(DeflateBits const & bits) : bits_(bits) {}

    U32 peek(U32 count) {
        while (bits_.heldBits < count) {
            bits_.held |= U64{*bits_.at++} << bits_.heldBits;
            bits_.heldBits += 8;
        }
        return static_cast<U32>(bits_.held & ((U64{1} << count) - 1));
    }
    void skip(U32 count) {
        bits_.held >>= count;
        bits_.heldBits -= count;
    }
    U32 take(U32 count) {
        U32 const value = peek(count);
        skip(count);
        return value;
    }

private:
    DeflateBits bits_;
};

/// Codes of these lengths use up every sequence of `longest` bits, none twice.
bool isComplete(std::span<U8 const> lengths, U32 longest) {
    U32 used = 0;
    for (U8 const length : lengths) {
        used += length != 0 ? U32{1} << (longest - length) : 0;
    }
    return used == U32{1} << longest;
}

constexpr U32 longestLengthCode = 7;
/// By the next seven bits, the code that they begin with.
struct LengthCode {
    U8 symbol;
    U8 length;
};
using LengthCodes = std::array<LengthCode, U32{1} << longestLengthCode>;

/// Codes are given out by rising length and symbol, and stand in the data with their first bit
/// lowest.
LengthCodes codesOf(std::span<U8 const> lengths) {
    LengthCodes codes{};
    U32 next = 0;
    for (U8 length = 1; length <= longestLengthCode; ++length) {
        for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
            if (lengths[symbol] != length) {
                continue;
            }
            U32 const step = U32{1} << (longestLengthCode - length);
            for (U32 code = next; code < next + step; ++code) {
                U32 turned = 0;
                for (U32 bit = 0; bit < longestLengthCode; ++bit) {
                    turned |= (code >> bit & 1) << (longestLengthCode - 1 - bit);
                }
                codes[turned] = {static_cast<U8>(symbol), length};
            }
            next += step;
        }
    }
    return codes;
}

/// The codes of the codes; nothing where they are not complete.
std::optional<LengthCodes> readLengthCodes(Reader & reader, U32 count) {
    constexpr U8 order[] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    std::array<U8, std::size(order)> lengths{};
    for (U32 i = 0; i < count; ++i) {
        lengths[order[i]] = static_cast<U8>(reader.take(3));
    }
    return isComplete(lengths, longestLengthCode) ? std::optional(codesOf(lengths)) : std::nullopt;
}

/// Reads the lengths of the codes; false where they are more or less than there are to be.
bool readLengths(Reader & reader, LengthCodes const & codes, std::span<U8> lengths) {
    for (std::size_t i = 0; i < lengths.size();) {
        auto const [symbol, length] = codes[reader.peek(longestLengthCode)];
        reader.skip(length);
        if (symbol < 16) {
            lengths[i++] = symbol;
            continue;
        }
        U32 const times = symbol == 16   ? 3 + reader.take(2)
                          : symbol == 17 ? 3 + reader.take(3)
                                         : 11 + reader.take(7);
        if (times > lengths.size() - i || (symbol == 16 && i == 0)) {
            return false;
        }
        std::fill_n(lengths.begin() + static_cast<std::ptrdiff_t>(i), times,
                    symbol == 16 ? lengths[i - 1] : U8{0});
        i += times;
    }
    return true;
}

bool isPlain(Reader & reader) {
    constexpr U32 ownCodes = 2;
    if (reader.take(2) != ownCodes) {
        return false;
    }
    U32 const literals = 257 + reader.take(5);
    U32 const distances = 1 + reader.take(5);
    U32 const lengthCodes = 4 + reader.take(4);
    if (literals > mostLiterals || distances > mostDistances) {
        return false;
    }
    auto const codes = readLengthCodes(reader, lengthCodes);
    std::array<U8, mostLiterals + mostDistances> lengths{};
    auto const all = std::span(lengths).first(literals + distances);
    constexpr U32 longestCode = 15;
    return codes && readLengths(reader, *codes, all) && lengths[endOfBlock] != 0 &&
           isComplete(all.first(literals), longestCode) &&
           isComplete(all.subspan(literals), longestCode);
}

} // namespace

DeflateHead deflateHeadOf(DeflateBits bits) {
    if (static_cast<std::size_t>(bits.end - bits.at) < longestDeflateHead) {
        return {false, false};
    }
    Reader reader(bits);
    bool const isLast = reader.take(1) != 0;
    return {isLast, isPlain(reader)};
}

} // namespace Qcf::Lists
