#include "Live/BmpFrame.h"

#include "Platform/Render/Utf8.h"

namespace Qcf::Live {

namespace {

constexpr std::array<char const *, bmpTypes> typeNames = {
    "route monitoring", "statistics",  "peer down",       "peer up",
    "initiation",       "termination", "route mirroring",
};

/// The first characters of well-formed text.
std::string_view beginning(std::string_view text, std::size_t most) {
    std::size_t at = 0;
    for (std::size_t i = 0; i < most && at < text.size(); ++i) {
        at += utf8SequenceLength(text.substr(at));
    }
    return text.substr(0, at);
}

} // namespace

char const * bmpTypeName(BmpType type) { return typeNames[static_cast<U8>(type)]; }

std::size_t BmpFrame::wanted(std::span<U8 const> bytes) {
    if (bytes.empty()) {
        return headSize;
    }
    // A draft, whose messages are laid out in another way.
    if (bytes[0] == 4) {
        throw Damage("BMP message", "is of version 4, which is not read");
    }
    if (bytes[0] != 3) {
        throw Damage("BMP message", "is not of version 3");
    }
    if (bytes.size() < headSize) {
        return headSize;
    }
    U32 const size = Agent::loadU32(bytes.data() + 1);
    if (size < headSize || size > maxSize) {
        throw Damage("BMP message", "has an impossible length");
    }
    if (bytes[5] >= bmpTypes) {
        throw Damage("BMP message", "is of an unknown type");
    }
    return size;
}

std::optional<BmpFrame> BmpFrame::first(std::span<U8 const> bytes) {
    std::size_t const size = wanted(bytes);
    if (bytes.size() < size || bytes.size() < headSize) {
        return std::nullopt;
    }
    return BmpFrame{static_cast<BmpType>(bytes[5]), size,
                    ByteCursor(bytes.subspan(headSize, size - headSize), "BMP message")};
}

BmpTlv BmpTlv::take(ByteCursor & from) {
    U16 const type = from.u16();
    std::size_t const length = from.u16();
    return {type, from.bytes(length)};
}

String BmpTlv::text() const {
    constexpr std::size_t mostCharacters = 64;
    std::string_view const bytes(reinterpret_cast<char const *>(value.data()), value.size());
    // Cut first: a value may have 256 KiB.
    String const whole = replaceInvalidUtf8(bytes.substr(0, 4 * mostCharacters));
    return visibleText(beginning(whole, mostCharacters));
}

} // namespace Qcf::Live
