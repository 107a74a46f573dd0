#pragma once

#include "QcfLib/AetNode.h"
#include "QcfLib/RoutingTypes.h"

#include <optional>
#include <string_view>
#include <variant>

namespace Qcf::Text {

/// A constant as a policy text writes it: the shape of the word alone tells the type.
///
/// | shape | value |
/// |---|---|
/// | `5`, `-5`, `65000:1`, `no-export` | Integer |
/// | `8000.0`, `1.5e9`, `10Gbps` | F32, bits per second |
/// | `true`, `false`, `unknown` | TriStateBoolValue |
/// | `65000:1:2`, `0x` and 16 digits, `rt:`, `soo:`, `lbw:` | Acl::CommunityValue |
/// | `10.0.0.0/8`, `2001:db8::/32`, `no_prefix` | IpGenPrefix |
/// | `192.0.2.1`, `2001:db8::1`, `no_address` | IpGenAddr |
/// | `00:1c:73:00:00:01` | EthAddr |
/// | ten octets, `no_esi` | std::optional<Evpn::Esid> |
struct Integer {
    U64 magnitude;
    bool negative;
    bool operator==(Integer const &) const = default;
};
using Literal = std::variant<Integer, F32, Eval::TriStateBoolValue, Acl::CommunityValue,
                             IpGenPrefix, IpGenAddr, EthAddr, std::optional<Evpn::Esid>>;

/// The constant that the word is; nothing where it has no literal's shape.
std::optional<Literal> parseLiteral(std::string_view word);

/// Why a word that looks like a literal is none, in a sentence ("a half of a community is at most
/// 65535"); empty for words that do not look like one.
String whyNoLiteral(std::string_view word);

/// The kind of value nodes that the literal makes, "Int", as messages name it.
Eval::NodeKind kindOf(Literal const & literal);

/// The word that reads back as that very literal. Standard communities cannot be told from other
/// integers here: whoever writes a set of them uses `communityWord`.
String toWord(Literal const & literal);
/// An integer as a standard community: a well-known name, `A:B`, or the number where it is none.
String communityWord(U64 value);

} // namespace Qcf::Text
