#pragma once

#include "Agent/Mrt/ByteCursor.h"

#include <array>
#include <optional>

/// Routes as routers hold them now, told by the BGP Monitoring Protocol (BMP, RFC 7854).
namespace Qcf::Live {

using Agent::ByteCursor;
using Agent::Damage;

/// Types of BMP messages.
enum class BmpType : U8 {
    routeMonitoring = 0,
    statistics = 1,
    peerDown = 2,
    peerUp = 3,
    initiation = 4,
    termination = 5,
    routeMirroring = 6,
};
constexpr std::size_t bmpTypes = 7;
/// "route monitoring".
char const * bmpTypeName(BmpType type);

/// One message of a stream. Its bytes are somebody else's.
struct BmpFrame {
    /// Bytes of the head of each message: version, length, type.
    static constexpr std::size_t headSize = 6;
    /// The longest message that is read. Those of routers carry one BGP message, of 64 KiB at most.
    static constexpr U32 maxSize = U32{256} << 10;

    BmpType type;
    std::size_t size; ///< in the stream, with the head
    ByteCursor body;

    /// The message that these bytes begin with; nothing while it is not whole. Throws Damage where
    /// no message can begin so: from there on nobody knows where the next one starts.
    static std::optional<BmpFrame> first(std::span<U8 const> bytes);
    /// How many bytes the message has that these begin with; `headSize` while that is not known.
    static std::size_t wanted(std::span<U8 const> bytes);
};

/// A piece of information behind the fixed part of a message: type, length, value.
struct BmpTlv {
    U16 type;
    std::span<U8 const> value;

    /// The next one; Damage where it is cut.
    static BmpTlv take(ByteCursor & from);
    /// The value as text for people: control characters escaped, at most 64 characters.
    String text() const;
};

} // namespace Qcf::Live
